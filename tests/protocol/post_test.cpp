// Posting articles against scripted servers: every byte on the wire, what is shown, and where the text stays.

#include "base/paths.h"
#include "compose/references.h"
#include "fixtures/process.h"
#include "fixtures/temp_home.h"
#include "protocol/send_fixture.h"

#include <filesystem>
#include <fstream>

namespace {

using Strings = std::vector<std::string>;

std::string const kLost = "Error|Failed to get a socket, verify server information";

Script const kGreeting{Send("200 ready\r\n"), Expect("POST")};
Script const kMayPost{Send("340 go on\r\n")};
Script const kDot{Until("\r\n.\r\n")};
Script const kTaken{Send("240 got it\r\n"), Expect(""), Expect("QUIT")};
Script const kLogin{Send("480 who are you\r\n"), Expect("AUTHINFO USER ann"), Send("381 password\r\n"),
                    Expect("AUTHINFO PASS secret")};

class PostTest : public SendTest {
  protected:
    std::string Unsent() const { return FileText(ConfigRoot() + "news/home/unsent"); }

    /// Writes one article that the server takes. Returns what went over the wire between POST and QUIT.
    std::string Post(std::string const &groups, std::string const &text, std::string const &subject = "Hello",
                     std::string const &references = "") {
        ServeNews({kGreeting + kMayPost + kDot + kTaken});
        ComposeArticle(groups, text, subject, references);
        EXPECT_TRUE(SendNow());
        EXPECT_EQ(server->Problems(), "");
        EXPECT_TRUE(WindowGone());
        EXPECT_EQ(shownAlerts, Strings{});
        screen.RunCallback([&] { ReleaseCompose(std::exchange(state, nullptr)); });
        std::string const all = server->Received();
        std::string const begin = "POST\r\n", end = "\r\n.\r\n\r\nQUIT\r\n";
        if (!all.starts_with(begin) || !all.ends_with(end))
            return "?" + all;
        return all.substr(begin.size(), all.size() - begin.size() - end.size());
    }
};

TEST_F(PostTest, ByteForByte) {
    std::string const begin = "NEWSGROUPS: test.general\r\nFROM: ann@example.org\r\nSUBJECT: Hello\r\n";
    EXPECT_EQ(Post("test.general", "One\n.two\n\n..three"), begin + "\r\n\n\nOne\r\n..two\r\n\r\n...three");
    // The line of the references ends twice.
    EXPECT_EQ(Post("test.general", "x", "Hello", "<1@a> <2@b>"), begin + "REFERENCES: <1@a> <2@b>\n\r\n\r\n\n\nx");
    EXPECT_EQ(Post("test.general ", std::string(71, 'x') + " y"),
              begin + "\r\n\n\n" + std::string(71, 'x') + " \r\ny");
    EXPECT_FALSE(std::filesystem::exists(ConfigRoot() + "news/home/unsent"));
    EXPECT_FALSE(std::filesystem::exists(ConfigRoot() + "home")) << "there is no copy";
}

TEST_F(PostTest, NoFieldAddsALineOrABlank) {
    EXPECT_EQ(Post("a.b, c.d\r\nX-Evil: 1", "x", "one\r\n\r\ntwo", "<1@a>\r\n\r\n.\r\nX: y"),
              "NEWSGROUPS: a.b,c.dX-Evil:1\r\nFROM: ann@example.org\r\nSUBJECT: onetwo\r\n"
              "REFERENCES: <1@a>.X: y\n\r\n\r\n\n\nx");
}

TEST_F(PostTest, AttachmentsAndSignature) {
    std::ofstream(TempHome() + "/signature") << ".Ann\n";
    server = std::make_unique<ScriptedServer>(kGreeting + kMayPost + kDot + kTaken);
    WriteNewsProfile(server->Address(), TempHome() + "/signature");
    ComposeArticle("test.general", "text");
    AddPart("a.txt", "TEXT/PLAIN", "QUJD\n");
    ASSERT_TRUE(SendNow());
    std::string const all = server->Received();
    EXPECT_NE(all.find("SUBJECT: Hello\r\n\r\nMIME-Version: 1.0\nContent-Type: MULTIPART/MIXED; BOUNDARY=\""),
              all.npos);
    EXPECT_NE(all.find("\r\n \n\ntext\n\n..Ann\n\r\n\r\n----Corvanta-"), all.npos);
    EXPECT_NE(all.find("\r\nContent-Type: TEXT/PLAIN; name:\"a.txt\"\nContent-Disposition: attachment; "
                       "filename=\"a.txt\"\nContent-Transfer-Encoding: BASE64\r\n\nQUJD\n\r\n\r\n----Corvanta-"),
              all.npos);
    EXPECT_TRUE(WindowGone());
}

TEST_F(PostTest, LogsInWhenAsked) {
    ServeNews({kGreeting + kLogin + Script{Send("281 welcome\r\n"), Expect("POST")} + kMayPost + kDot + kTaken});
    ComposeArticle("test.general", "text");
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(server->Problems(), "");
    EXPECT_TRUE(WindowGone());
    EXPECT_EQ(shownAlerts, Strings{});
}

TEST_F(PostTest, NoGroupSendsNothing) {
    WriteNewsProfile("127.0.0.1:1");
    ComposeArticle("", "text");
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{});
    screen.RunCallback([&] { PtSetResource(state->toField, Pt_ARG_TEXT_STRING, "  ", 0); });
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{"Error|There is no group in the Group field that the message could be posted to"});
}

