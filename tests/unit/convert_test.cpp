#include "store/folder.h"

#include "base/text.h"
#include "fake_passwd.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <climits>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class ConvertTest : public testing::Test {
  protected:
    ConvertTest() {
        gPasswd = {home_.Path() + "home", true};
        std::filesystem::create_directories(path_);
    }
    int Convert() const { return ConvertFolderIndex("office", "Inbox"); }
    std::string File(char const *name) const { return path_ + "/" + name; }
    std::string Index() const { return ReadFile(File("index2")); }

    /// Writes an old index of these numbers.
    void WriteOld(std::vector<int> const &numbers, std::string const &tail = "") const {
        std::string old = "\x01\x02\x03\x04";
        for (int number : numbers)
            for (int shift = 0; shift < 32; shift += 8)
                old += static_cast<char>(number >> shift);
        WriteFile(File("index"), old + tail);
    }
    std::string Numbers() const {
        std::string numbers;
        ReadFolderIndex(path_.c_str(),
                        [&](IndexRecord const &record) { numbers += std::to_string(record.number) + " "; });
        return numbers;
    }
    /// The number in the header.
    int LastNumber() const {
        std::string const index = Index();
        unsigned last = 0;
        for (size_t i = 0; i < 4; i++)
            last |= static_cast<unsigned>(static_cast<unsigned char>(index[4 + i])) << 8 * i;
        return static_cast<int>(last);
    }

    Scratch home_;
    std::string path_ = home_ / "home/.Corvanta/office/Inbox";
};

TEST_F(ConvertTest, ByteForByte) {
    WriteOld({3, 5});
    WriteFile(File("3"), "Date: d\r\nSubject: s\r\nFrom: f\r\n\r\nb");
    EXPECT_EQ(Convert(), 0);
    std::string record(208, 0);
    record[0] = 3;
    record.replace(8, 11, " \t s\t f\t d\t", 11);
    EXPECT_EQ(Index(), std::string("\x02\x00\x01\x00\x06\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24) + record);
    EXPECT_TRUE(std::filesystem::exists(File("index")));
    EXPECT_FALSE(std::filesystem::exists(File("index2.new")));
    EXPECT_EQ(AppendMessage(path_.c_str(), "x"), 7);
}

TEST_F(ConvertTest, OddIndexes) {
    EXPECT_EQ(Convert(), -1) << "no old index";
    for (char const *content : {"", "abc", "abcd", "abcdef"}) {
        WriteFile(File("index"), content);
        EXPECT_EQ(Convert(), 0);
        EXPECT_EQ(Index().size(), 24u) << content;
        EXPECT_EQ(LastNumber(), 1) << content;
        unlink(File("index2").c_str());
    }
    for (char const *name : {"2", "7", "4"})
        WriteFile(File(name), "Subject: s\r\n\r\nb");
    std::filesystem::create_directory(File("9"));
    WriteOld({7, 2, 0, -4, 9, 4}, "\x63\x63");
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Numbers(), "7 2 4 ") << "in the old order, without what is no message";
    EXPECT_EQ(LastNumber(), 10) << "the highest number read, wherever it stands";
    EXPECT_EQ(ConvertFolderIndex("..", "office"), -1);
    EXPECT_EQ(ConvertFolderIndex("office", "../office/Inbox"), -1);
}

TEST_F(ConvertTest, TheHighestNumberDoesNotOverflow) {
    WriteOld({INT_MAX});
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(LastNumber(), INT_MAX);
    EXPECT_EQ(AppendMessage(path_.c_str(), "x"), -1) << "the numbers are used up";
}

TEST_F(ConvertTest, AnIndexThatIsThereStays) {
    WriteOld({3});
    EXPECT_EQ(CreateFolder(path_.c_str()), 0) << "makes it from the old one";
    EXPECT_EQ(LastNumber(), 4);
    AppendMessage(path_.c_str(), "x");
    std::string const before = Index();
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Index(), before);
    WriteFile(File("index2.new"), "left by a crash");
    unlink(File("index2").c_str());
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Index().size(), 24u);
}

TEST_F(ConvertTest, ReserveConvertsFirst) {
    WriteOld({3});
    WriteFile(File("3"), "Subject: s\r\n\r\nb");
    int32_t number = 0;
    int const file = ReserveMessage(path_.c_str(), number);
    EXPECT_GE(file, 0);
    close(file);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(Numbers(), "3 5 ");
}

TEST_F(ConvertTest, SeveralProcessesAtOnce) {
    std::vector<int> numbers;
    for (int number = 1; number <= 300; number++) {
        numbers.push_back(number);
        WriteFile(path_ + "/" + std::to_string(number), "Subject: s\r\n\r\nb");
    }
    WriteOld(numbers);
    std::vector<pid_t> children;
    for (int child = 0; child < 4; child++)
        if (children.push_back(fork()); children.back() == 0) {
            int32_t number = 0;
            _exit(Convert() == 0 && ReserveMessage(path_.c_str(), number) >= 0 ? 0 : 1);
        }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Index().size(), 24u + 304 * 208);
    EXPECT_EQ(LastNumber(), 305);
}

} // namespace
