// Posting articles against scripted servers: every byte on the wire, what is shown, and where the text stays.

#include "base/paths.h"
#include "compose/references.h"
#include "fixtures/process.h"
#include "fixtures/temp_home.h"
#include "protocol/send_fixture.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class PostTest : public SendTest {
  protected:
    std::string Post(std::string const &groups, std::string const &text, std::string const &subject = "Hello",
                     std::string const &references = "") {
        ServeNews({kMayPost + NewsTakes()});
        ComposeArticle(groups, text, subject, references);
        return Deliver();
    }
};

std::string const kHeader = "NEWSGROUPS: test.general\r\nFROM: ann@example.org\r\nSUBJECT: Hello\r\n";

TEST_F(PostTest, ByteForByte) {
    EXPECT_EQ(Post("test.general ", "One\n.two\n\n..three"), kHeader + "\r\n\n\nOne\r\n..two\r\n\r\n...three");
    // The line of the references ends twice.
    EXPECT_EQ(Post("test.general", "x", "Hello", "<1@a> <2@b>"), kHeader + "REFERENCES: <1@a> <2@b>\n\r\n\r\n\n\nx");
    // No field adds a line, and none but the subject a blank.
    EXPECT_EQ(Post("a.b, c.d\r\nX-Evil: 1", "x", "one\r\n\r\ntwo x", "<1@a>\r\n\r\n.\r\nX: y"),
              "NEWSGROUPS: a.b,c.dX-Evil:1\r\nFROM: ann@example.org\r\nSUBJECT: onetwo x\r\n"
              "REFERENCES: <1@a>.X: y\n\r\n\r\n\n\nx");
    EXPECT_FALSE(fs::exists(UnsentPath()));
    EXPECT_FALSE(fs::exists(ConfigRoot() + "home")) << "there is no copy";
}

TEST_F(PostTest, AttachmentsAndSignature) {
    std::ofstream(TempHome() + "/signature") << ".Ann\n";
    ServeNews({kMayPost + NewsTakes()}, TempHome() + "/signature");
    ComposeArticle("test.general", "text");
    AddPart("a.txt", "TEXT/PLAIN", "QUJD\n");
    std::string const article = Deliver();
    EXPECT_TRUE(article.starts_with(kHeader + "\r\nMIME-Version: 1.0\nContent-Type: MULTIPART/MIXED; BOUNDARY=\""));
    EXPECT_NE(article.find("\r\n \n\ntext\n\n..Ann\n\r\n\r\n----Corvanta-"), article.npos) << article;
    EXPECT_NE(article.find("\nContent-Transfer-Encoding: BASE64\r\n\nQUJD\n\r\n\r\n----Corvanta-"), article.npos);
}

TEST_F(PostTest, EveryFailureGivesTheTextBack) {
    ComposeArticle("a.b", "text");
    Script const login(kMayPostAfterLogin.begin(), kMayPostAfterLogin.end() - 3);
    Script const dot = kMayPost + Script{Until("\r\n.\r\n")}, end{Expect(""), Expect("QUIT")};
    auto const nothingSaved = [&] { EXPECT_FALSE(fs::exists(UnsentPath())); };
    ExpectGivenBack(LostAtEachAnswer(kMayPostAfterLogin + NewsTakes()), nothingSaved);
    ExpectGivenBack({{"resets in the article", kMayPost + Script{Reset()}, {kLost}},
                     {"login refused",
                      login + Script{Send("481 %s<b>no</b>\r\n")},
                      {"Error|481 %s<b>no</b>", "Error|Could not authenticate to server"}},
                     {"article refused",
                      dot + Script{Send("441 No valid newsgroups in \"a.b\"\r\n")} + end,
                      {"Error|441 No valid newsgroups in \"a.b\""}},
                     {"an answer without a number", dot + Script{Send("\r\n")} + end, {"Error|"}}},
                    nothingSaved);
    // The same window can post in the end.
    ServeNews({kMayPostAfterLogin + NewsTakes("250 ok\r\n")});
    Deliver();
}

TEST_F(PostTest, AWindowThatIsOfNoMoreUseLeavesItsTextInAFile) {
    std::string const article = "NEWSGROUPS: a.b\r\nFROM: ann@example.org\r\nSUBJECT: Hello\r\n\r\n\n\n.text\r\n\r\n";
    Script const refused{Send("440 no posting here\r\n"), Expect("QUIT")};
    for (Script const &dialogue : {kMayPost, kMayPostAfterLogin}) {
        ServeNews({Script(dialogue.begin(), dialogue.end() - 1) + refused});
        ComposeArticle("a.b", ".text");
        shownAlerts.clear();
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(server->Problems(), "");
        EXPECT_EQ(shownAlerts, Strings{"Error|440 no posting here"});
        EXPECT_TRUE(WindowGone());
        CloseWindow();
    }
    EXPECT_EQ(FileText(UnsentPath()), article + article);
    EXPECT_EQ(screen.Status(), "The article was not posted, its text is in " + UnsentPath());
    server.reset();
    // No server at all: the text is still in its window.
    ComposeArticle("a.b", ".text");
    shownAlerts.clear();
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{kLost});
    EXPECT_TRUE(Editable());
    EXPECT_EQ(FileText(UnsentPath()), article + article);
}

TEST_F(PostTest, WhatCannotBeSavedIsGivenBackAndLeavesNoHalfArticle) {
    Script const mayNot = Script(kMayPost.begin(), kMayPost.end() - 1) + Script{Send("440 no\r\n"), Expect("QUIT")};
    ServeNews({mayNot, mayNot});
    ComposeArticle("a.b", "text");
    auto const expectGivenBack = [&] {
        ASSERT_TRUE(SendNow());
        EXPECT_TRUE(Editable());
        EXPECT_EQ(screen.Status(), "The article was not posted, and its text could not be saved");
    };
    std::ofstream(UnsentPath()) << "earlier";
    {
        // A file that cannot grow beyond 20 bytes stands for a full disk.
        FileSizeLimit const full(20);
        expectGivenBack();
    }
    EXPECT_EQ(FileText(UnsentPath()), "earlier");
    fs::remove(UnsentPath());
    mkfifo(UnsentPath().c_str(), 0600);
    expectGivenBack();
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
