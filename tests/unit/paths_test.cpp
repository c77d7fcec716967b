#include "base/paths.h"

#include "fake_passwd.h"
#include "fixtures/mode.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using std::filesystem::exists;

TEST(Paths, ComeFromThePasswordEntryAlone) {
    setenv("HOME", "/elsewhere", 1);
    gPasswd = {"/home/tester", true};
    EXPECT_EQ(HomeDirectory(), "/home/tester");
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
}

TEST(Paths, TempDirIsEmptyWithoutAnEntryOrWhenTooLong) {
    gPasswd = {"/home/tester", false};
    SetTempDir();
    EXPECT_STREQ(TempDir, "");
    gPasswd = {"/" + std::string(1200, 'x'), true};
    SetTempDir();
    EXPECT_STREQ(TempDir, "");
}

TEST(RemoveTempFiles, KeepsPageAndMessageUnlessAll) {
    Scratch const scratch;
    for (char const *name : {"originalmsg", "msg.html", "12_0.gif", "msg.html.old", ".hidden"})
        WriteFile(scratch / name, "x");
    RemoveTempFiles(scratch.Path().c_str(), false);
    EXPECT_EQ(scratch.Names(), (std::vector<std::string>{"msg.html", "originalmsg"}));
    RemoveTempFiles(scratch.Path().c_str(), true);
    EXPECT_TRUE(scratch.Names().empty());
}

TEST(RemoveTempFiles, NeverFollowsALinkOutOfTheDirectory) {
    Scratch const outside, scratch;
    WriteFile(outside / "precious", "x");
    std::filesystem::create_directory_symlink(outside.Path(), scratch / "directory");
    std::filesystem::create_symlink(outside / "precious", scratch / "file");
    std::filesystem::create_directories(scratch / "sub/inner");
    RemoveTempFiles(scratch.Path().c_str(), true);
    EXPECT_TRUE(exists(outside / "precious"));
    EXPECT_FALSE(std::filesystem::is_symlink(scratch / "directory"));
    EXPECT_FALSE(std::filesystem::is_symlink(scratch / "file"));
    EXPECT_TRUE(exists(scratch / "sub/inner")) << "a directory that is not empty stays";
    RemoveTempFiles((scratch / "missing/").c_str(), true);
}

} // namespace
