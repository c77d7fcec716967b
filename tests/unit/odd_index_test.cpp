// Indexes that are not as they should be: of an earlier version, or cut.

#include "stored_folder.h"

#include <climits>

namespace {

class ConvertTest : public StoredFolder {
  protected:
    static int Convert() { return ConvertFolderIndex("office", "Inbox"); }

    /// Writes an old index of these numbers.
    void WriteOld(std::vector<int> const &numbers, std::string const &tail = "") const {
        std::string old = "\x01\x02\x03\x04";
        for (int number : numbers)
            for (int shift = 0; shift < 32; shift += 8)
                old += static_cast<char>(number >> shift);
        WriteFile(In("index"), old + tail);
    }
    /// The number in the header.
    int LastNumber() const {
        std::string const index = Index();
        unsigned last = 0;
        for (size_t i = 0; i < 4; i++)
            last |= static_cast<unsigned>(static_cast<unsigned char>(index[4 + i])) << 8 * i;
        return static_cast<int>(last);
    }
};

TEST_F(ConvertTest, ByteForByte) {
    WriteOld({3, 5});
    WriteFile(In("3"), "Date: d\r\nSubject: s\r\nFrom: f\r\n\r\nb");
    EXPECT_EQ(Convert(), 0);
    std::string record(208, 0);
    record[0] = 3;
    record.replace(8, 11, " \t s\t f\t d\t", 11);
    EXPECT_EQ(Index(), std::string("\x02\x00\x01\x00\x06\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24) + record);
    EXPECT_TRUE(std::filesystem::exists(In("index")));
    EXPECT_FALSE(std::filesystem::exists(In("index2.new")));
    int32_t number = 0;
    unlink(In("index2").c_str());
    close(ReserveMessage(Path(), number));
    EXPECT_EQ(number, 7) << "it converts first";
}

TEST_F(ConvertTest, OddIndexes) {
    EXPECT_EQ(Convert(), -1) << "no old index";
    for (auto const &[content, last] : {std::pair{"", 1}, {"abc", 1}, {"abcd", 1}, {"abcd\x05", 6}}) {
        WriteFile(In("index"), content);
        EXPECT_EQ(Convert(), 0);
        EXPECT_EQ(Index().size(), 24u) << content;
        EXPECT_EQ(LastNumber(), last) << content;
        unlink(In("index2").c_str());
    }
    for (char const *name : {"2", "7", "4"})
        WriteFile(In(name), Message("s"));
    std::filesystem::create_directory(In("9"));
    WriteOld({7, 2, 0, -4, 9}, "\x04");
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Rows(), Listed(7, "s") + Listed(2, "s") + "9:\n" + Listed(4, "s")) << "what is there, a directory, too";
    EXPECT_EQ(LastNumber(), 10) << "the highest number read, wherever it stands";
    EXPECT_EQ(ConvertFolderIndex("..", "office"), -1);
    EXPECT_EQ(ConvertFolderIndex("office", "../office/Inbox"), -1);

    unlink(In("index2").c_str());
    WriteOld({INT_MAX});
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(LastNumber(), INT_MAX);
    EXPECT_EQ(Append("x"), -1) << "the numbers are used up";
}

TEST_F(ConvertTest, AFreshConversionIsNotTakenForACutIndex) {
    for (char const *name : {"2", "7", "4", "5", "8"})
        WriteFile(In(name), Message(name));
    WriteOld({7, 2, 9, 4, 6}); // 5 and 8 were never listed, 6 and 9 are lost
    EXPECT_EQ(Convert(), 0);
    std::string const converted = Index(), rows = Listed(7, "7") + Listed(2, "2") + Listed(4, "4");
    EXPECT_EQ(Rows(), rows);
    EXPECT_EQ(DeleteMessage(Path(), 5), -1);
    EXPECT_EQ(Index(), converted);
    EXPECT_EQ(Append("11"), 11);
    EXPECT_EQ(Rows(), rows + Listed(11, "11"));
    WriteFile(In("index2"), converted.substr(0, converted.size() - 208));
    EXPECT_EQ(Rows(),
              Listed(7, "7") + Listed(2, "2") + Listed(4, "4") + Listed(5, "5") + Listed(8, "8") + Listed(11, "11"))
        << "but one that lost records is";
}

TEST_F(ConvertTest, AnIndexThatIsThereStays) {
    WriteOld({3});
    EXPECT_EQ(CreateFolder(Path()), 0) << "makes it from the old one";
    EXPECT_EQ(LastNumber(), 4);
    Append("x");
    std::string const before = Index();
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Index(), before);
    WriteFile(In("index2.new"), "left by a crash");
    unlink(In("index2").c_str());
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Index().size(), 24u);
}

