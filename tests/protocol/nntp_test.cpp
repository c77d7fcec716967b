// The news side against scripted servers: splits, lies, drops, floods.

#include "news/nntp.h"

#include "base/fd.h"
#include "fixtures/process.h"
#include "fixtures/scripted_server.h"
#include "net/server.h"
#include "news/answer_copy.h"
#include "news/article.h"
#include "news/news_files.h"
#include "protocol/news_account.h"
#include "protocol/screen.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

using namespace std::string_literals;
using Alerts = std::vector<std::string>;

constexpr char kLost[] = "Lost the connection to the news server";
Alerts const kRefusedAlerts{"Error|481 No", "Error|Could not authenticate to server"};

Script LoginWith(char const *answer) {
    return {Expect("AUTHINFO USER alice"), Send("381 More\r\n"), Expect("AUTHINFO PASS secret"), Send(answer)};
}

Script Joined(Script first, Script const &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class News : public testing::Test {
  protected:
    /// An account whose connection is open to a server that greets and then plays the first script; each further
    /// script is a connection more.
    void Open(std::vector<Script> scripts) {
        for (Script &script : scripts)
            script.insert(script.begin(), Send("200 Welcome\r\n"));
        server = std::make_unique<ScriptedServer>(scripts);
        profile = MakeNewsProfile(server->Address());
        profile->serverSocket = httpget(profile->server);
        ASSERT_GT(profile->serverSocket, 0);
        shownAlerts.clear();
    }

    int GetListing() {
        int result = 0;
        screen.RunCallback([&] {
            result = getnewsgrouplisting(profile->serverSocket, *profile, ListingPath("usenet").c_str(), "alice",
                                         "secret");
        });
        return result;
    }

    /// The listing after an answer whose body, and all behind it, is `stream`.
    std::string Listing(std::string const &stream, size_t piece = 0) {
        Open({{Expect("LIST"), Send("215 Groups follow\r\n"), Expect("LIST"), Send(stream, piece)}});
        EXPECT_EQ(GetListing(), 1);
        EXPECT_EQ(profile->serverSocket, -1);
        return FileText(ListingPath("usenet"));
    }

    int32_t Select(std::string const &group) {
        int32_t first = 0;
        screen.RunCallback([&] {
            first = selectnewsgroup(profile->serverSocket, *profile, group.c_str(), "alice", "secret", &answer);
        });
        return first;
    }

    /// The article's text, "(none)" for none.
    std::string Article(int number) {
        std::string text = "(none)";
        screen.RunCallback([&] {
            size_t length = 0;
            ArticleText const article =
                GetNewsArticle(profile->serverSocket, *profile, number, "alice", "secret", answer, length);
            if (article)
                text.assign(article.get(), length);
        });
        EXPECT_FALSE(std::filesystem::exists(SpoolPath("usenet")));
        return text;
    }

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<NewsProfile> profile;
    std::string answer;
};

TEST_F(News, Connecting) {
    // A greeting in pieces is swallowed whole: the command gets its own answer.
    ScriptedServer pieces({Send("201 Reading only\r\n", 3), Expect("AUTHINFO USER alice"), Send("381 ", 1, 20),
                           Send("More\r\n"), Expect("AUTHINFO PASS secret"), Send("281 Fine\r\n", 1)});
    Fd socket(httpget(pieces.Address().c_str()));
    ASSERT_TRUE(socket.Valid());
    EXPECT_EQ(NntpAuthinfo(socket.Get(), "alice", "secret"), 281);
    EXPECT_EQ(pieces.Problems(), "");
    EXPECT_EQ(shownAlerts, Alerts());
    int const before = CountDescriptors();
    {
        ScriptedServer mute(std::vector<Script>{{}, {Stall()}});
        EXPECT_EQ(httpget(mute.Address().c_str()), -1);
        EXPECT_EQ(screen.Status(), "The news server does not answer");
        std::atomic<bool> cancelled = false;
        std::thread later([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            cancelled = true;
        });
        EXPECT_EQ(httpget(mute.Address().c_str(), &cancelled), -1);
        later.join();
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(News, LoginsThatFail) {
    // What is in the account's fields is never more than one line each.
    Open({{Expect("AUTHINFO USER alice"), Send("381 More\r\n"), Expect("AUTHINFO PASS secret"), Send("481 No\r\n")},
          {Skip()}});
    EXPECT_EQ(NntpAuthinfo(profile->serverSocket, "alice\r\nQUIT", "secret\nQUIT"), 481);
    EXPECT_EQ(shownAlerts, Alerts{"Error|481 No"});
    EXPECT_EQ(server->Received(), "AUTHINFO USER alice\r\nAUTHINFO PASS secret\r\n");
    CloseConnection(*profile, httpget(profile->server));
    EXPECT_EQ(NntpAuthinfo(profile->serverSocket, "alice", "secret"), -1);
    EXPECT_EQ(shownAlerts.size(), 1u);
}

TEST_F(News, ListingEndsAtItsMark) {
    std::string const list = "a.one 0000000003 0000000001 y\r\nb.two 0000000009 0000000004 m\r\n";
    std::string const stored = list.substr(0, list.size() - 2);
    std::string const second = "215 Groups follow\r\n" + list + ".\r\n";
    EXPECT_EQ(Listing(list + ".\r\n"), stored);
    EXPECT_EQ(Listing(list + ".\r\n", 1), stored);
    EXPECT_EQ(Listing(".\r\n"), "");
    EXPECT_EQ(Listing(".\r\n", 1), "");
    // Without the mark the connection's end is the list's.
    EXPECT_EQ(Listing(list), list);
    EXPECT_EQ(Listing(""), "");
    // The second answer that came along stays, but for five bytes.
    EXPECT_EQ(Listing(list + ".\r\n" + second), list + ".\r\n" + second.substr(0, second.size() - 5));
    // Pieces of 500 bytes: the one that ends the mark is the last.
    std::string many;
    for (int i = 100; i < 160; i++)
        many += "group.number" + std::to_string(i) + " 12 1 y\r\n";
    std::string const stream = many + ".\r\n" + many + many;
    size_t const end = (many.size() + 3 + 499) / 500 * 500;
    EXPECT_EQ(Listing(stream), stream.substr(0, end - 5));
}

TEST_F(News, LargeListing) {
    std::string list;
    for (int i = 0; i < 100000; i++)
        list += "example.group.number" + std::to_string(i) + " 0000012345 0000000001 y\r\n";
    EXPECT_TRUE(Listing(list + ".\r\n") == list.substr(0, list.size() - 2));
}

TEST_F(News, ListingAfterLogin) {
    Script const asked{Expect("LIST"), Send("480 Who are you\r\n")};
    Open({Joined(asked, Joined(LoginWith("281 Fine\r\n"),
                               {Expect("LIST"), Send("215 Groups\r\n", 1), Send("a.one 3 1 y\r\n.\r\n")}))});
    EXPECT_EQ(GetListing(), 1);
    EXPECT_EQ(FileText(ListingPath("usenet")), "a.one 3 1 y");
    Open({Joined(asked, LoginWith("481 No\r\n"))});
    EXPECT_EQ(GetListing(), -1);
    EXPECT_EQ(shownAlerts, kRefusedAlerts);
    EXPECT_EQ(FileText(ListingPath("usenet")), "");
    Open({{Expect("LIST"), Send("502 Not for you\r\n"), Expect("LIST"), Stall()}});
    EXPECT_EQ(GetListing(), -1);
    EXPECT_EQ(screen.Status(), "502 Not for you");
}

TEST_F(News, SelectingAGroup) {
    // The name is sent as it is stored; its file is without the blank.
    Open({{Expect("GROUP example.one "), Send("211 3 5 9 example.one\r\n", 2), Expect("LISTGROUP"),
           Send("211 3 5 9 example.one\r\n5\r\n7 seven\r\n-2\r\n99999999999\r\n-99999999999\r\nx\r\n" +
                    std::string(5000, '0') + "1\r\n9\r\n.\r\n",
                7),
           Expect("ARTICLE 5"), Send("423 In step\r\n")}});
    profile->headersDone = 7;
    profile->batchSize = 7;
    EXPECT_EQ(Select("example.one "), 5);
    EXPECT_EQ(answer, "211 3 5 9 example.one");
    EXPECT_EQ(profile->articleCount, 3);
    EXPECT_EQ(profile->articleCursor, 5);
    EXPECT_EQ(profile->lastArticle, 9);
    EXPECT_EQ(profile->headersDone, 0);
    EXPECT_EQ(profile->batchSize, 0);
    EXPECT_EQ(FileText(ConfigRoot() + "news/usenet/list_example.one"),
              "\5\0\0\0\7\0\0\0\xfe\xff\xff\xff\xff\xff\xff\x7f\0\0\0\x80\0\0\0\0\0\0\0\0\x9\0\0\0"s);
    EXPECT_EQ(Article(5), "(none)");
    EXPECT_EQ(answer, "423 In step");
}

TEST_F(News, GroupAnswersAreNotBelieved) {
    struct {
        char const *status;
        int32_t first, count, last;
    } const cases[] = {{"211 0 1 0 g", 1, 0, 0},
                       {"211 -3 -5 -9 g", 0, 0, 0},
                       {"211 99999999999 2147483648 99999999999999999999 g", INT32_MAX, INT32_MAX, INT32_MAX},
                       {"211", 0, 0, 0},
                       {"211 g", 0, 0, 0}};
    for (auto const &one : cases) {
        Open({{Expect("GROUP g"), Send(one.status + "\r\n"s), Expect("LISTGROUP"), Send("211 0 list\r\n.\r\n")}});
        EXPECT_EQ(Select("g"), one.first) << one.status;
        EXPECT_EQ(profile->articleCount, one.count) << one.status;
        EXPECT_EQ(profile->lastArticle, one.last) << one.status;
        EXPECT_EQ(FileText(NumberListPath("usenet", "g")), "");
    }
    // No such command: the group is selected all the same, without its numbers.
    Open({{Expect("GROUP g"), Send("211 1 1 1 g\r\n"), Expect("LISTGROUP"), Send("500 What?\r\n")}});
    EXPECT_EQ(Select("g"), 1);
}

TEST_F(News, GroupsThatCannotBeSelected) {
    Open({Joined({Expect("GROUP no.such"), Send("411 No such group\r\n"), Expect("GROUP g"), Send("480 Login\r\n")},
                 LoginWith("481 No\r\n")),
          Joined({Expect("GROUP %s%n"), Send("480 Login\r\n")},
                 Joined(LoginWith("281 Fine\r\n"), {Expect("GROUP %s%n"), Send("211 1 2 2 g\r\n"),
                                                    Expect("LISTGROUP"), Send("211 list\r\n2\r\n2")}))});
    profile->headersDone = profile->batchSize = profile->articleCursor = 7;
    EXPECT_EQ(Select("no.such"), -1);
    EXPECT_EQ(answer, "411 No such group");
    EXPECT_EQ(profile->headersDone, 0);
    EXPECT_EQ(profile->batchSize, 7);
    EXPECT_EQ(profile->articleCursor, 7);
    EXPECT_FALSE(std::filesystem::exists(NumberListPath("usenet", "no.such")));
    EXPECT_EQ(Select("g"), -1);
    EXPECT_EQ(shownAlerts, kRefusedAlerts);
    // The second connection breaks off within the numbers.
    CloseConnection(*profile, httpget(profile->server));
    EXPECT_EQ(Select("%s%n"), -1);
    EXPECT_EQ(answer, kLost);
    EXPECT_EQ(profile->serverSocket, -1);
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(News, NamesThatAreNoneStayHere) {
    Open({{Stall()}});
    for (std::string const &name :
         {""s, " "s, "."s, ".."s, "../a"s, "a/b"s, "a\r\nPOST"s, "a\tb"s, std::string(200, 'a')}) {
        EXPECT_EQ(Select(name), -1) << name;
        EXPECT_EQ(answer, "This is not the name of a newsgroup");
    }
    EXPECT_GT(profile->serverSocket, 0);
    EXPECT_EQ(server->Received(), "");
}

TEST_F(News, ArticlesAsTheyCome) {
    std::string const texts[] = {"Subject: a\r\n\r\n..dots\r\n.\r\n", "Subject: a\r\n\r\n.\r\n", ".\r\n",
                                 "Subject: \xff\0\r\n\r\nnul\0\r\n.\r\n"s,
                                 "Subject: long\r\n\r\n" + std::string(300000, 'x') + "\r\n.\r\n"};
    for (std::string const &text : texts)
        for (size_t const piece : {size_t{0}, text.size() > 1000 ? text.size() / 7 : size_t{1}}) {
            Open({{Expect("ARTICLE 12"), Send("220 12 <a@b> article\r\n", piece), Send(text, piece),
                   Expect("ARTICLE 13"), Send("423 In step\r\n")}});
            EXPECT_TRUE(Article(12) == text) << text.substr(0, 100);
            EXPECT_EQ(Article(13), "(none)");
            EXPECT_EQ(answer, "423 In step");
            EXPECT_GT(profile->serverSocket, 0);
        }
    // What follows the end mark comes along, and never becomes the next answer.
    Open({{Expect("ARTICLE 1"),
           Send("220 1 <a@b>\r\nSubject: a\r\n\r\n.\r\n221 2 <c@d>\r\n" + std::string(9000, 'x'))},
          {}});
    EXPECT_TRUE(Article(1).starts_with("Subject: a\r\n\r\n.\r\n221 2"));
    EXPECT_EQ(profile->serverSocket, -1);
}

Script const kSelectAgain{Expect("GROUP example.one"), Send("211 9 1 9 example.one\r\n"), Expect("LISTGROUP"),
                          Send("211 list\r\n1\r\n9\r\n.\r\n")};

TEST_F(News, ArticlesThatNeedANewConnection) {
    Script const again =
        Joined(kSelectAgain, {Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n\r\n.\r\n"), Stall()});
    Script const beginnings[] = {{Expect("ARTICLE 4"), Send("503 Too long away\r\n")}, {Expect("ARTICLE 4")}, {}};
    for (Script const &beginning : beginnings) {
        Open({beginning, again});
        CopyText(profile->currentGroup, "example.one");
        profile->articleCursor = profile->headersDone = profile->batchSize = 5;
        EXPECT_EQ(Article(4), "From: a\r\n\r\n.\r\n");
        EXPECT_GT(profile->serverSocket, 0);
        EXPECT_EQ(profile->lastArticle, 9);
        // The download goes on where it was.
        EXPECT_EQ(profile->articleCursor, 5);
        EXPECT_EQ(profile->headersDone, 5);
        EXPECT_EQ(profile->batchSize, 5);
    }
    // Never opened.
    Open({{}, again});
    CloseConnection(*profile);
    CopyText(profile->currentGroup, "example.one");
    EXPECT_EQ(Article(4), "From: a\r\n\r\n.\r\n");
}

TEST_F(News, ArticlesThatCannotBeHad) {
    Script const refused{Expect("ARTICLE 4"), Send("503 Away\r\n")};
    Script const gone{Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n\r\nhalf\r\n.")};
    struct {
        std::vector<Script> scripts;
        char const *answer;
        bool open;
    } const cases[] = {
        {{refused, Joined(kSelectAgain, Joined(refused, {Stall()}))}, "503 Away", true},
        {{refused, Joined(kSelectAgain, {Expect("ARTICLE 4")})}, kLost, false},
        {{refused, {Expect("GROUP example.one"), Send("411 Gone\r\n"), Stall()}}, "411 Gone", false},
        {{refused, {}}, kLost, false},
        {{gone}, kLost, false},
        {{{Expect("ARTICLE 4"), Send("480 Login\r\n"), Stall()}}, "480 Login", true},
    };
    for (auto const &one : cases) {
        int const before = CountDescriptors();
        Open(one.scripts);
        CopyText(profile->currentGroup, "example.one");
        EXPECT_EQ(Article(4), "(none)") << one.answer;
        EXPECT_EQ(answer, one.answer);
        EXPECT_EQ(profile->serverSocket > 0, one.open) << one.answer;
        CloseConnection(*profile);
        server.reset();
        EXPECT_LE(CountDescriptors(), before);
    }
}

TEST_F(News, AnswersThatDoNotFit) {
    Open({{Expect("ARTICLE 4"), Send("220 4 <a@b>\r\n"), Flood("From here to eternity\r\n", kLargestAnswer * 2)},
          {Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n\r\n.\r\n")},
          {Expect("LIST"), Send("215 Groups\r\n"), Expect("LIST"), Send("a.one 3 1 y\r\n.\r\n")}});
    EXPECT_EQ(Article(4), "(none)");
    EXPECT_EQ(answer, "The news server's answer is too large");
    EXPECT_EQ(profile->serverSocket, -1);
    // A full disk.
    std::filesystem::create_symlink("/dev/full", SpoolPath("usenet"));
    profile->serverSocket = httpget(profile->server);
    EXPECT_EQ(Article(4), "(none)");
    EXPECT_EQ(answer, "The news server's answer could not be stored");
    std::filesystem::create_symlink("/dev/full", ListingPath("usenet"));
    profile->serverSocket = httpget(profile->server);
    EXPECT_EQ(GetListing(), -1);
    EXPECT_EQ(screen.Status(), "The news server's answer could not be stored");
}

TEST_F(News, SilenceIsPaintedAndCanBeEnded) {
    Open({{Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n"), Stall()}});
    std::thread other([&] {
        // The library is free for others while the main thread waits, and what they change is painted.
        SetStatus("Somebody else was here");
        bool painted = false;
        for (int i = 0; i < 1000 && !painted; i++) {
            {
                ToolkitGuard const guard;
                auto const &seen = screen.Painted();
                painted = std::any_of(seen.begin(), seen.end(),
                                      [](std::string const &text) { return text.starts_with("Somebody else"); });
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_TRUE(painted);
        StopDownload(*profile);
    });
    EXPECT_EQ(Article(4), "(none)");
    other.join();
    EXPECT_EQ(profile->serverSocket, -1);
}

} // namespace
