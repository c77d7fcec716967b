// The files of mail and news profiles, byte by byte, and how they are read back.

#include "fake_passwd.h"
#include "fixtures/mode.h"
#include "profiles/mail_profile_file.h"
#include "profiles/news_profile_file.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

class ProfileFile : public testing::Test {
  protected:
    std::string Bytes(char const *name) const { return ReadFile(scratch / name); }
    void Put(char const *name, std::string const &bytes) const { WriteFile(scratch / name, bytes); }
    bool Read(MailProfile &profile) const { return ReadMailProfileFile(scratch / "home.dat", "home", profile); }

    Scratch scratch;
};

void Fill(MailProfile &profile) {
    CopyText(profile.name, "home");
    CopyText(profile.popServer, "pop.example.org:1110");
    CopyText(profile.smtpServer, "smtp.example.org");
    CopyText(profile.userName, "anna");
    CopyText(profile.password, "pass");
    CopyText(profile.fullName, "Anna Muster");
    CopyText(profile.emailAddress, "anna@example.org");
    CopyText(profile.checkInterval, "300");
    CopyText(profile.leaveOnServer, "LEAVEONSERVER");
    CopyText(profile.signatureFile, "/home/anna/.signature");
}

constexpr char kFile[] =
    "pop.example.org:1110\nsmtp.example.org\nanna\ncGFzcw==\nAnna Muster\nanna@example.org\n300\n"
    "LEAVEONSERVER\n/home/anna/.signature\n\n\n";

} // namespace

