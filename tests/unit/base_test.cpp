// Bounded texts, names that may become paths, and the paths themselves.

#include "base/paths.h"
#include "base/scratch.h"
#include "base/text.h"
#include "base/utf8.h"

#include "fake_passwd.h"
#include "fixtures/mode.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

TEST(Fields, AreFilledToTheirWidthAndNoFurther) {
    char field[9];
    for (size_t length : {0, 1, 6, 7, 8, 9, 100}) {
        memset(field, '#', sizeof field);
        size_t const expected = std::min<size_t>(length, 7);
        EXPECT_EQ(CopyText(field, 8, std::string(length, 'x')), expected);
        EXPECT_STREQ(field, std::string(expected, 'x').c_str());
        EXPECT_EQ(field[8], '#') << "wrote past the field";
    }
    EXPECT_EQ(CopyText(field, std::string_view("ab\0cd", 5)), 2u);
    EXPECT_EQ(CopyText(field, 0, "x"), 0u);
    EXPECT_EQ(AppendText(field, "cdefghijk"), 8u);
    EXPECT_EQ(AppendText(field, "x"), 8u);
    EXPECT_STREQ(field, "abcdefgh");
    EXPECT_FALSE(PrintText(field, sizeof field, "%d", 123456789));
    EXPECT_STREQ(field, "12345678");
    EXPECT_TRUE(PrintText(field, sizeof field, "%d", 87654321));
    char full[4] = {'f', 'u', 'l', 'l'}; // not terminated
    EXPECT_EQ(AppendText(full, "x"), 4u);
    EXPECT_EQ(FieldText(full, 4), "full");
}

TEST(Utf8, CutsBetweenCharacters) {
    std::string const text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xE4z"; // the last but one is Latin-1
    size_t const cuts[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 12, 12};
    for (size_t bytes = 0; bytes < std::size(cuts); bytes++)
        EXPECT_EQ(CutToCharacters(text, bytes).size(), cuts[bytes]) << bytes;
    EXPECT_EQ(CharacterCount(text), 6u);
    EXPECT_EQ(CharacterCount("\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80\xC3"), 10u)
        << "overlong, surrogate, too large, cut";
}

TEST(TextPart, EndsAtALineWhereItCan) {
    std::string const line(kTextPartBytes - 10, 'x');
    for (auto const &[text, part] : std::initializer_list<std::pair<std::string, size_t>>{
             {"", 0},
             {line + "\n123456789", kTextPartBytes},
             {line + "\n1234567890", kTextPartBytes - 9},
             {std::string(kTextPartBytes - 1, 'x') + "\xC3\xA4", kTextPartBytes - 1},
             {std::string(kTextPartLines, '\n'), kTextPartLines},
             {std::string(kTextPartLines, '\n') + "x", kTextPartLines}})
        EXPECT_EQ(TextPart(text).size(), part);
}

TEST(NoCase, FoldsAsciiOnly) {
    EXPECT_TRUE(EqualNoCase("MiXed", "mIxED"));
    EXPECT_FALSE(EqualNoCase("mixed", "mixe"));
    EXPECT_FALSE(EqualNoCase("[", "{")) << "neighbours of the letters";
    EXPECT_FALSE(EqualNoCase("\xc4", "\xe4"));
    EXPECT_TRUE(StartsWithNoCase("+ok 5", "+OK"));
    EXPECT_FALSE(StartsWithNoCase("+o", "+OK"));
}

using std::filesystem::exists;

TEST(Paths, ComeFromThePasswordEntryAlone) {
    setenv("HOME", "/elsewhere", 1);
    gPasswd = {"/home/tester", true};
    EXPECT_EQ(FolderDirectory("office", "Inbox"), "/home/tester/.Corvanta/office/Inbox/");
    gPasswd.present = false;
    EXPECT_FALSE(HomeDirectory());
    EXPECT_EQ(ConfigRoot(), "/.Corvanta/");
}

TEST(Paths, TempDirIsMadeOnlyBelowAnExistingParent) {
    Scratch const home;
    gPasswd = {home.Path().substr(0, home.Path().size() - 1), true};
    SetTempDir();
    EXPECT_EQ(TempDir, home / ".Corvanta/.tmp/");
    EXPECT_FALSE(exists(TempDir)) << "the very first start makes no directory";
    std::filesystem::create_directory(home / ".Corvanta");
    SetTempDir();
    EXPECT_EQ(ModeOf(TempDir), 0700u);

    // Another program that runs, one that was killed, and a link to somewhere else.
    std::string const root = home / ".Corvanta/", own = root + ".tmp-" + std::to_string(getpid()) + "/";
    std::filesystem::create_directory(root + ".tmp-1");
    std::filesystem::create_directory(root + ".tmp-2");
    WriteFile(root + ".tmp-1/msg.html", "x");
    int const first = open((root + ".tmp").c_str(), O_RDONLY), third = open((root + ".tmp-2").c_str(), O_RDONLY);
    ASSERT_EQ(flock(third, LOCK_EX | LOCK_NB), 0);
    SetTempDir();
    EXPECT_FALSE(exists(root + ".tmp-1"));
    ASSERT_NE(flock(first, LOCK_EX | LOCK_NB), 0) << "held";
    std::filesystem::rename(root + ".tmp", root + ".elsewhere");
    WriteFile(root + ".elsewhere/msg.html", "x");
    std::filesystem::create_directory_symlink(root + ".elsewhere", root + ".tmp");
    RemoveTempFiles(TempDir, true);
    SetTempDir();
    EXPECT_EQ(TempDir, own);
    EXPECT_TRUE(exists(root + ".elsewhere/msg.html"));
    WriteFile(own + "msg.html", "x");
    LeaveTempDir();
    EXPECT_FALSE(exists(own));
    std::filesystem::remove(root + ".tmp");
    std::filesystem::rename(root + ".elsewhere", root + ".tmp");
    ASSERT_EQ(flock(first, LOCK_EX | LOCK_NB), 0);
    SetTempDir();
    EXPECT_EQ(TempDir, own) << "another program shows its messages in the first one";
    LeaveTempDir();
    EXPECT_FALSE(exists(own));
    EXPECT_TRUE(exists(root + ".tmp-2"));
    close(first);
    close(third);

    gPasswd.present = false;
    SetTempDir();
    EXPECT_STREQ(TempDir, "");
    gPasswd = {"/" + std::string(1200, 'x'), true};
    SetTempDir();
    EXPECT_STREQ(TempDir, "") << "half a path would be another place";
}

TEST(RemoveTempFiles, KeepsPageAndMessageUnlessAllAndFollowsNoLink) {
    Scratch const outside, scratch;
    WriteFile(outside / "precious", "x");
    std::filesystem::create_directory_symlink(outside.Path(), scratch / "directory");
    std::filesystem::create_symlink(outside / "precious", scratch / "file");
    std::filesystem::create_directories(scratch / "sub/inner");
    for (char const *name : {"originalmsg", "msg.html", "12_0.gif", "msg.html.old", ".hidden"})
        WriteFile(scratch / name, "x");
    RemoveTempFiles(scratch.Path().c_str(), false);
    EXPECT_EQ(scratch.Names(), (std::vector<std::string>{"msg.html", "originalmsg", "sub"}));
    RemoveTempFiles(scratch.Path().c_str(), true);
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"sub"}) << "a directory that is not empty stays";
    EXPECT_TRUE(exists(outside / "precious"));
    RemoveTempFiles((scratch / "missing/").c_str(), true);
}

} // namespace
