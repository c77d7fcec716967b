// What the standard way remembers, and the settings: files that are cut, wrong or another version's lose nothing
// else.

#include "base/command.h"
#include "base/settings.h"
#include "state/certificates.h"
#include "state/uidl_log.h"
#include "unit/scratch.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

std::string Contents(std::string const &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class State : public testing::Test {
  protected:
    void SetUp() override {
        setenv("XDG_STATE_HOME", scratch.Path().c_str(), 1);
        log = scratch.Path() + "/corvanta/uidl/home";
    }
    Scratch scratch;
    std::string log;
};

TEST_F(State, EachMessageIsKnownFromWhenItIsSafe) {
    {
        UidlLog first("home");
        ASSERT_TRUE(first.Valid());
        std::string const fetched[] = {"a", "b"};
        ASSERT_TRUE(first.Begin(7, fetched));
        EXPECT_EQ(first.Find("a"), nullptr);
    }
    {
        UidlLog killed("home"); // between Begin and Commit
        EXPECT_EQ(killed.Unended(), (std::vector<std::string>{"a", "b"}));
        EXPECT_EQ(killed.UnendedFrom(), 7);
        StoredMessage const stored[] = {{"a", 8}, {"b", 9}};
        ASSERT_TRUE(killed.Commit(stored, 1000));
        EXPECT_TRUE(killed.Unended().empty());
    }
    NoteMoved("home", "Inbox", 8, "Odd %name\n", 3);
    NoteMoved("home", "Odd %name\n", 3, "Saved", 4);
    NoteDeleted("home", "Inbox", 9);
    NoteDeleted("home", "Inbox", 8); // another message has that place by now
    NoteDeleted("none", "Inbox", 1);
    UidlLog last("home");
    ASSERT_TRUE(last.Find("a") && last.Find("b"));
    EXPECT_EQ(last.Find("a")->folder, "Saved");
    EXPECT_EQ(last.Find("a")->number, 4);
    EXPECT_EQ(last.Find("b")->folder, "");
    EXPECT_EQ(last.Find("b")->time, 1000);
    EXPECT_EQ(access((scratch.Path() + "/corvanta/uidl/none").c_str(), F_OK), -1);
}

TEST_F(State, AFileThatIsCutAnywhereLosesItsLastLineOnly) {
    {
        UidlLog whole("home");
        StoredMessage const stored[] = {{"one", 1}, {"two", 2}};
        ASSERT_TRUE(whole.Commit(stored, 5));
    }
    std::string const text = Contents(log);
    for (size_t size = 0; size <= text.size(); size++) {
        SCOPED_TRACE(size);
        std::ofstream(log, std::ios::binary) << text.substr(0, size);
        size_t const lines =
            static_cast<size_t>(std::count(text.begin(), text.begin() + static_cast<long>(size), '\n'));
        UidlLog cut("home");
        ASSERT_TRUE(cut.Valid());
        EXPECT_EQ(cut.All().size(), std::min<size_t>(lines, 2));
        StoredMessage const next[] = {{"three", 3}};
        ASSERT_TRUE(cut.Commit(next, 6));
        EXPECT_TRUE(cut.Find("three"));
    }
}

TEST_F(State, WhatTheServerHasNoMoreIsForgottenAndTheFileShortened) {
    UidlLog log1("home");
    std::vector<StoredMessage> stored;
    for (int i = 0; i < 3000; i++)
        stored.push_back({"uid" + std::to_string(i), i + 1});
    ASSERT_TRUE(log1.Commit(stored, 1));
    auto const before = Contents(log).size();
    ASSERT_TRUE(log1.KeepOnly({{"uid5", 1}, {"uid6", 2}}));
    EXPECT_LT(Contents(log).size(), before / 100);
    StoredMessage const next[] = {{"new", 3001}};
    ASSERT_TRUE(log1.Commit(next, 2)); // goes into the file that is there now
    NoteDeleted("home", "Inbox", 6);
    EXPECT_NE(Contents(log).find("seen new Inbox 3001 2\n"), std::string::npos);
}

TEST_F(State, CertificatesAreAcceptedForOneHostAndPort) {
    ASSERT_TRUE(AcceptCertificate("pop.example.org", 995, "AA:BB"));
    ASSERT_TRUE(AcceptCertificate("pop.example.org", 995, "CC:DD"));
    EXPECT_EQ(AcceptedCertificate("pop.example.org", 995), "CC:DD");
    EXPECT_EQ(AcceptedCertificate("pop.example.org", 110), "");
    EXPECT_EQ(Contents(scratch.Path() + "/corvanta/certificates"), "pop.example.org 995 CC:DD\n");
}

TEST_F(State, SettingsKeepWhatTheyDoNotKnow) {
    std::string const path = scratch.Path() + "/new/settings.toml";
    {
        Settings settings(path);
        EXPECT_FALSE(settings.Exists());
        EXPECT_TRUE(settings.Bool("classic", true));
        settings.Set("classic", false);
        settings.Set("receiving.notify", false);
        ASSERT_TRUE(settings.Save());
    }
    std::ofstream(path, std::ios::app) << "[of.another]\nversion = [1, 2]\n";
    Settings settings(path);
    EXPECT_EQ(settings.Problem(), "");
    EXPECT_FALSE(settings.Bool("classic", true));
    EXPECT_FALSE(settings.Bool("receiving.notify", true));
    EXPECT_EQ(settings.Text("classic", "no text"), "no text");
    settings.Set("reading.font", "Serif");
    ASSERT_TRUE(settings.Save());
    EXPECT_NE(Contents(path).find("version = [ 1, 2 ]"), std::string::npos) << Contents(path);

    std::ofstream(path) << "classic = false\nthis is no TOML\n";
    Settings wrong(path);
    EXPECT_NE(wrong.Problem().find("line 2"), std::string::npos) << wrong.Problem();
    EXPECT_TRUE(wrong.Bool("classic", true));
    wrong.Set("classic", true);
    EXPECT_FALSE(wrong.Save());
    EXPECT_EQ(Contents(path), "classic = false\nthis is no TOML\n");
}

TEST(Command, TheFirstLineIsTheSecret) {
    struct {
        char const *command, *line, *problem;
    } const cases[] = {
        {"echo one two", "one two", ""},
        {"printf 'first\\r\\nsecond\\n' | cat", "first", ""},
        {"no-such-command", "", "The command \"no-such-command\" cannot be run: No such file or directory"},
        {"false", "", "The command \"false\" failed with status 1"},
        {"true", "", "The command \"true\" failed with status 0"},
        {" ", "", "The command for the password is empty"}};
    for (auto const &wanted : cases) {
        SCOPED_TRACE(wanted.command);
        std::string line;
        Outcome const outcome = FirstLineOfCommand(wanted.command, line);
        if (*wanted.line) {
            EXPECT_TRUE(outcome) << outcome.text;
            EXPECT_EQ(line, wanted.line);
        }
        if (*wanted.problem) {
            EXPECT_EQ(outcome.text, wanted.problem);
        }
    }
    std::string line;
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(FirstLineOfCommand("sleep 60", line, [] { return true; }).ending, Ending::kStopped);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

} // namespace
