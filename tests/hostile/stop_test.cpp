// Each operation on the store, stopped by a kill and failed by the disk at every one of its system calls that change
// something: the folder opens again with whole records, no number comes twice, no earlier message is changed, and
// each message is on the server or on disk.

#include "hostile/driven_store.h"
#include "hostile/mailbox_server.h"
#include "hostile/store_driver.h"
#include "mime/headers.h"

#include <atomic>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr char kCalls[] = "write,pwrite64,writev,pwritev,fsync,fdatasync,syncfs,?rename,?renameat,renameat2,?unlink,"
                          "unlinkat,openat,getdents64,ftruncate,?mkdir,?mkdirat,fallocate,copy_file_range";
constexpr char kOldProfile[] = "pop.old.example.org\n\n\n";

std::string Message(std::string const &subject) {
    return "Subject: " + subject + "\r\nFrom: a@example.org\r\nDate: today\r\n\r\nThe text of " + subject + ".\r\n";
}

std::string Row(std::string const &message) {
    char row[kRowWidth + 1];
    return FormatHeaderRow(message.c_str(), row, sizeof row);
}

/// A home as the operation finds it.
struct Home {
    Scratch scratch;
    std::string root = scratch / ".Corvanta/";
    std::string inbox = root + "home/Inbox/";
    std::map<int32_t, std::string> earlier; ///< the messages that lie there, by number

    explicit Home(std::string const &operation) {
        fs::create_directories(root + "home");
        WriteFile(root + "home.dat", kOldProfile);
        if (operation == "create")
            return;
        CreateFolder(inbox.c_str());
        for (int i = 1; i <= 3; i++)
            earlier[AppendMessage(inbox.c_str(), Message("earlier " + std::to_string(i)))] =
                Message("earlier " + std::to_string(i));
        // Cut within the second record: whoever comes next puts it right.
        if (operation == "repair")
            fs::resize_file(inbox + "index2", 24 + 208 + 100);
        if (operation != "convert")
            return;
        // Numbers 1, 2, 3 and one whose message is gone.
        fs::remove(inbox + "index2");
        WriteFile(inbox + "index", {"old.\1\0\0\0\2\0\0\0\3\0\0\0\7\0\0\0", 20});
    }

    std::map<int32_t, std::string> Records() const { return StoredRows(inbox); }
    std::string Text(int32_t number) const { return ReadFile(inbox + std::to_string(number)); }
};

/// The words that have strace log the changing calls of a program; with `inject` it stops one of them.
std::vector<std::string> Traced(std::string const &log, std::string const &inject = "") {
    std::string const traced = std::string("trace=?access,?faccessat,?faccessat2,") + kCalls;
    std::vector<std::string> words = {"strace", "-q", "-o", log, "-e", traced};
    if (!inject.empty())
        words.insert(words.end(), {"-e", inject});
    return words;
}

/// One call to stop at: the n-th of its name in the life of the driver.
struct Stop {
    std::string call;
    int n;
    std::string fault; ///< "signal=KILL", "error=ENOSPC"
};

/// The changing calls of one whole run, from its log: those between the marks; of the opened files those of the home.
std::vector<Stop> Stops(std::string const &log, std::string const &home) {
    std::vector<Stop> stops;
    std::map<std::string, int> seen;
    bool within = false;
    std::ifstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        std::string const call = line.substr(0, line.find('('));
        if (call.find("access") != call.npos) {
            within = line.find(kBegin) != line.npos || (within && line.find(kEnd) == line.npos);
            continue;
        }
        int const n = ++seen[call];
        if (!within || (call == "openat" && line.find(home) == line.npos))
            continue;
        for (char const *fault : {"signal=KILL", "error=ENOSPC", "error=EIO"})
            stops.push_back({call, n, fault});
    }
    return stops;
}