TEST_F(ConvertTest, SeveralProcessesAtOnce) {
    std::vector<int> numbers;
    for (int number = 1; number <= 300; number++) {
        numbers.push_back(number);
        WriteFile(In(std::to_string(number)), Message("s"));
    }
    WriteOld(numbers);
    InProcesses(4, [this](int) {
        int32_t number = 0;
        return Convert() == 0 && ReserveMessage(Path(), number) >= 0;
    });
    EXPECT_EQ(Index().size(), 24u + 304 * 208);
    EXPECT_EQ(LastNumber(), 305);
}

/// A folder of the messages 1 to 3, and 4 that was deleted.
class CutIndexTest : public StoredFolder {
  protected:
    CutIndexTest() {
        CreateFolder(Path());
        for (char const *subject : {"1", "2", "3", "4"})
            Append(subject);
        DeleteMessage(Path(), 4);
        whole_ = Index();
    }
    std::string whole_;
    std::string const three_ = Listed(1, "1") + Listed(2, "2") + Listed(3, "3");
};

TEST_F(CutIndexTest, AnywhereLosesNothing) {
    for (size_t length = 0; length < whole_.size(); length++) {
        WriteFile(In("index2"), whole_.substr(0, length));
        // It is put right by a reader, and by an append alone.
        if (length % 3 != 0) {
            ASSERT_EQ(Rows(), three_) << length;
        }
        // With the header's number lost, that of the deleted message is free again; that of another never is.
        int32_t const next = length < 8 ? 4 : 5;
        ASSERT_EQ(Append("next"), next) << length;
        ASSERT_EQ(Rows(), three_ + Listed(next, "next")) << length;
        ASSERT_EQ((Index().size() - 24) % 208, 0u) << "the torn record was overwritten";
        for (int i = 1; i <= 3; i++)
            ASSERT_EQ(File(i), Message(std::to_string(i)));
        ASSERT_EQ(DeleteMessage(Path(), next), 0);
    }
}

TEST_F(CutIndexTest, AnAppendThatWasBrokenOffIsNoMessage) {
    whole_[4] = 5;
    WriteFile(In("index2"), whole_ + std::string("\5\0\0", 3));
    WriteFile(In("5"), "");
    EXPECT_EQ(Rows(), three_);
    EXPECT_EQ(Append("6"), 6);
    EXPECT_EQ(Rows(), three_ + Listed(6, "6"));
}

TEST_F(CutIndexTest, ANumberThatFellBackPassesStoredMessagesOver) {
    // A crash that lost the header's last change, but not the files.
    whole_[4] = 0;
    WriteFile(In("index2"), whole_);
    EXPECT_EQ(Append("4"), 4);
    whole_.replace(4, 4, "\xff\xff\xff\xff");
    WriteFile(In("index2"), whole_);
    EXPECT_EQ(Append("5"), 5);
    EXPECT_EQ(Rows(), three_ + Listed(4, "4") + Listed(5, "5"));
}

TEST_F(CutIndexTest, OnlyMessagesAreListedAgain) {
    for (char const *name : {"007", "12x", "x", "-3", "99999999999", "0"})
        WriteFile(In(name), Message("no"));
    std::filesystem::create_directory(In("20"));
    WriteFile(In("index2"), "");
    EXPECT_EQ(Rows(), three_);
    EXPECT_EQ(Append("21"), 21);
}

} // namespace
