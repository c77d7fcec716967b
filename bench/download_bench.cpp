// Checks of the whole program in front of a real POP3 server, against a raw reader of the same dialogue. Arguments:
// how many small messages, how many large ones, and "fetch", "headers" or "remove" for one dialogue alone.

#include "raw_reader.h"
#include "runs.h"

#include "app/named_calls.h"
#include "app/start.h"
#include "base/text.h"
#include "core/lock.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "pop/dialogue.h"
#include "pop/mailbox.h"
#include "store/folder.h"
#include "ui/links.h"
#include "widgets/open_profile.h"

#include <QCoreApplication>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr int kTimes = 5;

std::string Mail(size_t size) {
    std::string text = "Received: from relay.example (relay.example [192.0.2.1])\r\n\tby mx.example with ESMTPS\r\n"
                       "From: \"Some Body\" <some.body@example.org>\r\nTo: alice@example.org\r\n"
                       "Subject: Minutes of the meeting\r\nDate: Sat, 21 Nov 2026 05:00:00 +0000\r\n\r\n";
    while (text.size() < size)
        text += "The quick brown fox jumps over the lazy dog, and then it does so again.\r\n";
    return text;
}

AccountRef<MailProfile> MakeProfile(int port, bool leave) {
    AccountRef<MailProfile> profile(new MailProfile);
    CopyText(profile->name, "bench");
    CopyText(profile->popServer, "127.0.0.1:" + std::to_string(port));
    CopyText(profile->userName, "alice");
    CopyText(profile->password, "secret");
    CopyText(profile->leaveOnServer, leave ? "LEAVEONSERVER" : "REMOVEFROMSERVER");
    return profile;
}

/// All messages through a fresh connection.
int FetchAll(MailProfile &profile, int count) {
    std::string reply;
    if (!EnsureLoggedIn(profile) || PopAsk(*StreamOf(profile), "STAT", reply) != PopReply::kOk)
        return -1;
    for (int number = 1; number <= count; number++)
        if (!FetchMessage(*StreamOf(profile), number).outcome)
            return -1;
    return 1;
}

/// The program with its window, a check on a worker as its button starts it.
int Ours(std::string const &what, int port, int count) {
    char name[] = "Corvanta";
    char *arguments[] = {name, nullptr};
    if (StartCorvanta(1, arguments, AbContext) != 0)
        return 1;
    AccountRef<MailProfile> const profile = MakeProfile(port, what == "headers");
    currentProfile = AccountRef<ServerAccount>(profile.Get());
    Figures figures;
    int result = 0;
    std::atomic<bool> over = false;
    PtLockPause const pause;
    for (int i = 0; i < 250; i++) { // the window is up and its page shown
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    }
    std::thread worker([&] {
        Figures const start = Now();
        result = what == "fetch" ? FetchAll(*profile, count) : CheckMailSession(*profile, ABW_treeMessageHeaders);
        figures = Since(start);
        over = true;
        QCoreApplication::postEvent(qApp, new QEvent(QEvent::User));
    });
    while (!over)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    worker.join();
    if (result == 1)
        Report(figures);
    fflush(stdout);
    _exit(result == 1 ? 0 : 1);
}

int Raw(std::string const &what, int port, int count, std::string const &directory) {
    RawDialogue const dialogue = what == "headers" ? RawDialogue::Headers
                                 : what == "fetch" ? RawDialogue::Fetch
                                 : what == "count" ? RawDialogue::Count
                                                   : RawDialogue::Remove;
    std::vector<char> room(size_t{16} << 20);
    Figures const start = Now();
    if (ReadRaw(port, dialogue, directory, room) != count)
        return 1;
    Report(Since(start));
    return 0;
}

/// Where both sides store: in memory, since the disk is not what is measured.
class Place {
  public:
    Place() {
        std::string directory = "/dev/shm/download_benchXXXXXX";
        if (mkdtemp(directory.data()))
            path_ = directory;
        Empty();
        fs::create_directory_symlink(path_ + "/root", TempHome() + "/.Corvanta");
    }
    ~Place() { fs::remove_all(path_); }
    void Empty() const {
        fs::remove_all(path_ + "/root");
        fs::remove_all(path_ + "/raw");
        fs::create_directories(path_ + "/raw");
        fs::create_directories(path_ + "/root/bench");
        CreateFolder((path_ + "/root/bench/Inbox").c_str());
    }
    std::string Raw() const { return path_ + "/raw"; }

