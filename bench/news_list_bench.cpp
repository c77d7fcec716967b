// The groups of a news server: from the button to the painted list, and a search through all of it, each in a process
// of its own. The limit of both is the plain work on the stored list.

#include "runs.h"

#include "app/start.h"
#include "base/fd.h"
#include "core/lock.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "news/group_dialog.h"
#include "profiles/profile_tree.h"
#include "ui/links.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <QApplication>
#include <QTreeView>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr char kNowhere[] = "nowhere.to.be.found";

std::string News() { return TempHome() + "/.Corvanta/news/"; }

/// A news profile with so many groups in its stored list.
void MakeListing(int groups) {
    fs::create_directories(News() + "work/groups");
    std::ofstream(News() + "work.dat") << "127.0.0.1:1\nalice\nc2VjcmV0\nAlice\nalice@example.org\n/none\n\n\n\n\n\n";
    std::ofstream listing(News() + "work/listing", std::ios::binary);
    for (int i = 0; i < groups; i++)
        listing << "comp.lang.group-number-" << i << ".moderated 0000001234 0000000001 y\r\n";
}

std::string Listing() {
    Fd const file(open((News() + "work/listing").c_str(), O_RDONLY | O_CLOEXEC));
    std::string bytes(fs::file_size(News() + "work/listing"), '\0');
    if (ReadAll(file.Get(), bytes.data(), bytes.size()) < 0)
        bytes.clear();
    return bytes;
}

std::vector<std::unique_ptr<char[]>> PlainRows(std::string_view listing) {
    std::vector<std::unique_ptr<char[]>> rows;
    while (!listing.empty()) {
        std::string_view const line = listing.substr(0, listing.find('\n'));
        std::string_view const name = line.substr(0, line.find(' '));
        rows.push_back(std::make_unique<char[]>(name.size() + 1));
        name.copy(rows.back().get(), name.size());
        listing.remove_prefix(std::min(listing.size(), line.size() + 1));
    }
    return rows;
}

/// One read of the file and one block for each group.
void PlainShow() {
    Figures const start = Now();
    auto const rows = PlainRows(Listing());
    Report(Since(start));
    _exit(rows.empty());
}

void PlainSearch() {
    auto const rows = PlainRows(Listing());
    Figures const start = Now();
    int found = 0;
    for (auto const &row : rows)
        found += strstr(row.get(), kNowhere) != nullptr;
    Report(Since(start));
    _exit(found);
}

/// The program with dlgNews open.
void OpenGroups() {
    static char name[] = "Corvanta";
    static char *arguments[] = {name, nullptr};
    if (StartCorvanta(1, arguments, AbContext) != 0)
        _exit(1);
    currentProfile = AccountRef<ServerAccount>(ProfileOf(PtTreeRootItem(ABW_treeProfiles)));
    if (!ApCreateModule(&ABM_dlgNews, nullptr, nullptr))
        _exit(1);
    PtLockPause const pause;
    for (int i = 0; i < 250; i++) {
        QCoreApplication::processEvents();
        usleep(4000);
    }
}

/// Processes events until the list has all its rows and nothing is left to paint.
void Settle(int groups) {
    QTreeView const *list = nullptr;
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *const found = window->findChild<QTreeView *>(QStringLiteral("treeNews")))
            list = found;
    PtLockPause const pause;
    while (!list || list->model()->rowCount() != groups)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
}

void Show(int groups) {
    OpenGroups();
    Figures const start = Now();
    OnShowNewsList(nullptr, nullptr, nullptr);
    Settle(groups);
    Report(Since(start));
    _exit(0);
}

void Search(int groups) {
    OpenGroups();
    OnShowNewsList(nullptr, nullptr, nullptr);
    Settle(groups);
    SetWidgetText(ABW_txtNewsFind, kNowhere);
    Figures const start = Now();
    OnNewsFind(nullptr, nullptr, nullptr);
    Report(Since(start));
    _exit(0);
}

void Compare(int groups, int times) {
    MakeListing(groups);
    auto const run = [&](char const *kind) {
        return [=] { return Run({ThisProgram(), kind, std::to_string(groups)}); };
    };
    std::string const title = std::to_string(groups) + " groups, ";
    auto const [show, rows] = InTurn(times, run("show"), run("plain-show"));
    PrintRow(title + "read and shown, wall", show.wall, rows.wall, "s", "");
    PrintRow(title + "read and shown, processor", show.processor, rows.processor, "s", "0.5 s");
    auto const [search, plain] = InTurn(times, run("search"), run("plain-search"));
    PrintRow(title + "searched in vain", search.wall, plain.wall, "s", "0.05 s");
}

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    std::string_view const kind = argc > 2 ? argv[1] : "";
    int const groups = argc > 2 ? static_cast<int>(strtol(argv[2], nullptr, 10)) : 0;
    if (kind == "plain-show")
        PlainShow();
    else if (kind == "plain-search")
        PlainSearch();
    else if (kind == "show")
        Show(groups);
    else if (kind == "search")
        Search(groups);
    Compare(100'000, 9);
    return LeaveTempHome(0);
}