/// A step at which the server spoils the dialogue, and what the person then sees.
struct Spoiled {
    char const *name;
    Script script;
    Strings alerts;
};

TEST_F(PostTest, EveryFailureGivesTheTextBack) {
    Script const post = kGreeting, reset{Reset()}, quit{Expect("QUIT")};
    Script const body = post + kMayPost + kDot;
    Script const login = post + kLogin;
    Script const again = login + Script{Send("281 welcome\r\n"), Expect("POST")};
    Strings const lost{kLost};
    std::vector<Spoiled> const dialogues{
        {"no greeting", {}, lost},
        {"half a greeting", {Send("200 re")}, lost},
        {"closes after POST", post, lost},
        {"answers without end", post + Script{Flood("3", 40 << 20)}, lost},
        {"closes at the user", post + Script{Send("480 who\r\n"), Expect("AUTHINFO USER ann")}, lost},
        {"closes at the password", login, lost},
        {"closes at the second POST", again, lost},
        {"login refused",
         login + Script{Send("481 %s<b>no</b>\r\n")},
         {"Error|481 %s<b>no</b>", "Error|Could not authenticate to server"}},
        {"resets in the article", post + kMayPost + reset, lost},
        {"closes after the dot", body, lost},
        {"half an answer", body + Script{Send("240 go")}, lost},
        {"article refused",
         body + Script{Send("441 No valid newsgroups in \"a.b\"\r\n"), Expect("")} + quit,
         {"Error|441 No valid newsgroups in \"a.b\""}},
        {"answer without a number", body + Script{Send("\r\n"), Expect("")} + quit, {"Error|"}},
    };
    for (Spoiled const &spoiled : dialogues) {
        SCOPED_TRACE(spoiled.name);
        ServeNews({spoiled.script});
        if (!state)
            ComposeArticle("a.b", "text");
        shownAlerts.clear();
        int const descriptors = CountDescriptors();
        ASSERT_TRUE(SendNow());
        EXPECT_LE(CountDescriptors(), descriptors + 1); // the server's own
        EXPECT_EQ(shownAlerts, spoiled.alerts);
        EXPECT_TRUE(Editable());
        EXPECT_FALSE(state->sent);
        server.reset();
    }
    EXPECT_EQ(Unsent(), "");
    // The same window can post in the end.
    ServeNews({kGreeting + kMayPost + kDot + Script{Send("250 ok\r\n"), Expect(""), Expect("QUIT")}});
    shownAlerts.clear();
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(server->Problems(), "");
    EXPECT_TRUE(WindowGone());
}

