// The file of an address book: how it is read, changed and sorted.

#include "profiles/address_book_file.h"

#include "fixtures/mode.h"
#include "fixtures/process.h"
#include "unit/scratch.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

TEST(AddressBookFile, FieldsBecomeARow) {
    EXPECT_EQ(ContactRow({"a\tb\r\nc", "x@y\n", "\x7F"}), "a b  c\tx@y \t ");
    EXPECT_EQ(ContactRow({std::string(997, 'n'), "\xC3\xA4", ""}), std::string(997, 'n') + "\t")
        << "whole characters";
}

TEST(AddressBookFile, LoadingCreatesAMissingBookAndLeavesOthersAlone) {
    Scratch const root;
    EXPECT_EQ(LoadBook(root / ".global"), "");
    EXPECT_EQ(ModeOf(root / ".global"), 0600u);
    WriteFile(root / ".global", "Ann\ta@x\t\n");
    EXPECT_EQ(LoadBook(root / ".global"), "Ann\ta@x\t\n");
    EXPECT_EQ(mkfifo((root / ".pipe").c_str(), 0600), 0);
    EXPECT_EQ(LoadBook(root / ".pipe"), "") << "nothing writes to it: must not wait";
    EXPECT_EQ(LoadBook(root.Path()), "");
    EXPECT_EQ(LoadBook(root / "missing/.global"), "");
    WriteFile(root / ".huge", "");
    fs::resize_file(root / ".huge", 1ull << 40);
    EXPECT_EQ(LoadBook(root / ".huge"), "");
    EXPECT_EQ(fs::file_size(root / ".huge"), 1ull << 40);
    EXPECT_FALSE(AppendToBook(root / ".huge", "Ann\ta@x\t"));
}

TEST(AddressBookFile, ChangesAreWholeOrNone) {
    Scratch const root;
    std::string const book = root / ".global";
    EXPECT_TRUE(AppendToBook(book, "Bob\tb@x\t"));
    EXPECT_TRUE(AppendToBook(book, "Ann\ta@x\t"));
    EXPECT_EQ(ReadFile(book), "Ann\ta@x\t\nBob\tb@x\t\n") << "sorted";
    EXPECT_EQ(ModeOf(book), 0600u);
    WriteFile(book, "by hand\th@x\t");
    EXPECT_TRUE(AppendToBook(book, "Ann\ta@x\t"));
    EXPECT_EQ(ReadFile(book), "Ann\ta@x\t\nby hand\th@x\t\n") << "a last line without its end stays a line";
    EXPECT_TRUE(WriteBook(book, "Ann\ta@x\t\n"));
    EXPECT_EQ(root.Names(), std::vector<std::string>{".global"});

    {
        FileSizeLimit const full(16);
        EXPECT_FALSE(AppendToBook(book, "Bob\tbob@example.org\t"));
        EXPECT_FALSE(WriteBook(book, std::string(100, 'x')));
    }
    EXPECT_EQ(ReadFile(book), "Ann\ta@x\t\n");
    EXPECT_EQ(root.Names(), std::vector<std::string>{".global"});
    EXPECT_FALSE(WriteBook(root / "missing/.global", ""));
}

TEST(AddressBookFile, BooksAreOfferedByName) {
    Scratch const root;
    EXPECT_EQ(BookNames(root / "missing/"), std::vector<std::string>{"global"});
    for (char const *name : {".work", ".friends", ".global", "home.dat", ".home.dat.new", "..work.new"})
        WriteFile(root / name, "");
    fs::create_directory(root / ".tmp");
    fs::create_symlink("home.dat", root / ".linked");
    fs::create_symlink(".tmp", root / ".elsewhere");
    EXPECT_EQ(mkfifo((root / ".pipe").c_str(), 0600), 0);
    EXPECT_EQ(BookNames(root.Path()), (std::vector<std::string>{"global", "friends", "linked", "work"}));
    // The longest name still leaves room for the file that is written beside.
    std::string const longest(249, 'b');
    for (std::string const &good : {"global"s, "work"s, "Old friends"s, "tmp2"s, "b\xC3\xBC"s, "-o"s, longest})
        EXPECT_TRUE(IsBookName(root.Path(), good)) << good;
    for (std::string const &bad : {""s, ".."s, ".hidden"s, "tmp"s, "a/b"s, "a\nb"s, "home.dat.new"s, longest + "b"})
        EXPECT_FALSE(IsBookName(root.Path(), bad)) << bad;
    EXPECT_TRUE(AppendToBook(BookPath(root.Path(), longest), "x"));
}

} // namespace
