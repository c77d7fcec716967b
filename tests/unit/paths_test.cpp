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