/// Whatever happened, the folder can be used, and nothing that lay there is lost or changed. `printed` is the number
/// that the operation says it has given.
void ExpectGoodFolder(Home const &home, std::string const &operation, int32_t printed) {
    std::map<int32_t, std::string> const records = home.Records();
    std::set<std::string> rows = {"", Row(kDriverMessage)};
    for (auto const &[number, text] : home.earlier) {
        rows.insert(Row(text));
        if (operation == "delete" && number == 2 && !records.contains(2))
            continue;
        EXPECT_EQ(home.Text(number), text) << number;
        // Who makes the row of a message and cannot read it lists it without.
        bool const rowless = operation == "convert" || operation == "repair";
        EXPECT_TRUE(records.contains(number) &&
                    (records.at(number) == Row(text) || (rowless && records.at(number).empty())))
            << number;
    }
    for (auto const &[number, row] : records)
        EXPECT_TRUE(operation == "session" || operation == "receive" || rows.contains(row)) << number << ": " << row;

    std::set<int32_t> used{printed};
    for (auto const &numbers : {StoredTexts(home.inbox), records})
        for (auto const &[number, text] : numbers)
            used.insert(number);
    for (int i = 0; i < 2; i++) {
        std::string const text = Message("later " + std::to_string(i));
        int32_t const number = AppendMessage(home.inbox.c_str(), text);
        EXPECT_GT(number, 0);
        EXPECT_TRUE(used.insert(number).second) << number << " was given twice";
        EXPECT_EQ(home.Text(number), text);
        EXPECT_EQ(home.Records()[number], Row(text));
    }
}

/// What a completed operation promises, and what a stopped one must not have broken.
void ExpectGoodResult(Home const &home, std::string const &operation, DriverRun const &outcome) {
    int32_t const printed = outcome.result.empty() ? -1 : DecimalPrefix(outcome.result);
    if (operation == "profile") {
        std::string const text = ReadFile(home.root + "home.dat");
        EXPECT_TRUE(text == kOldProfile || text.starts_with(kSavedServer)) << text;
        if (outcome.exitCode == 0) {
            EXPECT_EQ(text == kOldProfile, printed != 0) << "it said " << printed;
        }
        return;
    }
    bool const index = fs::exists(home.inbox + "index2");
    if (operation == "create" || operation == "convert") {
        EXPECT_TRUE(index || printed != 0);
        EXPECT_TRUE(index || CreateFolder(home.inbox.c_str()) == 0);
    }
    bool const stores = operation == "append" || operation == "repair" || operation == "reserve";
    if (stores && printed > 0) {
        EXPECT_EQ(home.Text(printed), kDriverMessage);
        EXPECT_EQ(home.Records()[printed], Row(kDriverMessage));
    }
    EXPECT_FALSE(operation == "delete" && printed == 0 && fs::exists(home.inbox + "2"));
    ExpectGoodFolder(home, operation, stores ? printed : -1);
}

std::vector<std::string> const kMailbox = {Message("new 1"), Message("new 2"), Message("new 3")};

/// Each message of the mailbox is on the server or whole in the Inbox; after another session all are in the Inbox.
void ExpectNoMailLost(Home const &home, MailboxServer &server) {
    auto const stored = [&] {
        std::multiset<std::string> texts;
        for (auto const &[number, row] : home.Records())
            texts.insert(home.Text(number));
        return texts;
    };
    std::vector<std::string> const left = server.Messages();
    std::multiset<std::string> const before = stored();
    for (std::string const &message : kMailbox)
        EXPECT_TRUE(before.contains(message) || std::find(left.begin(), left.end(), message) != left.end())
            << message << " is lost";
    EXPECT_EQ(RunDriver("session", home.scratch, server.Address()).result, "1");
    EXPECT_EQ(server.Messages().size(), 0u);
    std::multiset<std::string> const after = stored();
    for (std::string const &message : kMailbox)
        EXPECT_TRUE(after.contains(message)) << message << " is lost";
}

