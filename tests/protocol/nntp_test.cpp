// The news side against scripted servers: splits, lies, drops, floods.

#include "base/fd.h"
#include "fixtures/news_scripts.h"
#include "fixtures/process.h"
#include "news/answer_copy.h"
#include "protocol/news_fixture.h"

#include <thread>

namespace {

using namespace std::string_literals;
using Alerts = std::vector<std::string>;

constexpr char kLost[] = "Lost the connection to the news server";
Alerts const kRefusedAlerts{"Error|481 No", "Error|Could not authenticate to server"};

Script LoginWith(char const *answer) {
    return {Expect("AUTHINFO USER alice"), Send("381 More\r\n"), Expect("AUTHINFO PASS secret"), Send(answer)};
}

class News : public NewsTest {
  protected:
    /// An account whose connection is open to a server that plays the first script.
    void Open(std::vector<Script> const &scripts) {
        Serve(scripts);
        Connect();
    }
    int GetListing() { return NewsTest::GetListing(profile->serverSocket); }
    /// The listing after an answer whose body, and all behind it, is `stream`.
    std::string Listing(std::string const &stream, size_t piece = 0) {
        Open({{Expect("LIST"), Send("215 Groups follow\r\n"), Expect("LIST"), Send(stream, piece)}});
        EXPECT_EQ(GetListing(), 1);
        EXPECT_EQ(profile->serverSocket, -1);
        return FileText(ListingPath("usenet"));
    }
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
    Open({LoginWith("481 No\r\n"), {Skip()}});
    EXPECT_EQ(NntpAuthinfo(profile->serverSocket, "alice\r\nQUIT", "secret\nQUIT"), 481);
    EXPECT_EQ(shownAlerts, Alerts{"Error|481 No"});
    EXPECT_EQ(server->Received(), "AUTHINFO USER alice\r\nAUTHINFO PASS secret\r\n");
    Connect();
    EXPECT_EQ(NntpAuthinfo(profile->serverSocket, "alice", "secret"), -1);
    EXPECT_EQ(shownAlerts, Alerts());
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
    // Pieces of up to 500 bytes: the one that ends the mark is the last.
    std::string many;
    for (int i = 10'000; i < 99'999; i++)
        many += "group.number" + std::to_string(i) + " 12 1 y\r\n";
    std::string const both = Listing(many + ".\r\n" + many);
    EXPECT_GE(both.size() + 5, many.size() + 3);
    EXPECT_LT(both.size() + 5, many.size() + 3 + 500);
    EXPECT_TRUE((many + ".\r\n" + many).starts_with(both));
}

TEST_F(News, ListingAfterLogin) {
    Script const asked = Answer("LIST", "480 Who are you");
    Open({asked + LoginWith("281 Fine\r\n") +
          Script{Expect("LIST"), Send("215 Groups\r\n", 1), Send("a.one 3 1 y\r\n.\r\n")}});
    EXPECT_EQ(GetListing(), 1);
    EXPECT_EQ(FileText(ListingPath("usenet")), "a.one 3 1 y");
    Open({asked + LoginWith("481 No\r\n")});
    EXPECT_EQ(GetListing(), -1);
    EXPECT_EQ(shownAlerts, kRefusedAlerts);
    EXPECT_EQ(FileText(ListingPath("usenet")), "");
    Open({Answer("LIST", "502 Not for you") + Script{Expect("LIST"), Stall()}});
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
    profile->headersDone = profile->batchSize = 7;
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
        char const *list = "211 0 list\r\n.\r\n";
    } const cases[] = {{"211 0 1 0 g", 1, 0, 0},
                       {"211 -3 -5 -9 g", 0, 0, 0},
                       {"211 99999999999 2147483648 99999999999999999999 g", INT32_MAX, INT32_MAX, INT32_MAX},
                       {"211", 0, 0, 0},
                       {"211 g", 0, 0, 0},
                       // No such command: the group is selected all the same, without its numbers.
                       {"211 1 1 1 g", 1, 1, 1, "500 What?\r\n"}};
    for (auto const &one : cases) {
        Open({{Expect("GROUP g"), Send(one.status + "\r\n"s), Expect("LISTGROUP"), Send(one.list)}});
        EXPECT_EQ(Select("g"), one.first) << one.status;
        EXPECT_EQ(profile->articleCount, one.count) << one.status;
        EXPECT_EQ(profile->lastArticle, one.last) << one.status;
        EXPECT_EQ(FileText(NumberListPath("usenet", "g")), "");
    }
}

