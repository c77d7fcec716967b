// The file of a mail profile, byte by byte, and how it is read back.

#include "profiles/mail_profile_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class ProfileFile : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/corvanta-profiles-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        directory_ = std::string(name) + "/";
    }
    void TearDown() override { fs::remove_all(directory_); }

    std::string Bytes(std::string const &name) const {
        std::ifstream file(directory_ + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Put(std::string const &name, std::string const &bytes) const {
        std::ofstream(directory_ + name, std::ios::binary) << bytes;
    }
    bool Read(MailProfile &profile) const { return ReadMailProfileFile(directory_ + "home.dat", "home", profile); }
    long Entries() const { return std::distance(fs::directory_iterator(directory_), fs::directory_iterator()); }

    std::string directory_;
};

void Fill(MailProfile &profile) {
    auto const set = [](auto &field, char const *text) { snprintf(field, sizeof field, "%s", text); };
    set(profile.name, "home");
    set(profile.popServer, "pop.example.org:1110");
    set(profile.smtpServer, "smtp.example.org");
    set(profile.userName, "anna");
    set(profile.password, "pass");
    set(profile.fullName, "Anna Muster");
    set(profile.emailAddress, "anna@example.org");
    set(profile.checkInterval, "300");
    set(profile.leaveOnServer, "LEAVEONSERVER");
    set(profile.signatureFile, "/home/anna/.signature");
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
    ASSERT_TRUE(WriteMailProfile(directory_, profile));
    EXPECT_EQ(Bytes("home.dat"), kFile);
    struct stat status {};
    ASSERT_EQ(stat((directory_ + "home.dat").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(Entries(), 1) << "nothing is left beside it";
}

TEST_F(ProfileFile, KeepsTheOldFileWhenWritingFails) {
    MailProfile profile;
    Fill(profile);
    fs::create_directory(directory_ + "home.dat");
    EXPECT_FALSE(WriteMailProfile(directory_, profile));
    EXPECT_EQ(Entries(), 1);
    EXPECT_FALSE(WriteMailProfile(directory_ + "missing/", profile));
}

TEST_F(ProfileFile, WritesThroughNoLinkThatLiesInTheWay) {
    Put("victim", "untouched");
    fs::create_symlink(directory_ + "victim", directory_ + ".home.dat.new");
    MailProfile profile;
    Fill(profile);
    ASSERT_TRUE(WriteMailProfile(directory_, profile));
    EXPECT_EQ(Bytes("victim"), "untouched");
    EXPECT_EQ(Bytes("home.dat"), kFile);
}

TEST_F(ProfileFile, IsReadBack) {
    Put("home.dat", std::string(kFile) + "one line more\n");
    MailProfile profile;
    profile.serverMessageCount = 7;
    ASSERT_TRUE(Read(profile));
    EXPECT_STREQ(profile.name, "home");
    EXPECT_STREQ(profile.popServer, "pop.example.org:1110");
    EXPECT_STREQ(profile.smtpServer, "smtp.example.org");
    EXPECT_STREQ(profile.userName, "anna");
    EXPECT_STREQ(profile.password, "pass");
    EXPECT_STREQ(profile.fullName, "Anna Muster");
    EXPECT_STREQ(profile.emailAddress, "anna@example.org");
    EXPECT_STREQ(profile.checkInterval, "300");
    EXPECT_TRUE(profile.LeavesMailOnServer());
    EXPECT_STREQ(profile.signatureFile, "/home/anna/.signature");
    EXPECT_EQ(profile.serverSocket, -1);
    EXPECT_EQ(profile.serverMessageCount, 0);
    EXPECT_EQ(profile.profileKind, 1);
}

TEST_F(ProfileFile, PasswordsOfEveryLengthAndByteComeBack) {
    for (size_t length = 1; length <= 512; length++) {
        MailProfile profile;
        for (size_t at = 0; at < length; at++)
            profile.password[at] = static_cast<char>((at * 7 + length) % 255 + 1);
        snprintf(profile.popServer, sizeof profile.popServer, "p");
        snprintf(profile.smtpServer, sizeof profile.smtpServer, "s");
        snprintf(profile.userName, sizeof profile.userName, "u");
        ASSERT_TRUE(WriteMailProfile(directory_, profile));
        MailProfile back;
        ASSERT_TRUE(ReadMailProfileFile(directory_ + ".dat", "", back));
        ASSERT_STREQ(back.password, profile.password) << "length " << length;
    }
}

TEST_F(ProfileFile, EmptyLinesMoveLaterFieldsUp) {
    Put("home.dat", "pop\n\nanna\ncGFzcw==\nAnna\nanna@example.org\n300\nREMOVEFROMSERVER\n/sig\n\n\n");
    MailProfile profile;
    ASSERT_TRUE(Read(profile));
    EXPECT_STREQ(profile.smtpServer, "anna");
    EXPECT_STREQ(profile.userName, "cGFzcw==");
    EXPECT_STREQ(profile.fullName, "anna@example.org");
    EXPECT_STREQ(profile.emailAddress, "300");
    EXPECT_STREQ(profile.checkInterval, "REMOVEFROMSERV") << "cut to the field";
    EXPECT_STREQ(profile.leaveOnServer, "/sig");
    EXPECT_STREQ(profile.signatureFile, "");
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

    fs::remove(directory_ + "home.dat");
    snprintf(profile.name, sizeof profile.name, "before");
    EXPECT_FALSE(Read(profile));
    EXPECT_STREQ(profile.name, "before");
}

TEST(ProfileNames, LeadNowhereElse) {
    for (char const *good : {"home", "Work2", "a.b", "news2", "two words"})
        EXPECT_TRUE(IsMailProfileName(good)) << good;
    for (char const *bad : {"", ".", "..", "news", ".tmp", "a/b", "../x", "a\nb", "a\x7f"})
        EXPECT_FALSE(IsMailProfileName(bad)) << bad;
}
