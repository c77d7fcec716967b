#include "stored_folder.h"

#include "base/fd.h"
#include "fixtures/mode.h"
#include "fixtures/process.h"

#include <fcntl.h>
#include <set>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

std::string const kNewIndex("\x02\x00\x01\x00\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24);

class FolderTest : public StoredFolder {
  protected:
    FolderTest() { EXPECT_EQ(CreateFolder(Path()), 0); }
};

std::string Record(unsigned char number, std::string const &row) {
    std::string record(208, 0);
    record[0] = static_cast<char>(number);
    return record.replace(8, row.size(), row);
}

TEST_F(FolderTest, IndexByteForByte) {
    EXPECT_EQ(Index(), kNewIndex);
    EXPECT_EQ(CreateFolder(Path()), -1) << "it has an index";
    EXPECT_EQ(Append("one"), 1);
    EXPECT_EQ(Append("two"), 2);
    std::string expected = kNewIndex;
    expected[4] = 2;
    EXPECT_EQ(Index(), expected + Record(1, Row("one")) + Record(2, Row("two")));
    EXPECT_EQ(File(1), Message("one"));

    EXPECT_EQ(DeleteMessage(Path(), 1), 0);
    EXPECT_EQ(Index(), expected + std::string(208, 0) + Record(2, Row("two")));
    EXPECT_FALSE(fs::exists(In("1")));
    EXPECT_EQ(Append("three"), 3);
    EXPECT_EQ(Rows(), Listed(2, "two") + Listed(3, "three"));
    EXPECT_EQ(CreateFolder(Path()), -1);
    EXPECT_EQ(Index().size(), 24u + 3 * 208) << "which stays as it is";
    EXPECT_EQ(CreateFolder(In("other").c_str()), 0);
    EXPECT_EQ(ModeOf(In("other")), 0700u);
    EXPECT_EQ(ModeOf(In("index2")), 0600u);
    EXPECT_EQ(ModeOf(In("2")), 0600u);
}

TEST_F(FolderTest, RowsAreCutAt200BytesWithoutATerminator) {
    for (size_t length : {193, 194, 195, 196, 400}) {
        std::string const subject(length, 's');
        int32_t const number = Append(subject);
        std::string const stored = Index().substr(24 + 208 * (static_cast<size_t>(number) - 1) + 8, 200);
        EXPECT_EQ(stored, (Row(subject) + std::string(200, 0)).substr(0, 200)) << length;
    }
}

TEST_F(FolderTest, AMessageEndsAtItsNulUnlessItsLengthIsKnown) {
    AppendMessage(Path(), "From: a\r\n\r\nb\0hidden");
    EXPECT_EQ(File(1), "From: a\r\n\r\nb");
    std::string const whole("From: a\r\n\r\nb\0shown", 18);
    EXPECT_EQ(AppendMessage(Path(), whole), 2);
    EXPECT_EQ(File(2), whole);
}

TEST_F(FolderTest, NoIndexStoresNothing) {
    unlink(In("index2").c_str());
    EXPECT_EQ(Append("x"), -1);
    EXPECT_EQ(DeleteMessage(Path(), 1), -1);
    int32_t number = 0;
    EXPECT_LT(ReserveMessage(Path(), number), 0);
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", 1, 0, "x"), -1);
    EXPECT_FALSE(ReadFolderIndex(Path(), [](IndexRecord const &) {}));
    EXPECT_TRUE(fs::is_empty(path_));
    EXPECT_EQ(CreateFolder(In("missing/deep").c_str()), -1);
}

TEST_F(FolderTest, ReserveThenFillTheRow) {
    Append("one");
    int32_t number = 0;
    int const file = ReserveMessage(Path(), number);
    ASSERT_GE(file, 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(Rows(), Listed(1, "one") + "2:\n");
    EXPECT_GT(write(file, "Subject: out\r\nX: y\r\n\r\nb", 24), 0);
    close(file);
    char row[kRowWidth];
    EXPECT_EQ(ReadMessageRow("office", "Inbox", number, row), row);
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", number, 7, row), 0);
    EXPECT_EQ(Index().substr(24 + 208), Record(2, Row("out")).replace(4, 1, "\x07"));

    EXPECT_EQ(UpdateIndexRow("office", "Inbox", 2, 0, std::string(250, 'w').c_str()), 0);
    EXPECT_EQ(Index().substr(24 + 208), Record(2, std::string(200, 'w')));
    EXPECT_EQ(UpdateIndexRow("office", "Inbox", 2, 0, "short"), 0);
    EXPECT_EQ(Index().substr(24 + 208), Record(2, "short")) << "padded with zeros";
    for (int32_t unknown : {3, 0, -1})
        EXPECT_EQ(UpdateIndexRow("office", "Inbox", unknown, 0, "x"), -1);
    EXPECT_EQ(UpdateIndexRow("office", "..", 1, 0, "x"), -1);
}

TEST_F(FolderTest, RowOfALongMessageComesFromItsBegin) {
    std::string const padding = "X: " + std::string(4900, 'x') + "\r\n";
    AppendMessage(Path(), padding + "Subject: " + std::string(300, 's') + "\r\nFrom: far\r\n\r\nb");
    char row[kRowWidth + 1] = "";
    ReadMessageRow("office", "Inbox", 1, row);
    EXPECT_STREQ(row, " \t\t\t\t") << "a header that runs on after 4999 bytes is not parsed";
    AppendMessage(Path(), Message(std::string(300, 's')));
    row[kRowWidth] = '#';
    ReadMessageRow("office", "Inbox", 2, row);
    EXPECT_EQ(std::string(row, sizeof row), Row(std::string(300, 's')).substr(0, 200) + "#") << "all 200 bytes";
    char const *const none = ReadMessageRow("office", "Inbox", 99, row);
    EXPECT_STREQ(none, "");
    EXPECT_NE(none, row);
}

TEST_F(FolderTest, DeleteFindsRecordsWhereverTheyAre) {
    for (int i = 0; i < 5; i++)
        Append(std::to_string(i));
    for (int32_t unknown : {0, -1, 6, INT32_MAX, INT32_MIN})
        EXPECT_EQ(DeleteMessage(Path(), unknown), -1);
    // A converted index has its numbers anywhere, even twice.
    std::string index = kNewIndex;
    index[4] = 9;
    for (unsigned char number : {4, 3, 0, 5, 4, 9})
        index += Record(number, number ? "r" + std::to_string(index.size()) : "");
    WriteFile(In("index2"), index);
    EXPECT_EQ(DeleteMessage(Path(), 3), 0);
    EXPECT_EQ(DeleteMessage(Path(), 4), 0) << "the first record of two";
    EXPECT_EQ(Rows(), "5:r648\n4:r856\n9:r1064\n");
    EXPECT_EQ(DeleteMessage(Path(), 9), -1) << "its file was missing";
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(Rows(), "5:r648\n4:r856\n") << "but its record is blank now";
    EXPECT_EQ(Append("new"), 10);
    // What cannot be removed stays listed.
    unlink(In("5").c_str());
    std::filesystem::create_directory(In("5"));
    EXPECT_EQ(DeleteMessage(Path(), 5), -1);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(Rows().starts_with("5:r648\n"));
}

TEST_F(FolderTest, WhatAKillLeftReservedIsTakenBack) {
    Append("one");
    int32_t number = 0;
    for (bool written : {false, true, false, false}) {
        Fd const file(ReserveMessage(Path(), number));
        EXPECT_TRUE(!written || WriteAll(file.Get(), "Subject: half"));
    }
    unlink(In("5").c_str());
    Fd const open(ReserveMessage(Path(), number)); // by a program that is at it
    EXPECT_EQ(TakeBackReserved(Path()), 0);
    EXPECT_EQ(Rows(), Listed(1, "one") + "2:\n3:\n4:\n5:\n6:\n");
    DeleteMessage(Path(), number);
    EXPECT_EQ(TakeBackReserved(Path()), 2);
    EXPECT_EQ(Rows(), Listed(1, "one") + "2:\n3:\n") << "text is kept, and what was there before it";
    EXPECT_FALSE(fs::exists(In("4")));
    EXPECT_EQ(Append("next"), 7);
}

TEST_F(FolderTest, TwentyMillionDeletedRecordsAreNotReadOneByOne) {
    Append("first");
    fs::resize_file(In("index2"), 24 + 20'000'000L * 208);
    std::string const last = Record(9, Row("last"));
    std::ofstream(In("index2"), std::ios::app | std::ios::binary) << last;
    timespec start{}, end{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &start);
    EXPECT_EQ(Rows(), Listed(1, "first") + Listed(9, "last"));
    EXPECT_EQ(DeleteMessage(Path(), 9), -1);
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
    EXPECT_LT(end.tv_sec - start.tv_sec, 2);
}

TEST_F(FolderTest, AFileThatCannotBeMadeLeavesItsRecord) {
    // One more descriptor is to be had: the index takes it.
    int const next = open("/dev/null", O_RDONLY);
    close(next);
    rlimit old{};
    getrlimit(RLIMIT_NOFILE, &old);
    rlimit const tight{static_cast<rlim_t>(next) + 1, old.rlim_max};
    std::string const message = Message("lost");
    char const *const path = Path(); // a sanitizer that looks at the fixture needs a descriptor, too
    setrlimit(RLIMIT_NOFILE, &tight);
    int32_t const number = AppendMessage(path, message);
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(Rows(), Listed(1, "lost"));
    EXPECT_EQ(Append("next"), 2);
}

TEST_F(FolderTest, HalfAMessageIsNone) {
    {
        FileSizeLimit const full(5000);
        EXPECT_EQ(Append(std::string(10'000, 'x')), -1);
    }
    EXPECT_FALSE(fs::exists(In("1")));
    EXPECT_EQ(Append("next"), 2);
    {
        // The record does not fit: nothing of the message stays.
        FileSizeLimit const full(Index().size() + 100);
        EXPECT_EQ(AppendMessage(Path(), "x"), -1);
    }
    EXPECT_FALSE(fs::exists(In("3")));
    EXPECT_EQ(Append("last"), 4);
    EXPECT_TRUE(Rows().ends_with(Listed(2, "next") + Listed(4, "last"))) << Rows();
}

TEST_F(FolderTest, SyncFolder) {
    int32_t numbers[100];
    for (int32_t &number : numbers)
        number = Append("x");
    EXPECT_TRUE(SyncFolder(Path(), numbers, 3));
    EXPECT_TRUE(SyncFolder(Path(), numbers, 100));
    DeleteMessage(Path(), numbers[0]);
    EXPECT_TRUE(SyncFolder(Path(), numbers, 1)) << "deleted by the user meanwhile";
    unlink(In("index2").c_str());
    EXPECT_FALSE(SyncFolder(Path(), numbers, 0));
    EXPECT_FALSE(SyncFolder("/missing", numbers, 0));
}

TEST_F(FolderTest, ReadMessageFile) {
    AppendMessage(Path(), "abc");
    long length = 0;
    std::unique_ptr<char, void (*)(void *)> text(ReadMessageFile(Path(), 1, 21, &length), free);
    ASSERT_TRUE(text);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(std::string(text.get(), 24), "abc" + std::string(21, 0));
    text.reset(ReadMessageFile(Path(), 1, 0, nullptr));
    EXPECT_STREQ(text.get(), "abc");
    // What is no message file is neither waited for nor followed.
    ASSERT_EQ(mkfifo(In("7").c_str(), 0600), 0);
    fs::create_symlink(In("1"), In("8"));
    fs::create_directory(In("9"));
    for (int32_t number : {2, 7, 8, 9})
        EXPECT_FALSE(ReadMessageFile(Path(), number, 1, &length)) << number;
    fs::rename(In("7"), In("index2"));
    EXPECT_EQ(Rows(), "");
    EXPECT_FALSE(SyncFolder(Path(), nullptr, 0));
    fs::rename(In("index2"), In("index"));
    EXPECT_EQ(ConvertFolderIndex("office", "Inbox"), -1);
}

TEST_F(FolderTest, TwoProcessesAndAReader) {
    constexpr int kEach = 400;
    auto const change = [this](int process) {
        int failed = 0;
        for (int i = 0; i < kEach; i++) {
            failed += Append(std::to_string(process) + "-" + std::to_string(i)) < 1;
            if (i % 4 == 0) {
                int32_t reserved = 0;
                close(ReserveMessage(Path(), reserved));
                failed += UpdateIndexRow("office", "Inbox", reserved, 0, Row("r").c_str()) != 0;
                failed += DeleteMessage(Path(), reserved) != 0;
            }
        }
        return failed == 0;
    };
    // Whoever reads meanwhile sees whole records only, each number once.
    InProcesses(2, change, [this] {
        std::set<int32_t> seen;
        ReadFolderIndex(Path(), [&](IndexRecord const &record) {
            EXPECT_TRUE(seen.insert(record.number).second);
            std::string_view const row = FieldText(record.row, kRowWidth);
            EXPECT_TRUE(row.empty() || row.starts_with(" \t")) << row;
        });
    });
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
