#include "store/folder.h"

#include "base/text.h"
#include "fake_passwd.h"
#include "fixtures/mode.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string const kNewIndex("\x02\x00\x01\x00\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24);

/// A folder below a home directory of its own.
class FolderTest : public testing::Test {
  protected:
    FolderTest() {
        gPasswd = {home_.Path() + "home", true};
        std::filesystem::create_directories(home_ / "home/.Corvanta/office");
        EXPECT_EQ(CreateFolder(Path()), 0);
    }
    char const *Path() const { return path_.c_str(); }
    std::string Index() const { return ReadFile(path_ + "/index2"); }
    std::string File(int number) const { return ReadFile(path_ + "/" + std::to_string(number)); }

    std::string Rows() const {
        std::string rows;
        EXPECT_TRUE(ReadFolderIndex(Path(), [&rows](IndexRecord const &record) {
            rows += std::to_string(record.number) + ":" + std::string(FieldText(record.row, kRowWidth)) + "\n";
        }));
        return rows;
    }

    Scratch home_;
    std::string path_ = home_ / "home/.Corvanta/office/Inbox";
};

/// The row of a message with this subject and nothing else.
std::string Row(std::string const &subject) { return " \t " + subject + "\t\t\t"; }
std::string Message(std::string const &subject) { return "Subject: " + subject + "\r\n\r\nbody\r\n"; }

std::string Record(unsigned char number, std::string const &row) {
    std::string record(208, 0);
    record[0] = static_cast<char>(number);
    return record.replace(8, row.size(), row);
}

TEST_F(FolderTest, IndexByteForByte) {
    EXPECT_EQ(Index(), kNewIndex);
    EXPECT_EQ(CreateFolder(Path()), -1) << "it has an index";
    EXPECT_EQ(AppendMessage(Path(), Message("one").c_str()), 1);
    EXPECT_EQ(AppendMessage(Path(), Message("two").c_str()), 2);
    std::string expected = kNewIndex;
    expected[4] = 2;
    EXPECT_EQ(Index(), expected + Record(1, Row("one")) + Record(2, Row("two")));
    EXPECT_EQ(File(1), Message("one"));

    EXPECT_EQ(DeleteMessage(Path(), 1), 0);
    EXPECT_EQ(Index(), expected + std::string(208, 0) + Record(2, Row("two")));
    EXPECT_FALSE(std::filesystem::exists(path_ + "/1"));
    EXPECT_EQ(AppendMessage(Path(), Message("three").c_str()), 3);
    EXPECT_EQ(Rows(), "2:" + Row("two") + "\n3:" + Row("three") + "\n");
    EXPECT_EQ(CreateFolder(Path()), -1);
    EXPECT_EQ(Index().size(), 24u + 3 * 208) << "which stays as it is";
}

TEST_F(FolderTest, Modes) {
    AppendMessage(Path(), "x");
    EXPECT_EQ(ModeOf(path_), 0700u);
    EXPECT_EQ(ModeOf(path_ + "/index2"), 0600u);
    EXPECT_EQ(ModeOf(path_ + "/1"), 0600u);
}

TEST_F(FolderTest, RowsAreCutAt200BytesWithoutATerminator) {
    for (size_t length : {193, 194, 195, 196, 400}) {
        std::string const subject(length, 's');
        int32_t const number = AppendMessage(Path(), Message(subject).c_str());
        std::string const stored = Index().substr(24 + 208 * (static_cast<size_t>(number) - 1) + 8, 200);
        EXPECT_EQ(stored, (Row(subject) + std::string(200, 0)).substr(0, 200)) << length;
    }
}

TEST_F(FolderTest, AMessageEndsAtItsNul) {
    AppendMessage(Path(), "From: a\r\n\r\nb\0hidden");
    EXPECT_EQ(File(1), "From: a\r\n\r\nb");
    EXPECT_EQ(AppendMessage(Path(), ""), 2);
    EXPECT_EQ(File(2), "");
}

TEST_F(FolderTest, NoIndexStoresNothing) {
    unlink((path_ + "/index2").c_str());
    EXPECT_EQ(AppendMessage(Path(), "x"), -1);
    EXPECT_EQ(DeleteMessage(Path(), 1), -1);
    int32_t number = 0;
    EXPECT_LT(ReserveMessage(Path(), number), 0);
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", 1, 0, "x"), -1);
    EXPECT_FALSE(ReadFolderIndex(Path(), [](IndexRecord const &) {}));
    EXPECT_TRUE(std::filesystem::is_empty(path_));
    EXPECT_EQ(CreateFolder((path_ + "/missing/deep").c_str()), -1);
}