TEST_F(News, GroupsThatCannotBeSelected) {
    Script const asked = Answer("GROUP %s%n", "480 Login");
    Open(
        {Answer("GROUP no.such", "411 No such group") + asked + LoginWith("481 No\r\n"),
         asked + LoginWith("281 Fine\r\n") +
             Script{Expect("GROUP %s%n"), Send("211 1 2 2 g\r\n"), Expect("LISTGROUP"), Send("211 list\r\n2\r\n2")}});
    profile->headersDone = profile->batchSize = profile->articleCursor = 7;
    for (std::string const &name :
         {""s, " "s, "."s, ".."s, "../a"s, "a/b"s, "a\r\nPOST"s, "a\tb"s, std::string(200, 'a')}) {
        EXPECT_EQ(Select(name), -1) << name;
        EXPECT_EQ(answer, "This is not the name of a newsgroup");
    }
    EXPECT_EQ(server->Received(), "");
    EXPECT_EQ(profile->headersDone, 7);
    EXPECT_EQ(Select("no.such"), -1);
    EXPECT_EQ(answer, "411 No such group");
    EXPECT_EQ(profile->headersDone, 0);
    EXPECT_EQ(profile->batchSize, 7);
    EXPECT_EQ(profile->articleCursor, 7);
    EXPECT_FALSE(std::filesystem::exists(NumberListPath("usenet", "no.such")));
    EXPECT_EQ(Select("%s%n"), -1);
    EXPECT_EQ(shownAlerts, kRefusedAlerts);
    // The second connection breaks off within the numbers.
    Connect();
    EXPECT_EQ(Select("%s%n"), -1);
    EXPECT_EQ(answer, kLost);
    EXPECT_EQ(profile->serverSocket, -1);
    EXPECT_EQ(server->Problems(), "");
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
           Send("220 1 <a@b>\r\nSubject: a\r\n\r\n.\r\n221 2 <c@d>\r\n" + std::string(9000, 'x'))}});
    EXPECT_TRUE(Article(1).starts_with("Subject: a\r\n\r\n.\r\n221 2"));
    EXPECT_EQ(profile->serverSocket, -1);
}

Script const kSelectAgain = Group("example.one", {1, 9});
Script const kRefused = Answer("ARTICLE 4", "503 Away");

TEST_F(News, ArticlesThatNeedANewConnection) {
    Script const again =
        kSelectAgain + Script{Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n\r\n.\r\n"), Stall()};
    for (Script const &first : {kRefused, Answer("ARTICLE 4", "400 Idle"), Script{}}) {
        Open({first, again});
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
    Serve({again}); // never opened
    CopyText(profile->currentGroup, "example.one");
    EXPECT_EQ(Article(4), "From: a\r\n\r\n.\r\n");
}

TEST_F(News, ArticlesThatCannotBeHad) {
    struct {
        std::vector<Script> scripts;
        char const *answer;
        bool open;
    } const cases[] = {
        {{kRefused, kSelectAgain + kRefused + Script{Stall()}}, "503 Away", true},
        {{kRefused, kSelectAgain + Script{Expect("ARTICLE 4")}}, kLost, false},
        {{kRefused, Answer("GROUP example.one", "411 Gone") + Script{Stall()}}, "411 Gone", false},
        {{kRefused, {}}, kLost, false},
        {{{Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n\r\nhalf\r\n.")}}, kLost, false},
        {{Answer("ARTICLE 4", "480 Login") + Script{Stall()}}, "480 Login", true},
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
    Connect();
    EXPECT_EQ(Article(4), "(none)");
    EXPECT_EQ(answer, "The news server's answer could not be stored");
    std::filesystem::create_symlink("/dev/full", ListingPath("usenet"));
    Connect();
    EXPECT_EQ(GetListing(), -1);
    EXPECT_EQ(screen.Status(), "The news server's answer could not be stored");
}

TEST_F(News, SilenceIsPaintedAndCanBeEnded) {
    Open({{Expect("ARTICLE 4"), Send("220 4 <a@b>\r\nFrom: a\r\n"), Stall()}});
    std::thread other([&] {
        // The library is free for others while the main thread waits, and what they change is painted.
        SetStatus("Somebody else was here");
        EXPECT_TRUE(screen.WaitUntilPainted("Somebody else was here"));
        StopDownload(*profile);
    });
    EXPECT_EQ(Article(4), "(none)");
    other.join();
    EXPECT_EQ(profile->serverSocket, -1);
}

} // namespace
