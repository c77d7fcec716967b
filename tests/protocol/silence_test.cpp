// A server that falls silent: the real wait, once.

#include "app/named_calls.h"
#include "fixtures/scripted_server.h"
#include "net/address.h"
#include "net/line_io.h"
#include "news/session/article.h"
#include "protocol/news_account.h"
#include "protocol/screen.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(Silence, EndsADownload) {
    Screen screen;
    ScriptedServer newsServer(
        Script{Send("200 Hello\r\n"), Expect("ARTICLE 1"), Send("220 1 <a@b>\r\nFrom: a\r\n"), Stall()});
    AccountRef<NewsProfile> const news = MakeNewsProfile(newsServer.Address());
    FetchedArticle article;
    std::thread meanwhile([&] {
        EXPECT_TRUE(NewsSession(*news, {}).Connect());
        article = FetchArticle(*news, 1, {});
    });
    ScriptedServer server(Script{Expect("RETR 1"), Send("+OK 100 octets\r\nSubject: a\r\n"), Stall()});
    AccountRef<MailProfile> const profile = MakeProfile("p", server.Address(), true);
    profile->serverSocket = OpenMailConnection(*profile, nullptr, kPop3);
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(getMessage(1, *profile, 0), nullptr);
    auto const waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(kSilenceSeconds - 1));
    EXPECT_LT(waited, std::chrono::seconds(kSilenceSeconds + 10));
    meanwhile.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(kSilenceSeconds + 20));
    EXPECT_EQ(news->serverSocket, -1);
    EXPECT_EQ(article.outcome.text, "Lost the connection to the news server");
    EXPECT_EQ(profile->serverSocket, -1);
    EXPECT_EQ(LockValue(*profile), 1);
    EXPECT_EQ(screen.Status(), "Lost the connection to the mail server");
}

} // namespace