TEST_F(FolderTest, ReserveThenFillTheRow) {
    AppendMessage(Path(), Message("one").c_str());
    int32_t number = 0;
    int const file = ReserveMessage(Path(), number);
    ASSERT_GE(file, 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(Rows(), "1:" + Row("one") + "\n2:\n");
    EXPECT_GT(write(file, "Subject: out\r\nX: y\r\n\r\nb", 24), 0);
    close(file);
    char row[kRowWidth];
    EXPECT_EQ(ReadMessageRow("office", "Inbox", number, row), row);
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", number, 7, row), 0);
    EXPECT_EQ(Index().substr(24 + 208), Record(2, Row("out")).replace(4, 1, "\x07"));

    std::string const wide(250, 'w');
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", 2, 0, wide.c_str()), 0);
    EXPECT_EQ(Index().substr(24 + 208), Record(2, std::string(200, 'w')));
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", 2, 0, "short"), 0);
    EXPECT_EQ(Index().substr(24 + 208), Record(2, "short")) << "padded with zeros";
    for (int32_t unknown : {3, 0, -1})
        EXPECT_EQ(UpdateIndexRow("office", "Inbox", unknown, 0, "x"), -1);
    EXPECT_EQ(UpdateIndexRow("office", "..", 1, 0, "x"), -1);
}

TEST_F(FolderTest, RowOfALongMessageComesFromItsBegin) {
    std::string const padding = "X: " + std::string(4900, 'x') + "\r\n";
    AppendMessage(Path(), (padding + "Subject: " + std::string(300, 's') + "\r\nFrom: far\r\n\r\nb").c_str());
    char row[kRowWidth];
    ReadMessageRow("office", "Inbox", 1, row);
    EXPECT_STREQ(row, " \t\t\t\t") << "a header that runs on behind 4999 bytes is not parsed";
    char const *const none = ReadMessageRow("office", "Inbox", 99, row);
    EXPECT_STREQ(none, "");
    EXPECT_NE(none, row);
}

TEST_F(FolderTest, DeleteFindsRecordsWhereverTheyAre) {
    for (int i = 0; i < 5; i++)
        AppendMessage(Path(), Message(std::to_string(i)).c_str());
    for (int32_t unknown : {0, -1, 6, INT32_MAX, INT32_MIN})
        EXPECT_EQ(DeleteMessage(Path(), unknown), -1);
    // A converted index has its numbers anywhere.
    std::string index = kNewIndex;
    index[4] = 9;
    for (unsigned char number : {4, 3, 0, 9})
        index += Record(number, number ? "r" : "");
    WriteFile(path_ + "/index2", index);
    EXPECT_EQ(DeleteMessage(Path(), 3), 0);
    EXPECT_EQ(Rows(), "4:r\n9:r\n");
    EXPECT_EQ(DeleteMessage(Path(), 9), -1) << "its file was missing";
    EXPECT_EQ(Rows(), "4:r\n") << "but its record is gone";
    EXPECT_EQ(AppendMessage(Path(), Message("new").c_str()), 10);
}

TEST_F(FolderTest, AFileThatCannotBeMadeLeavesItsRecord) {
    // One more descriptor is to be had: the index takes it.
    int const next = open("/dev/null", O_RDONLY);
    close(next);
    rlimit old{};
    getrlimit(RLIMIT_NOFILE, &old);
    rlimit const tight{static_cast<rlim_t>(next) + 1, old.rlim_max};
    std::string const message = Message("lost");
    char const *const path = Path();
    setrlimit(RLIMIT_NOFILE, &tight);
    int32_t const number = AppendMessage(path, message.c_str());
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(Rows(), "1:" + Row("lost") + "\n");
    EXPECT_EQ(AppendMessage(Path(), Message("next").c_str()), 2);
}

TEST_F(FolderTest, HalfAMessageIsNone) {
    // The file size limit stands in for a full disk: the write comes back short, then fails.
    signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 5000;
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(AppendMessage(Path(), Message(std::string(10'000, 'x')).c_str()), -1);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_FALSE(std::filesystem::exists(path_ + "/1"));
    EXPECT_EQ(AppendMessage(Path(), Message("next").c_str()), 2);

    // And for the index: the record does not fit, and nothing of the message stays.
    small.rlim_cur = Index().size() + 100;
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(AppendMessage(Path(), "x"), -1);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_FALSE(std::filesystem::exists(path_ + "/3"));
    EXPECT_EQ(AppendMessage(Path(), Message("last").c_str()), 4);
    EXPECT_TRUE(Rows().ends_with("2:" + Row("next") + "\n4:" + Row("last") + "\n")) << Rows();
}

TEST_F(FolderTest, SyncFolder) {
    int32_t numbers[100];
    for (int32_t &number : numbers)
        number = AppendMessage(Path(), "x");
    EXPECT_TRUE(SyncFolder(Path(), numbers, 3));
    EXPECT_TRUE(SyncFolder(Path(), numbers, 100));
    DeleteMessage(Path(), numbers[0]);
    EXPECT_TRUE(SyncFolder(Path(), numbers, 1)) << "deleted by the user meanwhile";
    unlink((path_ + "/index2").c_str());
    EXPECT_FALSE(SyncFolder(Path(), numbers, 0));
    EXPECT_FALSE(SyncFolder("/missing", numbers, 0));
}

TEST_F(FolderTest, ReadMessageFile) {
    AppendMessage(Path(), "abc");
    long length = 0;
    char *text = ReadMessageFile(Path(), 1, 21, &length);
    ASSERT_TRUE(text);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(std::string(text, 24), "abc" + std::string(21, 0));
    free(text);
    text = ReadMessageFile(Path(), 1, 0, nullptr);
    ASSERT_TRUE(text);
    EXPECT_STREQ(text, "abc");
    free(text);
    // What is no message file is neither waited for nor followed.
    ASSERT_EQ(mkfifo((path_ + "/7").c_str(), 0600), 0);
    std::filesystem::create_symlink(path_ + "/1", path_ + "/8");
    std::filesystem::create_directory(path_ + "/9");
    for (int32_t number : {2, 7, 8, 9})
        EXPECT_FALSE(ReadMessageFile(Path(), number, 1, &length)) << number;
    std::filesystem::rename(path_ + "/7", path_ + "/index2");
    EXPECT_EQ(Rows(), "");
    EXPECT_FALSE(SyncFolder(Path(), nullptr, 0));
    std::filesystem::rename(path_ + "/index2", path_ + "/index");
    EXPECT_EQ(ConvertFolderIndex("office", "Inbox"), -1);
}

TEST_F(FolderTest, NoDescriptorAndNoLockIsLeft) {
    auto const open_ = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    auto const before = open_();
    char row[kRowWidth];
    for (int i = 0; i < 3; i++) {
        int32_t number = 0;
        close(ReserveMessage(Path(), number));
        UpdateIndexRow("office", "Inbox", number, 0, "x");
        UpdateIndexRow("office", "Inbox", 99, 0, "x");
        ReadMessageRow("office", "Inbox", number, row);
        DeleteMessage(Path(), number);
        DeleteMessage(Path(), 99);
        Rows();
        SyncFolder(Path(), &number, 1);
    }
    EXPECT_EQ(open_(), before);
    int const index = open((path_ + "/index2").c_str(), O_RDWR);
    EXPECT_EQ(flock(index, LOCK_EX | LOCK_NB), 0);
    close(index);
}

TEST_F(FolderTest, TwoProcessesAndAReader) {
    constexpr int kEach = 400;
    std::vector<pid_t> children;
    for (int child = 0; child < 2; child++)
        if (children.push_back(fork()); children.back() == 0) {
            int failed = 0;
            for (int i = 0; i < kEach; i++) {
                std::string const subject = std::to_string(child) + "-" + std::to_string(i);
                int32_t const number = AppendMessage(Path(), Message(subject).c_str());
                failed += number < 1;
                if (i % 4 == 0) {
                    int32_t reserved = 0;
                    close(ReserveMessage(Path(), reserved));
                    failed += UpdateIndexRow("office", "Inbox", reserved, 0, Row("r").c_str()) != 0;
                    failed += DeleteMessage(Path(), reserved) != 0;
                }
            }
            _exit(failed != 0);
        }
    // Whoever reads meanwhile sees whole records only, each number once.
    for (bool running = true; running;) {
        std::set<int32_t> seen;
        ReadFolderIndex(Path(), [&](IndexRecord const &record) {
            EXPECT_TRUE(seen.insert(record.number).second);
            std::string_view const row = FieldText(record.row, kRowWidth);
            EXPECT_TRUE(row.empty() || row.starts_with(" \t")) << row;
        });
        for (pid_t &child : children) {
            int status = 0;
            if (child > 0 && waitpid(child, &status, WNOHANG) == child) {
                EXPECT_EQ(status, 0);
                child = 0;
            }
        }
        running = children[0] > 0 || children[1] > 0;
    }
    std::set<std::string> subjects;
    ReadFolderIndex(Path(), [&](IndexRecord const &record) {
        std::string const row(FieldText(record.row, kRowWidth));
        EXPECT_TRUE(subjects.insert(row).second) << row;
        EXPECT_EQ(row, Row(File(record.number).substr(9, row.size() - 6))) << "the row of another message";
    });
    EXPECT_EQ(subjects.size(), 2u * kEach);
    EXPECT_EQ(Index().size(), 24u + 208 * (2 * kEach + 2 * kEach / 4));
}

} // namespace
