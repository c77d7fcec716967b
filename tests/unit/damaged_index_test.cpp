// An index cut anywhere: the folder opens, no stored message is changed, no number comes twice.

#include "store/folder.h"

#include "base/text.h"
#include "scratch.h"

#include <gtest/gtest.h>

namespace {

class DamagedIndexTest : public testing::Test {
  protected:
    DamagedIndexTest() {
        CreateFolder(path_.c_str());
        for (int i = 1; i <= 4; i++)
            AppendMessage(path_.c_str(), Message(i).c_str());
        DeleteMessage(path_.c_str(), 4);
        whole_ = ReadFile(path_ + "/index2");
    }
    static std::string Message(int i) { return "Subject: " + std::to_string(i) + "\r\n\r\nbody\r\n"; }
    std::string Numbers() const {
        std::string numbers;
        EXPECT_TRUE(ReadFolderIndex(path_.c_str(), [&](IndexRecord const &record) {
            numbers += std::to_string(record.number) + " ";
            EXPECT_EQ(FieldText(record.row, kRowWidth), " \t " + std::to_string(record.number) + "\t\t\t");
        }));
        return numbers;
    }
    void ExpectMessagesWhole() const {
        for (int i = 1; i <= 3; i++)
            EXPECT_EQ(ReadFile(path_ + "/" + std::to_string(i)), Message(i));
    }

    Scratch scratch_;
    std::string path_ = scratch_ / "folder";
    std::string whole_;
};

TEST_F(DamagedIndexTest, CutAtEveryByte) {
    for (bool readFirst : {true, false})
        for (size_t length = 0; length < whole_.size(); length++) {
            WriteFile(path_ + "/index2", whole_.substr(0, length));
            if (readFirst) {
                ASSERT_EQ(Numbers(), "1 2 3 ") << length;
            }
            // With the header's number lost, that of the deleted message is free again; nobody else's ever is.
            int32_t const next = length < 8 ? 4 : 5;
            ASSERT_EQ(AppendMessage(path_.c_str(), Message(next).c_str()), next) << length;
            ASSERT_EQ(Numbers(), "1 2 3 " + std::to_string(next) + " ") << length;
            ASSERT_EQ((ReadFile(path_ + "/index2").size() - 24) % 208, 0u) << "the torn record was overwritten";
            ExpectMessagesWhole();
            ASSERT_EQ(DeleteMessage(path_.c_str(), next), 0);
        }
}

TEST_F(DamagedIndexTest, AnAppendThatWasBrokenOffIsNoMessage) {
    whole_[4] = 5;
    WriteFile(path_ + "/index2", whole_ + std::string("\5\0\0", 3));
    WriteFile(path_ + "/5", "");
    EXPECT_EQ(Numbers(), "1 2 3 ");
    EXPECT_EQ(AppendMessage(path_.c_str(), Message(6).c_str()), 6);
    EXPECT_EQ(Numbers(), "1 2 3 6 ");
}

TEST_F(DamagedIndexTest, ANumberThatFellBackPassesStoredMessagesOver) {
    // A crash that lost the header's last change, but not the files.
    whole_[4] = 0;
    WriteFile(path_ + "/index2", whole_);
    EXPECT_EQ(AppendMessage(path_.c_str(), Message(4).c_str()), 4);
    ExpectMessagesWhole();
    whole_.replace(4, 4, "\xff\xff\xff\xff");
    WriteFile(path_ + "/index2", whole_);
    EXPECT_EQ(AppendMessage(path_.c_str(), Message(5).c_str()), 5);
    ExpectMessagesWhole();
}

TEST_F(DamagedIndexTest, RebuildingTakesMessagesOnly) {
    for (char const *name : {"007", "12x", "x", "-3", "99999999999", "0"})
        WriteFile(path_ + "/" + name, "Subject: no\r\n\r\nb");
    std::filesystem::create_directory(path_ + "/20");
    WriteFile(path_ + "/index2", "");
    EXPECT_EQ(Numbers(), "1 2 3 ");
    EXPECT_EQ(AppendMessage(path_.c_str(), Message(21).c_str()), 21);
}

} // namespace