  private:
    std::string path_;
};

struct Bench {
    DovecotServer server;
    Place place;
    std::string mail;

    /// Fills the mailbox up and lets the server take stock of it, which is its work and not the reader's.
    void Fill(int count) {
        for (int have = server.Count("alice"); have < count; have++)
            server.Put("alice", mail);
        place.Empty();
        Client("raw", "count", count);
    }
    Figures Client(char const *who, std::string const &what, int count, std::vector<std::string> const &tracer = {}) {
        std::vector<std::string> command = tracer;
        command.insert(command.end(),
                       {ThisProgram(), who, what, std::to_string(server.Port()), std::to_string(count), place.Raw()});
        return Run(command);
    }
    Figures Timed(char const *who, std::string const &what, int count) {
        Fill(count);
        return Client(who, what, count);
    }
    /// All system calls of a run.
    double Calls(char const *who, std::string const &what, int count) {
        Fill(count);
        std::string const file = place.Raw() + ".calls";
        Client(who, what, count, {"strace", "-f", "-c", "-U", "calls,name", "-o", file});
        std::ifstream lines(file);
        double calls = 0;
        for (std::string line; std::getline(lines, line);)
            if (line.ends_with("total"))
                calls = strtod(line.c_str(), nullptr);
        return calls;
    }
    /// System calls that one more message takes.
    double CallsPerMessage(char const *who, std::string const &what) {
        double const few = Calls(who, what, 100); // a mailbox only grows but for the removing dialogue
        return (Calls(who, what, 600) - few) / 500;
    }
    void Empty() {
        for (char const *part : {"/cur", "/new"})
            for (auto const &entry : fs::directory_iterator(server.WorkDirectory() + "/mail/alice" + part))
                fs::remove(entry.path());
    }
};

void Compare(Bench &bench, std::string const &title, std::string const &what, int count, char const *aim) {
    auto const [ours, limit] = InTurn(
        kTimes, [&] { return bench.Timed("ours", what, count); }, [&] { return bench.Timed("raw", what, count); });
    PrintRow(title + ", wall", ours.wall, limit.wall, "s", aim);
    PrintRow(title + ", processor", ours.processor, limit.processor, "s", "");
}

void CompareCalls(Bench &bench, std::string const &title, std::string const &what) {
    bench.Empty();
    double const ours = bench.CallsPerMessage("ours", what);
    bench.Empty();
    double const raw = bench.CallsPerMessage("raw", what);
    PrintRow(title + ", system calls a message", ours, raw, "", "");
}

constexpr std::pair<char const *, char const *> kDialogues[] = {
    {"fetch", ", all fetched"}, {"headers", ", headers"}, {"remove", ", moved"}};

/// `only` is one dialogue, or "" for all.
int CompareAll(int small, int large, std::string const &only) {
    Bench bench;
    if (bench.server.Port() == 0)
        return 1;
    bench.mail = Mail(4096);
    for (auto const &[what, title] : kDialogues)
        if (only.empty() || only == what)
            Compare(bench, std::to_string(small) + " of 4 KB" + title, what, small, "1.2");
    for (auto const &[what, title] : kDialogues)
        if (only.empty() || only == what)
            CompareCalls(bench, std::string("4 KB, ") + what, what);
    bench.Empty();
    bench.mail = Mail(5'000'000);
    for (auto const &[what, title] : kDialogues)
        if (large > 0 && std::string_view("headers") != what && (only.empty() || only == what))
            Compare(bench, std::to_string(large) + " of 5 MB" + title, what, large, "1.3");
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    if (argc > 5) {
        std::string const what = argv[2];
        int const port = static_cast<int>(strtol(argv[3], nullptr, 10));
        int const count = static_cast<int>(strtol(argv[4], nullptr, 10));
        return std::string_view(argv[1]) == "ours" ? Ours(what, port, count) : Raw(what, port, count, argv[5]);
    }
    int const small = argc > 1 ? static_cast<int>(strtol(argv[1], nullptr, 10)) : 5000;
    int const large = argc > 2 ? static_cast<int>(strtol(argv[2], nullptr, 10)) : 50;
    return LeaveTempHome(CompareAll(small, large, argc > 3 ? argv[3] : ""));
}