TEST(FieldBase64, KeepsToTheFormat) {
    char out[80];
    memset(out, 'x', sizeof out);
    EXPECT_EQ(EncodeFieldBase64(out, sizeof out, "secret", 6), 8);
    EXPECT_STREQ(out, "c2VjcmV0");
    EXPECT_EQ(std::string(out + 9, 55), std::string(55, '\0')) << "64 bytes are cleared";
    EXPECT_EQ(out[64], 'x') << "and no more";
    EXPECT_EQ(EncodeFieldBase64(out, sizeof out, "pass", 4), 4) << "the padded group does not count";
    EXPECT_STREQ(out, "cGFzcw==");
    EXPECT_EQ(EncodeFieldBase64(out, sizeof out, "\xff\xfe\xfd!?", 5), 4);
    EXPECT_STREQ(out, "//79IT8=");
    EXPECT_EQ(EncodeFieldBase64(out, sizeof out, "", 0), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(EncodeFieldBase64(out, 8, "secret", 6), 4) << "whole groups only";
    EXPECT_STREQ(out, "c2Vj");
}

TEST_F(ProfileFile, IsWrittenByteForByte) {
    MailProfile profile;
    Fill(profile);
    Put("home.dat", "the old file");
    ASSERT_TRUE(WriteMailProfile(scratch.Path(), profile));
    EXPECT_EQ(Bytes("home.dat"), kFile);
    EXPECT_EQ(ModeOf(scratch / "home.dat"), 0600u);
    EXPECT_EQ(scratch.Names(), Strings{"home.dat"}) << "nothing is left beside it";
}

TEST_F(ProfileFile, KeepsTheOldFileWhenWritingFails) {
    MailProfile profile;
    Fill(profile);
    fs::create_directory(scratch / "home.dat");
    EXPECT_FALSE(WriteMailProfile(scratch.Path(), profile));
    EXPECT_EQ(scratch.Names(), Strings{"home.dat"});
    EXPECT_FALSE(WriteMailProfile(scratch / "missing/", profile));
}

TEST_F(ProfileFile, WritesThroughNoLinkThatLiesInTheWay) {
    Put("victim", "untouched");
    fs::create_symlink(scratch / "victim", scratch / ".home.dat.new");
    MailProfile profile;
    Fill(profile);
    ASSERT_TRUE(WriteMailProfile(scratch.Path(), profile));
    EXPECT_EQ(Bytes("victim"), "untouched");
    EXPECT_EQ(Bytes("home.dat"), kFile);
}

TEST_F(ProfileFile, IsReadBack) {
    Put("home.dat", std::string(kFile) + "one line more\n");
    MailProfile profile;
    profile.serverMessageCount = 7;
    ASSERT_TRUE(Read(profile));
    EXPECT_STREQ(profile.name, "home");
    EXPECT_EQ(MailProfileText(profile), kFile);
    EXPECT_EQ(profile.serverSocket, -1);
    EXPECT_EQ(profile.serverMessageCount, 0);
    EXPECT_EQ(profile.profileKind, 1);
}

TEST_F(ProfileFile, PasswordsOfEveryLengthAndByteComeBack) {
    for (size_t length = 1; length <= 512; length++) {
        MailProfile profile;
        for (size_t at = 0; at < length; at++)
            profile.password[at] = static_cast<char>((at * 7 + length) % 255 + 1);
        for (auto *field : {profile.popServer, profile.smtpServer, profile.userName})
            CopyText(field, sizeof profile.userName, "x");
        MailProfile back;
        ParseMailProfile(MailProfileText(profile), back);
        ASSERT_STREQ(back.password, profile.password) << "length " << length;
    }
}

TEST_F(ProfileFile, EmptyLinesMoveLaterFieldsUp) {
    Put("home.dat", "pop\n\nanna\ncGFzcw==\nAnna\nanna@example.org\n300\nREMOVEFROMSERVER\n/sig\n\n\n");
    MailProfile profile;
    ASSERT_TRUE(Read(profile));
    EXPECT_EQ(MailProfileText(profile),
              "pop\nanna\ncGFzcw==\nAnna\nanna@example.org\n300\nREMOVEFROMSERV\n/sig\n\n\n\n")
        << "and the interval is cut to its field";
}

TEST_F(ProfileFile, IsCutAtAThousandBytes) {
    std::string const server(994, 's');
    Put("home.dat", server + "\nsmtp.example.org\nanna\n");
    MailProfile profile;
    ASSERT_TRUE(Read(profile));
    EXPECT_EQ(profile.popServer, server);
    EXPECT_STREQ(profile.smtpServer, "smtp.");
    EXPECT_STREQ(profile.userName, "");

    Put("home.dat", std::string(5000, 'x'));
    MailProfile one;
    ASSERT_TRUE(Read(one));
    EXPECT_EQ(strlen(one.popServer), 1000u);
}

TEST_F(ProfileFile, EndsAtAZeroByteAndMayBeMissing) {
    using namespace std::string_literals;
    Put("home.dat", "pop\nsm\0tp\nanna\n"s);
    MailProfile profile;
    ASSERT_TRUE(Read(profile));
    EXPECT_STREQ(profile.smtpServer, "sm");
    EXPECT_STREQ(profile.userName, "");

    fs::remove(scratch / "home.dat");
    CopyText(profile.name, "before");
    EXPECT_FALSE(Read(profile));
    EXPECT_STREQ(profile.name, "before");
}

TEST(ProfileNames, LeadNowhereElse) {
    for (char const *good : {"home", "Work2", "a.b", "news2", "two words"})
        EXPECT_TRUE(IsMailProfileName(good)) << good;
    for (char const *bad : {"", ".", "..", "news", ".tmp", "a/b", "../x", "a\nb", "a\x7f"})
        EXPECT_FALSE(IsMailProfileName(bad)) << bad;
}

namespace {

constexpr char kNewsFile[] =
    "news.example.org:1119\nanna\ncGFzcw==\nAnna Muster\nanna@example.org\n/home/anna/.signature\n\n\n\n\n\n";

/// The news profile "work" below the home directory of the password entry.
class NewsProfileFile : public ProfileFile {
  protected:
    NewsProfileFile() {
        gPasswd = {scratch.Path(), true};
        fs::create_directories(directory);
    }
    ~NewsProfileFile() override { gPasswd = {}; }

    std::string const directory = scratch / ".Corvanta/news/";
    std::string const path = directory + "work.dat";
};

} // namespace

TEST_F(NewsProfileFile, IsReadAndWrittenByteForByte) {
    WriteFile(path, std::string(kNewsFile) + "one line more\n");
    NewsProfile profile;
    profile.articleCount = 7;
    profile.serverSocket = 0;
    ASSERT_EQ(ReadNewsProfile("work", profile), 1);
    for (auto const &[field, value] : std::initializer_list<std::pair<char const *, char const *>>{
             {profile.name, "work"},
             {profile.server, "news.example.org:1119"},
             {profile.userName, "anna"},
             {profile.password, "pass"},
             {profile.fullName, "Anna Muster"},
             {profile.emailAddress, "anna@example.org"},
             {profile.signatureFile, "/home/anna/.signature"}})
        EXPECT_STREQ(field, value);
    EXPECT_EQ(profile.serverSocket, -1);
    EXPECT_EQ(profile.articleCount, 0);
    EXPECT_EQ(profile.profileKind, 3);

    ASSERT_TRUE(WriteNewsProfile(directory, profile));
    EXPECT_EQ(ReadFile(path), kNewsFile);
    CopyText(profile.fullName, "Anna\nAUTHINFO USER eve");
    ASSERT_TRUE(WriteNewsProfile(directory, profile));
    EXPECT_NE(ReadFile(path).find("\nAnna\nanna@example.org\n"), std::string::npos);
}

TEST_F(NewsProfileFile, EmptyLinesMoveLaterFieldsUp) {
    WriteFile(path, "news.example.org\n\ncGFzcw==\nAnna Muster\nanna@example.org\n/sig\n\n\n\n\n\n");
    NewsProfile profile;
    ASSERT_EQ(ReadNewsProfile("work", profile), 1);
    EXPECT_EQ(NewsProfileText(profile), "news.example.org\ncGFzcw==\nAnna/Mus\nanna@example.org\n/sig\n\n\n\n\n\n\n")
        << "the encoded password is the user's name";
}

TEST_F(NewsProfileFile, PasswordsThatDoNotFitAreNotWritten) {
    NewsProfile profile;
    CopyText(profile.name, "work");
    for (size_t length : {45u, 46u, 48u}) {
        std::string const password(length, 'p');
        for (auto *field : {profile.server, profile.userName})
            CopyText(field, sizeof profile.server, "x");
        CopyText(profile.password, password);
        ASSERT_TRUE(WriteNewsProfile(directory, profile)) << length;
        NewsProfile back;
        ASSERT_EQ(ReadNewsProfile("work", back), 1);
        EXPECT_EQ(back.password, password);
    }
    std::string const before = ReadFile(path);
    CopyText(profile.password, std::string(49, 'p'));
    EXPECT_FALSE(WriteNewsProfile(directory, profile));
    EXPECT_EQ(ReadFile(path), before);
}

TEST_F(NewsProfileFile, MayBeMissing) {
    NewsProfile profile;
    EXPECT_EQ(ReadNewsProfile("nobody", profile), 1);
    EXPECT_STREQ(profile.name, "nobody");
    EXPECT_STREQ(profile.server, "");
    EXPECT_EQ(profile.profileKind, 3);
    gPasswd.present = false;
    EXPECT_EQ(ReadNewsProfile("nobody", profile), -1);
}

TEST(GroupNames, LeadNowhereElse) {
    for (std::string const &good : Strings{"comp.lang.c", "local.test ", ".hidden", "%s", std::string(199, 'g')})
        EXPECT_TRUE(IsGroupName(good)) << good;
    for (std::string const &bad : Strings{"", " ", ".", ".. ", "a/b", "../x", "a\nb", "a\x7f", std::string(200, 'g')})
        EXPECT_FALSE(IsGroupName(bad)) << bad;
}
