// Downloading the headers of a group: from the overview lines of a server on loopback to the painted, threaded list,
// against a reader that splits the same lines into records and threads them by a hash.

#include "runs.h"

#include "app/start.h"
#include "base/account.h"
#include "base/fd.h"
#include "core/lock.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "news/nntp.h"
#include "ui/links.h"

#include <QApplication>
#include <QTreeView>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <random>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <unordered_map>

namespace {

constexpr int kTimes = 7;

/// How the articles of a group hang together.
enum Kind : int { kThreads, kAscending, kRandom, kChains, kOneThread };
constexpr char const *kTitles[] = {"threads of ten", "ascending Message-IDs", "random Message-IDs",
                                   "chains 10,000 deep", "one thread"};

struct Group {
    std::string answer;   ///< to XOVER
    double textBytes = 0; ///< what the rows cannot do without: their texts and their references
};

/// The article that this one answers, 0 for none.
int ParentNumber(Kind kind, int number) {
    switch (kind) {
    case kThreads:
        return number % 10 == 1 ? 0 : number - (number % 10 + 9) % 10 / 2 - 1;
    case kChains:
        return number % 10'000 == 1 ? 0 : number - 1;
    case kOneThread:
        return number == 1 ? 0 : 1;
    default:
        return 0;
    }
}

int RootRows(Kind kind, int count) {
    int roots = 0;
    for (int number = 1; number <= count; number++)
        roots += ParentNumber(kind, number) == 0 ? 1 : 0;
    return roots;
}

Group MakeGroup(Kind kind, int count) {
    std::mt19937_64 random(7);
    std::vector<std::string> ids{""};
    Group group{"224 follows\r\n", 0};
    for (int number = 1; number <= count; number++) {
        uint64_t const id = kind == kAscending ? static_cast<uint64_t>(number) + 1'000'000'000'000 : random();
        ids.push_back("<" + std::to_string(id) + ".news@part.example.org>");
        std::string const parent = ids[static_cast<size_t>(ParentNumber(kind, number))];
        std::string const text = "\tRe: minutes of the meeting " + std::to_string(number) +
                                 "\tSome Body <some.body@example.org>\tSat, 21 Nov 2026 05:00:00 +0000\t" +
                                 ids.back() + "\t" + parent +
                                 "\t2345\t42\tXref: news.example.org test.general:" + std::to_string(number);
        group.answer += std::to_string(number) + text + "\r\n";
        group.textBytes += static_cast<double>(text.size() + parent.size() + 2);
    }
    group.answer += ".\r\n";
    return group;
}

/// Serves prepared bytes, one connection after another.
class Server {
  public:
    Server() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(listener_.Get(), reinterpret_cast<sockaddr *>(&address), length);
        listen(listener_.Get(), 4);
        getsockname(listener_.Get(), reinterpret_cast<sockaddr *>(&address), &length);
        port = ntohs(address.sin_port);
        std::thread([this] { Serve(); }).detach();
    }
    int port = 0;
    std::string answer; ///< changed between runs only

