// The files of mail and news profiles, byte by byte, and how they are read back.

#include "fake_passwd.h"
#include "profiles/mail_profile_file.h"
#include "profiles/news_profile_file.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

constexpr char kFile[] =
    "pop.example.org:1110\nsmtp.example.org\nanna\ncGFzcw==\nAnna Muster\nanna@example.org\n300\n"
    "LEAVEONSERVER\n/home/anna/.signature\n\n\n";
constexpr char kNewsFile[] =
    "news.example.org:1119\nanna\ncGFzcw==\nAnna Muster\nanna@example.org\n/home/anna/.signature\n\n\n\n\n\n";

/// The mail profile "home" in a directory, the news profile "work" below it.
class ProfileFile : public testing::Test {
  protected:
    ProfileFile() {
        gPasswd = {scratch.Path(), true};
        fs::create_directories(newsDirectory);
    }
    ~ProfileFile() override { gPasswd = {}; }
    /// Reads a profile of these bytes.
    bool Read(std::string const &bytes, MailProfile &profile) const {
        WriteFile(file, bytes);
        return ReadMailProfileFile(file, "home", profile);
    }

    Scratch scratch;
    std::string const file = scratch / "home.dat";
    std::string const newsDirectory = scratch / ".Corvanta/news/";
    std::string const newsFile = newsDirectory + "work.dat";
};

TEST(FieldBase64, KeepsToTheFormat) {
    char out[80];
    memset(out, 'x', sizeof out);
    EXPECT_EQ(EncodeFieldBase64(out, sizeof out, "\xff\xfe\xfd!?", 5), 4) << "the padded group does not count";
    EXPECT_EQ(std::string(out, 64), "//79IT8=" + std::string(56, '\0')) << "64 bytes are cleared";
    EXPECT_EQ(out[64], 'x') << "and no more";
    EXPECT_EQ(EncodeFieldBase64(out, sizeof out, "", 0), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(EncodeFieldBase64(out, 8, "secret", 6), 4) << "whole groups only";
    EXPECT_STREQ(out, "c2Vj");
}

/// What each line means is seen in the journeys of the dialogs.
TEST_F(ProfileFile, IsReadAndWrittenByteForByte) {
    MailProfile mail;
    mail.serverMessageCount = 7;
    ASSERT_TRUE(Read(std::string(kFile) + "one line more\n", mail));
    EXPECT_STREQ(mail.name, "home");
    EXPECT_STREQ(mail.password, "pass");
    EXPECT_EQ(mail.serverMessageCount, 0);
    // Written beside and renamed; a link that lies in the way there is not written through.
    WriteFile(scratch / "victim", "untouched");
    fs::create_symlink(scratch / "victim", scratch / ".home.dat.new");
    ASSERT_TRUE(WriteMailProfile(scratch.Path(), mail));
    EXPECT_EQ(ReadFile(file), kFile);
    EXPECT_EQ(ReadFile(scratch / "victim"), "untouched");
    EXPECT_EQ(scratch.Names(), (Strings{".Corvanta", "home.dat", "victim"})) << "nothing is left beside it";
    EXPECT_FALSE(WriteMailProfile(scratch / "missing/", mail));

    WriteFile(newsFile, std::string(kNewsFile) + "one line more\n");
    NewsProfile news;
    news.articleCount = 7;
    news.serverSocket = 0;
    ASSERT_EQ(ReadNewsProfile("work", news), 1);
    EXPECT_STREQ(news.name, "work");
    EXPECT_EQ(news.serverSocket, -1);
    EXPECT_EQ(news.articleCount, 0);
    ASSERT_TRUE(WriteNewsProfile(newsDirectory, news));
    EXPECT_EQ(ReadFile(newsFile), kNewsFile);
    CopyText(news.fullName, "Anna\nAUTHINFO USER eve");
    ASSERT_TRUE(WriteNewsProfile(newsDirectory, news));
    EXPECT_NE(ReadFile(newsFile).find("\nAnna\nanna@example.org\n"), std::string::npos);
    EXPECT_EQ(ReadNewsProfile("nobody", news), 1) << "none is empty";
    gPasswd.present = false;
    EXPECT_EQ(ReadNewsProfile("nobody", news), -1);
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

TEST_F(ProfileFile, OddFiles) {
    MailProfile moved;
    ASSERT_TRUE(Read("pop\n\nanna\ncGFzcw==\nAnna\nanna@example.org\n300\nREMOVEFROMSERVER\n/sig\n\n\n", moved));
    EXPECT_EQ(MailProfileText(moved),
              "pop\nanna\ncGFzcw==\nAnna\nanna@example.org\n300\nREMOVEFROMSERV\n/sig\n\n\n\n")
        << "an empty line moves the later fields up, and the interval is cut to its field";

    MailProfile cut;
    std::string const server(994, 's');
    ASSERT_TRUE(Read(server + "\nsmtp.example.org\nanna\n", cut));
    EXPECT_EQ(cut.popServer, server);
    EXPECT_STREQ(cut.smtpServer, "smtp.") << "a file ends at its thousandth byte";
    EXPECT_STREQ(cut.userName, "");

    using namespace std::string_literals;
    MailProfile ended;
    ASSERT_TRUE(Read("pop\nsm\0tp\nanna\n"s, ended));
    EXPECT_STREQ(ended.smtpServer, "sm") << "or at a zero byte";
    EXPECT_STREQ(ended.userName, "");

    fs::remove(file);
    EXPECT_FALSE(ReadMailProfileFile(file, "other", ended));
    EXPECT_STREQ(ended.name, "home");
}

} // namespace
