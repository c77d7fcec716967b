// The news side against a real news server that wants a login.

#include "base/fd.h"
#include "fixtures/inn_server.h"
#include "protocol/news_fixture.h"

namespace {

using namespace std::string_literals;

std::string Post(int number, std::string const &references = "", std::string const &body = "Hello.\n") {
    std::string const text = std::to_string(number);
    return "From: Author <a@example.org>\nNewsgroups: test.general\nSubject: Article " + text +
           "\nDate: Mon, 01 Jan 2024 00:00:01 +0000\nMessage-ID: <a" + text + "@example.org>\n" +
           (references.empty() ? "" : "References: " + references + "\n") + "\n" + body;
}

TEST_F(NewsTest, OfARealServer) {
    InnServer inn({"--access", "required"});
    if (inn.MayNotRun())
        GTEST_SKIP() << "INN needs root or user name spaces here";
    ASSERT_GT(inn.Port(), 0);
    profile = MakeNewsProfile(inn.Address());
    std::string large;
    for (int i = 0; i < 20000; i++)
        large += (i % 9 ? "A line of a long article, number " : "..") + std::to_string(i) + "\n";
    ASSERT_TRUE(inn.Put(Post(1)));
    ASSERT_TRUE(inn.Put(Post(2, "<a1@example.org>", ".one\n.\n..two\n")));
    ASSERT_TRUE(inn.Put(Post(3, "<a1@example.org>\n <a2@example.org>", large)));
    ASSERT_TRUE(inn.Put(Post(4, "<elsewhere@example.org>")));
    EXPECT_EQ(GetListing(Fd(httpget(profile->server)).Get()), 1);
    std::string const listing = FileText(ListingPath("usenet"));
    EXPECT_TRUE(listing.starts_with("control 0000000000 0000000001 n\r\n")) << listing;
    EXPECT_TRUE(listing.ends_with("\r\ntest.general 0000000004 0000000001 y\r\ntest.other 0000000000 0000000001 y"))
        << listing;

    Connect();
    EXPECT_EQ(Select("test.nowhere"), -1);
    EXPECT_EQ(answer, "411 No such group test.nowhere");
    EXPECT_EQ(Select("test.other"), 1);
    EXPECT_EQ(profile->lastArticle, 0);
    EXPECT_EQ(FileText(NumberListPath("usenet", "test.other")), "");

    OpenInWindow();
    EXPECT_EQ(Download(), "1 >2 >>3 4");
    EXPECT_TRUE(Text(0).starts_with("\tArticle 1\tAuthor <a@example.org>\tMon, 01 Jan 2024 00:00:01 +0000\t"));
    EXPECT_EQ(profile->articleCursor, 4);
    std::string const dots = Article(2);
    EXPECT_TRUE(dots.starts_with("Path: ")) << dots;
    EXPECT_TRUE(dots.ends_with("\r\n\r\n..one\r\n..\r\n...two\r\n.\r\n")) << dots;
    EXPECT_GT(Article(3).size(), large.size() + 20000);

    // The current article is gone: the next one is asked for.
    ASSERT_TRUE(inn.Control({"cancel", "<a1@example.org>"}));
    EXPECT_EQ(Article(1), "(none)");
    EXPECT_EQ(answer, "423 No such article number 1");
    Disconnect();
    EXPECT_EQ(Download(), "2 >3 4");
    EXPECT_EQ(FileText(NumberListPath("usenet", "test.general")), "\2\0\0\0\3\0\0\0\4\0\0\0"s);

    // It comes back after the server was away.
    inn.Stop();
    EXPECT_EQ(Article(4), "(none)");
    EXPECT_EQ(answer, "Could not connect to the news server");
    ASSERT_TRUE(inn.Start());
    ASSERT_TRUE(inn.Put(Post(5)));
    EXPECT_TRUE(Article(4).ends_with("\r\n\r\nHello.\r\n.\r\n"));
    EXPECT_EQ(profile->lastArticle, 5);
    EXPECT_EQ(profile->headersDone, 3);

    EXPECT_EQ(shownAlerts, std::vector<std::string>());
    CopyText(profile->password, "wrong");
    Connect();
    EXPECT_EQ(Select("test.general"), -1);
    std::vector<std::string> const refused{"Error|481 Authentication failed",
                                           "Error|Could not authenticate to server"};
    EXPECT_EQ(shownAlerts, refused);
}

} // namespace
