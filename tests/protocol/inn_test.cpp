// The news side against a real news server.

#include "base/fd.h"
#include "fixtures/inn_server.h"
#include "net/server.h"
#include "news/article.h"
#include "news/news_files.h"
#include "news/nntp.h"
#include "protocol/news_account.h"
#include "protocol/screen.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::string Post(int number, std::string const &body = "Hello.\n") {
    std::string const text = std::to_string(number);
    return "From: Author " + text + " <a@example.org>\nNewsgroups: test.general\nSubject: Article " + text +
           "\nDate: Mon, 01 Jan 2024 00:00:01 +0000\nMessage-ID: <a" + text + "@example.org>\n\n" + body;
}

class Inn : public testing::Test {
  protected:
    void Serve(std::vector<std::string> const &extra = {}) {
        server = std::make_unique<InnServer>(extra);
        if (server->MayNotRun())
            GTEST_SKIP() << "INN needs root or user name spaces here";
        ASSERT_GT(server->Port(), 0);
        profile = MakeNewsProfile(server->Address());
        profile->serverSocket = httpget(profile->server);
        ASSERT_GT(profile->serverSocket, 0);
    }

    int32_t Select(char const *group) {
        int32_t first = 0;
        screen.RunCallback([&] {
            first = selectnewsgroup(profile->serverSocket, *profile, group, profile->userName, profile->password,
                                    &answer);
        });
        if (first >= 0)
            CopyText(profile->currentGroup, group);
        return first;
    }

    std::string Article(int number) {
        std::string text = "(none)";
        screen.RunCallback([&] {
            size_t length = 0;
            ArticleText const article = GetNewsArticle(profile->serverSocket, *profile, number, profile->userName,
                                                       profile->password, answer, length);
            if (article)
                text.assign(article.get(), length);
        });
        return text;
    }

    int GetListing() {
        int result = 0;
        screen.RunCallback([&] {
            Fd const socket(httpget(profile->server));
            result = getnewsgrouplisting(socket.Get(), *profile, ListingPath("usenet").c_str(), profile->userName,
                                         profile->password);
        });
        return result;
    }

    Screen screen;
    std::unique_ptr<InnServer> server;
    AccountRef<NewsProfile> profile;
    std::string answer;
};

TEST_F(Inn, GroupsAndArticles) {
    Serve();
    if (IsSkipped() || HasFatalFailure())
        return;
    std::string large;
    for (int i = 0; i < 20000; i++)
        large += (i % 9 ? "A line of a long article, number " : "..") + std::to_string(i) + "\n";
    for (int i = 1; i <= 4; i++)
        ASSERT_TRUE(server->Put(Post(i, i == 2 ? ".one\n.\n..two\n" : i == 3 ? large : "Hello.\n")));
    EXPECT_EQ(Select("test.nowhere"), -1);
    EXPECT_EQ(answer, "411 No such group test.nowhere");
    EXPECT_EQ(Select("test.other"), 1);
    EXPECT_EQ(profile->lastArticle, 0);
    EXPECT_EQ(FileText(NumberListPath("usenet", "test.other")), "");
    ASSERT_TRUE(server->Control({"cancel", "<a1@example.org>"}));
    EXPECT_EQ(Select("test.general "), 1);
    EXPECT_EQ(profile->lastArticle, 4);
    EXPECT_EQ(FileText(NumberListPath("usenet", "test.general ")), "\2\0\0\0\3\0\0\0\4\0\0\0"s);

    std::string const dots = Article(2);
    EXPECT_TRUE(dots.starts_with("Path: ")) << dots;
    EXPECT_TRUE(dots.ends_with("\r\n\r\n..one\r\n..\r\n...two\r\n.\r\n")) << dots;
    EXPECT_GT(Article(3).size(), large.size() + 20000);
    EXPECT_EQ(Article(1), "(none)");
    EXPECT_EQ(answer, "423 No such article number 1");
    EXPECT_EQ(Article(99), "(none)");

    EXPECT_EQ(GetListing(), 1);
    std::string const listing = FileText(ListingPath("usenet"));
    EXPECT_TRUE(listing.starts_with("control 0000000000 0000000001 n\r\n")) << listing;
    EXPECT_NE(listing.find("\r\ntest.general 0000000004 0000000001 y"), std::string::npos) << listing;
    EXPECT_TRUE(Article(4).ends_with("\r\n\r\nHello.\r\n.\r\n"));
}

TEST_F(Inn, ComesBackAfterTheServerWasAway) {
    Serve();
    if (IsSkipped() || HasFatalFailure())
        return;
    ASSERT_TRUE(server->Put(Post(1)));
    ASSERT_EQ(Select("test.general"), 1);
    profile->articleCursor = profile->headersDone = 1;
    server->Stop();
    EXPECT_EQ(Article(1), "(none)");
    EXPECT_EQ(answer, "Could not connect to the news server");
    ASSERT_TRUE(server->Start());
    ASSERT_TRUE(server->Put(Post(2)));
    EXPECT_TRUE(Article(1).ends_with("\r\n\r\nHello.\r\n.\r\n"));
    EXPECT_EQ(profile->lastArticle, 2);
    EXPECT_EQ(profile->headersDone, 1);
}

TEST_F(Inn, WithALogin) {
    Serve({"--access", "required"});
    if (IsSkipped() || HasFatalFailure())
        return;
    ASSERT_TRUE(server->Put(Post(1)));
    EXPECT_EQ(GetListing(), 1);
    EXPECT_TRUE(FileText(ListingPath("usenet")).ends_with("\r\ntest.other 0000000000 0000000001 y"));
    EXPECT_EQ(Select("test.general"), 1);
    EXPECT_TRUE(Article(1).ends_with("\r\n\r\nHello.\r\n.\r\n"));
    EXPECT_EQ(shownAlerts, std::vector<std::string>());

    CopyText(profile->password, "wrong");
    CloseConnection(*profile, httpget(profile->server));
    EXPECT_EQ(Select("test.general"), -1);
    std::vector<std::string> const refused{"Error|481 Authentication failed",
                                           "Error|Could not authenticate to server"};
    EXPECT_EQ(shownAlerts, refused);
    EXPECT_EQ(GetListing(), -1);
}

} // namespace
