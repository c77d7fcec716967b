#pragma once
// A news account, and tests with one in front of a scripted or a real server.

#include "base/paths.h"
#include "base/text.h"
#include "fixtures/scripted_server.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "news/article.h"
#include "news/header_download.h"
#include "news/news_files.h"
#include "news/nntp.h"
#include "protocol/screen.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>

/// The account "usenet" for alice on the server; its directories exist.
inline AccountRef<NewsProfile> MakeNewsProfile(std::string const &server, std::string const &password = "secret") {
    AccountRef<NewsProfile> profile(new NewsProfile);
    CopyText(profile->name, "usenet");
    CopyText(profile->server, server);
    CopyText(profile->userName, "alice");
    CopyText(profile->password, password);
    for (char const *directory : {"", "news", "news/usenet", "news/usenet/groups"})
        mkdir((ConfigRoot() + directory).c_str(), 0700);
    return profile;
}

class NewsTest : public testing::Test {
  protected:
    void TearDown() override { CopyText(currentFolder, "Inbox"); }

    /// A new account on a server that plays each script on a connection of its own, after a greeting.
    void Serve(std::vector<Script> scripts) {
        for (Script &script : scripts)
            script.insert(script.begin(), Send("200 Welcome\r\n"));
        server = std::make_unique<ScriptedServer>(scripts);
        profile = MakeNewsProfile(server->Address());
    }
    void Connect() {
        CloseConnection(*profile, httpget(profile->server));
        ASSERT_GT(profile->serverSocket, 0);
        shownAlerts.clear();
    }
    void Disconnect() {
        screen.RunCallback([&] { CloseConnection(*profile); });
    }

    int GetListing(int socket) {
        int result = 0;
        screen.RunCallback([&] {
            result = getnewsgrouplisting(socket, *profile, ListingPath("usenet").c_str(), profile->userName,
                                         profile->password);
        });
        return result;
    }
    int32_t Select(std::string const &group) {
        int32_t first = 0;
        screen.RunCallback([&] {
            first = selectnewsgroup(profile->serverSocket, *profile, group.c_str(), profile->userName,
                                    profile->password, &answer);
        });
        return first;
    }
    /// The article's text, "(none)" for none.
    std::string Article(int number) {
        std::string text = "(none)";
        screen.RunCallback([&] {
            size_t length = 0;
            ArticleText const article = GetNewsArticle(profile->serverSocket, *profile, number, profile->userName,
                                                       profile->password, answer, length);
            if (article)
                text.assign(article.get(), length);
        });
        EXPECT_FALSE(std::filesystem::exists(SpoolPath("usenet")));
        return text;
    }

    /// The window shows the account's group test.general.
    void OpenInWindow() {
        screen.AddProfile(*profile, true);
        CopyText(currentFolder, "test.general");
    }
    void Start() { screen.RunCallback(StartNewsThread); }
    bool WaitForEnd() {
        return screen.PaintUntil([] { return RunningDownloads() == 0; });
    }
    /// One press of the check button. Returns the rows.
    std::string Download() {
        Start();
        EXPECT_TRUE(WaitForEnd());
        EXPECT_EQ(LockValue(*profile), 1);
        ExpectIdle();
        return Outline();
    }
    static bool IsBlocked(PtWidget_t *widget) {
        ToolkitGuard const guard;
        return (PtWidgetFlags(widget) & Pt_BLOCKED) != 0;
    }
    static void ExpectIdle() {
        ToolkitGuard const guard;
        EXPECT_EQ(ActivityCount, 0);
        EXPECT_FALSE(IsBlocked(ABW_btnCheckEmail));
        EXPECT_FALSE(IsBlocked(ABW_btnDelete));
    }
    /// The numbers of all rows in the order of the list, a ">" for each level: "1 >2 3".
    static std::string Outline() {
        ToolkitGuard const guard;
        std::string text;
        PtGenTreeItem_t *item = PtGenTreeRootItem(ABW_treeMessageHeaders);
        for (size_t depth = 0; item;) {
            int32_t const number = RowOf(reinterpret_cast<PtTreeItem_t *>(item))->number;
            text += (text.empty() ? "" : " ") + std::string(depth, '>') + std::to_string(number);
            if (item->son) {
                item = item->son;
                depth++;
                continue;
            }
            for (; item && !item->brother; depth--)
                item = item->father;
            item = item ? item->brother : nullptr;
        }
        return text;
    }
    /// The n-th row of the first level.
    std::string Text(size_t row) { return screen.Rows().at(row).text; }

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<NewsProfile> profile;
    std::string answer;
};