/// After one more check each message of the server is in the Inbox exactly once, beside what lay there, and another
/// one brings nothing more.
void ExpectMailOnce(Home const &home, MailboxServer &server) {
    std::multiset<std::string> wanted(kMailbox.begin(), kMailbox.end());
    for (auto const &[number, text] : home.earlier)
        wanted.insert(text);
    EXPECT_GE(DecimalPrefix(RunDriver("receive", home.scratch, server.Address()).result), 0);
    for (char const *more : {"", "0"}) {
        if (*more) {
            EXPECT_EQ(RunDriver("receive", home.scratch, server.Address()).result, more);
        }
        std::multiset<std::string> texts;
        for (auto const &[number, row] : home.Records())
            texts.insert(home.Text(number));
        EXPECT_EQ(texts, wanted);
    }
    EXPECT_EQ(server.Messages().size(), kMailbox.size());
}

/// The server that an operation talks to, null for none.
std::unique_ptr<MailboxServer> ServerFor(std::string const &operation) {
    bool const modern = operation == "receive";
    return modern || operation == "session" ? std::make_unique<MailboxServer>(kMailbox, Fault{}, modern) : nullptr;
}

void ExpectGoodMail(Home const &home, std::string const &operation, MailboxServer &server) {
    if (operation == "receive")
        ExpectMailOnce(home, server);
    else
        ExpectNoMailLost(home, server);
}

void StopAt(std::string const &operation, Stop const &stop) {
    std::string const what = operation + ", " + stop.call + " " + std::to_string(stop.n) + ", " + stop.fault;
    SCOPED_TRACE(what);
    Home const home(operation);
    std::unique_ptr<MailboxServer> const server = ServerFor(operation);
    std::string const log = home.scratch / "log";
    std::string const inject = "inject=" + stop.call + ":" + stop.fault + ":when=" + std::to_string(stop.n);
    DriverRun const outcome =
        RunDriver(operation, home.scratch, server ? server->Address() : "", Traced(log, inject));
    EXPECT_NE(ReadFile(log).find(stop.fault == "signal=KILL" ? "killed by SIGKILL" : "INJECTED"), std::string::npos)
        << "nothing was stopped";
    EXPECT_EQ(outcome.exitCode, stop.fault == "signal=KILL" ? -1 : 0);
    if (server)
        ExpectGoodMail(home, operation, *server);
    ExpectGoodResult(home, operation, outcome);
}

bool CanTrace() {
    static bool const can =
        RunProgram({"strace", "-q", "-o", "/dev/null", "-e", "inject=getppid:error=EIO:when=1", "true"}) == 0;
    return can;
}

class StopAtEveryCall : public testing::TestWithParam<char const *> {};

TEST_P(StopAtEveryCall, LeavesAGoodFolder) {
    if (!CanTrace())
        GTEST_SKIP() << "strace is missing or may not trace here";
    std::string const operation = GetParam();
    std::vector<Stop> stops;
    {
        Home const home(operation);
        std::unique_ptr<MailboxServer> const server = ServerFor(operation);
        std::string const log = home.scratch / "log";
        DriverRun const outcome = RunDriver(operation, home.scratch, server ? server->Address() : "", Traced(log));
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_GE(DecimalPrefix(outcome.result), 0) << outcome.result;
        if (server)
            ExpectGoodMail(home, operation, *server);
        ExpectGoodResult(home, operation, outcome);
        stops = Stops(log, home.scratch.Path());
    }
    EXPECT_GE(stops.size(), 6u);
    RecordProperty("stops", static_cast<int>(stops.size()));
    // Most of a run is waiting for processes to start: several at a time.
    std::atomic<size_t> next = 0;
    std::vector<std::thread> workers;
    for (int i = 0; i < 3; i++)
        workers.emplace_back([&] {
            for (size_t at; (at = next++) < stops.size();)
                StopAt(operation, stops[at]);
        });
    for (std::thread &worker : workers)
        worker.join();
}

INSTANTIATE_TEST_SUITE_P(Store, StopAtEveryCall,
                         testing::Values("create", "append", "repair", "reserve", "delete", "convert", "profile",
                                         "session", "receive"),
                         [](auto const &info) { return std::string(info.param); });

} // namespace