TEST_F(PostTest, AWindowThatIsOfNoMoreUseLeavesItsTextInAFile) {
    std::string const article = "NEWSGROUPS: a.b\r\nFROM: ann@example.org\r\nSUBJECT: Hello\r\n\r\n\n\n.text\r\n\r\n";
    Script const refused{Send("440 no posting here\r\n"), Expect("QUIT")};
    for (Script const &script : {kGreeting + refused + Script{Send("205 bye\r\n")}, kGreeting + refused,
                                 kGreeting + kLogin + Script{Send("281 welcome\r\n"), Expect("POST")} + refused}) {
        ServeNews({script});
        ComposeArticle("a.b", ".text");
        shownAlerts.clear();
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(server->Problems(), "");
        EXPECT_EQ(shownAlerts, Strings{"Error|440 no posting here"});
        EXPECT_TRUE(WindowGone());
        screen.RunCallback([&] { ReleaseCompose(std::exchange(state, nullptr)); });
    }
    EXPECT_EQ(Unsent(), article + article + article);
    EXPECT_EQ(screen.Status(), "The article was not posted, its text is in " + ConfigRoot() + "news/home/unsent");
    server.reset();
    // No server at all: the window stays as it is.
    ComposeArticle("a.b", ".text");
    shownAlerts.clear();
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{kLost});
    EXPECT_FALSE(Editable());
    EXPECT_EQ(Unsent(), article + article + article + article);
    // Nowhere to keep it: the person has it back.
    std::filesystem::remove_all(ConfigRoot() + "news/home");
    ASSERT_TRUE(SendNow());
    EXPECT_TRUE(Editable());
    EXPECT_EQ(screen.Status(), "The article was not posted, and its text could not be saved");
}

TEST(References, OfAFollowUp) {
    EXPECT_EQ(ReplyReferences("From: a\r\nReferences: <1@a>\r\n\t<2@b> \r\n\r\nMessage-ID: <no@body>\r\n"),
              "<1@a> <2@b>");
    EXPECT_EQ(ReplyReferences("MESSAGE-ID:<3@c>\nreferences:\n <1@a>(x) <2 @b> <> < <2@b>\nX: y\n\n"),
              "<1@a> <2@b> <3@c>");
    EXPECT_EQ(ReplyReferences("References: one two\r\nMessage-ID: " + ("<" + std::string(250, 'x') + ">\r\n\r\n")),
              "");
    EXPECT_EQ(ReplyReferences(""), "");
    EXPECT_EQ(ReplyReferences("References: <1\x01@a>\r\n"), "<1@a>");
    // The first and the newest of a long thread, in a line of at most 998 bytes.
    std::string article = "References:";
    for (int i = 0; i < 5000; i++)
        article += " <" + std::to_string(i) + "@example.org>\r\n";
    std::string const trimmed = ReplyReferences(article + "Message-ID: <last@example.org>\r\n\r\n");
    EXPECT_LE(trimmed.size(), 998u - 12);
    EXPECT_GT(trimmed.size(), 950u);
    EXPECT_TRUE(trimmed.starts_with("<0@example.org> <49")) << trimmed;
    EXPECT_TRUE(trimmed.ends_with(" <4999@example.org> <last@example.org>"));
}

TEST(References, WhereAReplyGoes) {
    EXPECT_EQ(ReplyGroups("Newsgroups: a.b, c.d,\r\n\te.f\r\n\r\nFollowup-To: x\r\n"), "a.b,c.d,e.f");
    EXPECT_EQ(ReplyGroups("Newsgroups: a.b\r\nFollowup-To: c.d\r\n"), "c.d");
    EXPECT_EQ(ReplyGroups("Newsgroups: a.b\r\nFollowup-To: \r\n"), "a.b");
    EXPECT_EQ(ReplyGroups("Newsgroups: a.b\r\nFollowup-To: Poster \r\n"), "poster");
    EXPECT_EQ(ReplyGroups("Followup-To-Me: a.b\r\n"), "");
}

} // namespace