  private:
    void Serve() {
        for (;;) {
            Fd const client(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            char line[1000];
            for (ssize_t got; (got = read(client.Get(), line, sizeof line)) > 0;)
                WriteAll(client.Get(), line[0] == 'X' ? answer : "221 1 <x>\r\nSubject: x\r\n.\r\n");
        }
    }
    Fd listener_;
};

Fd Connect(int port) {
    Fd client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    if (connect(client.Get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        _exit(1);
    return client;
}

struct Record {
    long number;
    std::string text, id, references;
    size_t parent;
};

std::string_view Field(std::string_view line, int number) {
    for (; number > 0; number--)
        line.remove_prefix(std::min(line.size(), line.find('\t') + 1));
    return line.substr(0, line.find('\t'));
}

/// The limit.
void Plain(int port, int count) {
    Fd const client = Connect(port);
    Figures const start = Now();
    WriteAll(client.Get(), "XOVER 1-\r\n");
    std::vector<Record> records;
    std::unordered_map<std::string, size_t> known;
    std::string held;
    std::vector<char> block(65536);
    size_t threaded = 0;
    for (bool first = true, over = false; !over;) {
        ssize_t const got = read(client.Get(), block.data(), block.size());
        if (got <= 0)
            _exit(1);
        held.append(block.data(), static_cast<size_t>(got));
        size_t taken = 0;
        for (size_t end; (end = held.find("\r\n", taken)) != std::string::npos; taken = end + 2) {
            std::string_view const line = std::string_view(held).substr(taken, end - taken);
            over = line == ".";
            if (over || std::exchange(first, false))
                continue;
            std::string_view const references = Field(line, 5);
            Record &record = records.emplace_back(Record{strtol(line.data(), nullptr, 10),
                                                         std::string(line.substr(line.find('\t'))),
                                                         std::string(Field(line, 4)), std::string(references), 0});
            if (size_t const last = references.rfind('<'); last != std::string_view::npos)
                if (auto const parent = known.find(std::string(references.substr(last))); parent != known.end()) {
                    record.parent = parent->second;
                    threaded++;
                }
            known.emplace(record.id, records.size());
        }
        held.erase(0, taken);
    }
    Report(Since(start));
    _exit(static_cast<int>(records.size()) == count && threaded <= records.size() ? 0 : 1);
}

/// Notes the rows that the list has at each of its paints.
class PaintWatch : public QObject {
  public:
    explicit PaintWatch(QTreeView &list) : list_(list) { list.viewport()->installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint) {
            painted = list_.model() ? list_.model()->rowCount() : 0;
            paints++;
        }
        return false;
    }
    int painted = 0, paints = 0;

  private:
    QTreeView &list_;
};

QTreeView *HeaderList() {
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *const list = window->findChild<QTreeView *>(QStringLiteral("treeMessageHeaders")))
            return list;
    _exit(1);
}

/// The program with its window: from the command to the last paint.
void Ours(int port, int count, int roots) {
    static char name[] = "Corvanta";
    static char *arguments[] = {name, nullptr};
    if (StartCorvanta(1, arguments, AbContext) != 0)
        _exit(1);
    PaintWatch const watch(*HeaderList());
    AccountRef<NewsProfile> const profile(new NewsProfile);
    profile->serverSocket = Connect(port).Release();
    profile->articleCursor = 1;
    profile->lastArticle = count;
    PtLockPause const pause;
    for (int i = 0; i < 250; i++) {
        QCoreApplication::processEvents();
        usleep(4000);
    }
    malloc_trim(0);
    double const before = ResidentBytes();
    Figures const start = Now();
    int result = 0;
    std::atomic<bool> over = false;
    std::thread worker([&] {
        result = getnewsheaders(profile->serverSocket, *profile, -1, count);
        over = true;
        QCoreApplication::postEvent(qApp, new QEvent(QEvent::User));
    });
    while (!over || watch.painted != roots)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    Figures figures = Since(start);
    figures.memory -= before;
    worker.join();
    fprintf(stderr, "%d paints\n", watch.paints);
    Report(figures);
    fflush(stdout);
    _exit(result == 1 && profile->headersDone == count ? 0 : 1);
}

struct Bench {
    Server server;

    Figures Client(char const *who, Kind kind, int count, std::vector<std::string> command = {}) {
        for (std::string const &word : {ThisProgram(), std::string(who), std::to_string(server.port),
                                        std::to_string(count), std::to_string(RootRows(kind, count))})
            command.push_back(word);
        return Run(command);
    }
    void Compare(Kind kind, int count) {
        Group const group = MakeGroup(kind, count);
        server.answer = group.answer;
        auto const [ours, limit] = InTurn(
            kTimes, [&] { return Client("ours", kind, count); }, [&] { return Client("plain", kind, count); });
        std::string const title = std::to_string(count) + " headers, " + kTitles[kind];
        PrintRow(title + ", wall", ours.wall, limit.wall, "s", "2");
        PrintRow(title + ", processor", ours.processor, limit.processor, "s", "");
        PrintRow(title + ", memory a row beyond its texts", (ours.memory - group.textBytes) / count, 0, "bytes",
                 "450 bytes");
    }
    /// All system calls of a run of the program.
    double Calls(Kind kind, int count) {
        server.answer = MakeGroup(kind, count).answer;
        std::string const file = TempHome() + "/calls";
        Client("ours", kind, count, {"strace", "-f", "-c", "-U", "calls,name", "-o", file});
        std::ifstream lines(file);
        double calls = 0;
        for (std::string line; std::getline(lines, line);)
            if (line.ends_with("total"))
                calls = strtod(line.c_str(), nullptr);
        return calls;
    }
    void CompareCalls() {
        double const few = Calls(kThreads, 10'000);
        PrintRow("headers, system calls a line", (Calls(kThreads, 110'000) - few) / 100'000, 0, "", "0.1");
    }
};

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    auto const number = [&](int place) { return static_cast<int>(strtol(argv[place], nullptr, 10)); };
    if (argc > 4 && std::string_view(argv[1]) == "plain")
        Plain(number(2), number(3));
    if (argc > 4 && std::string_view(argv[1]) == "ours")
        Ours(number(2), number(3), number(4));
    Bench bench;
    for (Kind const kind : {kThreads, kAscending, kRandom, kChains, kOneThread})
        bench.Compare(kind, 100'000);
    bench.CompareCalls();
    return LeaveTempHome(0);
}
