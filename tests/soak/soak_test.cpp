// The program for a while in front of real servers: checking, reading, sending, posting, switching folders and
// groups, while the servers are stopped and started again. CORVANTA_SOAK_SECONDS=n makes it longer, CORVANTA_SEED=n
// repeats a run; tests/soak/run is the long form.

#include "app/check_thread.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/inn_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/temp_home.h"
#include "news/header_download.h"
#include "threads/walk.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/open_profile.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kSpareDescriptors = 6;
constexpr long kSpareMegabytes = 16;
constexpr int kPatience = 90000; // what a lost server may cost, in milliseconds
constexpr char kGroup[] = "test.general";

long ResidentMegabytes() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE) >> 20;
}

bool AtRest() { return RunningChecks() == 0 && RunningDownloads() == 0; }

/// The subject of a message in a file.
std::string SubjectIn(std::string const &text) {
    size_t const at = text.find("\nSubject: ");
    size_t const posted = at == std::string::npos ? text.find("\nSUBJECT: ") : at;
    if (posted == std::string::npos)
        return {};
    size_t const begin = posted + 10;
    return text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

/// Calls `take` with every file below a directory that may not be there.
void ForFiles(std::string const &directory, std::function<void(std::string const &)> const &take) {
    std::error_code none;
    for (fs::recursive_directory_iterator at(directory, none), end; !none && at != end; at.increment(none))
        if (at->is_regular_file(none))
            take(at->path().string());
}

/// The three servers, the profiles "home" (alice's mail, fetched and removed) and "usenet", and the mail and articles
/// that were sent. Made before the program starts, used by the person in front of it.
class Soak {
  public:
    explicit Soak(unsigned seed);
    /// False when a server did not start.
    bool Ready() const;

    /// Does things for about this long; servers are all there again at the end. Expects no growth of memory or
    /// descriptors behind the first `warmUp` seconds.
    void Work(int seconds, int warmUp);
    /// Fetches everything, then looks for every message and article: once each, or at most once when the person
    /// was told that it failed.
    void Verify();
    /// To be called by the process that may have started some of them anew.
    void StopServers();

  private:
    int Below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
    void OneThing();
    void ShakeServers();
    bool Open(char const *row);
    void ReadSomething();
    void Send();
    void Post();
    void SendWindow(std::string const &to, std::string const &subject);
    void PutMail();
    bool AllServing();
    std::map<std::string, std::set<std::string>> Found() const;

    std::mt19937 random_;
    DovecotServer pop_;
    PostfixServer smtp_;
    InnServer news_;
    RealServer *const servers_[3] = {&pop_, &smtp_, &news_};
    int done_ = 0, alerts_ = 0;
    int pause_[3] = {0, 0, 0}; ///< things to do before a stopped server serves again; 0: it serves
    std::set<std::string> sent_, doubtful_, put_;
};

Soak::Soak(unsigned seed) : random_(seed), smtp_(pop_.WorkDirectory() + "/mail") {
    if (!Ready())
        return;
    MakeProfile(pop_.Address(), false, 5);
    SendThrough(smtp_.Address());
    MakeNewsProfile(news_.Address(), {kGroup});
}

bool Soak::Ready() const { return pop_.Port() > 0 && smtp_.Port() > 0 && news_.Port() > 0; }

void Soak::Work(int seconds, int warmUp) {
    // Alerts come when they come.
    QTimer answers;
    QObject::connect(&answers, &QTimer::timeout, &answers, [this] {
        if (IsShown("PtAlert") && (AnswerNow("PtAlert", "Discard it") || AnswerNow("PtAlert", "Close")))
            alerts_++;
    });
    answers.start(20);
    QElapsedTimer clock;
    clock.start();
    long megabytes = 0;
    int descriptors = 0;
    for (; clock.elapsed() < seconds * 1000LL && !testing::Test::HasFailure(); done_++) {
        OneThing();
        Wait(Below(3) ? 0 : Below(300));
        if (megabytes == 0 && clock.elapsed() > warmUp * 1000LL) {
            ASSERT_TRUE(WaitFor(AtRest, kPatience));
            megabytes = ResidentMegabytes();
            descriptors = CountDescriptors();
        }
    }
    for (int &pause : pause_)
        pause = std::min(pause, 1);
    ASSERT_TRUE(WaitFor([this] { return AllServing(); }, kPatience));
    ASSERT_TRUE(WaitFor(AtRest, kPatience)) << "a check or download does not end";
    printf("%d things done, %zu sent, %zu failed, %zu put; %ld MB (%ld after %d s), %d descriptors (%d)\n", done_,
           sent_.size(), doubtful_.size(), put_.size(), ResidentMegabytes(), megabytes, warmUp, CountDescriptors(),
           descriptors);
    EXPECT_LE(ResidentMegabytes(), megabytes + kSpareMegabytes);
    EXPECT_LE(CountDescriptors(), descriptors + kSpareDescriptors);
}

void Soak::OneThing() {
    int const what = Below(100);
    if (what < 25)
        Open(Below(3) == 0 ? "Outbox" : Below(2) ? "Inbox" : "Saved");
    else if (what < 35)
        Open(kGroup);
    else if (what < 60)
        ReadSomething();
    else if (what < 70)
        Click("btnCheckEmail");
    else if (what < 78)
        PutMail();
    else if (what < 86)
        Send();
    else if (what < 93)
        Post();
    else
        ShakeServers();
    for (int &pause : pause_)
        if (pause > 1)
            pause--;
    AllServing();
}

/// Starts the servers again whose pause is over. True when all serve.
bool Soak::AllServing() {
    for (size_t server = 0; server < 3; server++)
        if (pause_[server] == 1 && servers_[server]->Start())
            pause_[server] = 0;
    return pause_[0] == 0 && pause_[1] == 0 && pause_[2] == 0;
}

void Soak::ShakeServers() {
    int const server = Below(3);
    if (pause_[server] > 0)
        return;
    servers_[server]->Stop();
    pause_[server] = 2 + Below(6);
}

/// Opens a folder or group and waits until what that starts is over. A check that begins just then takes the click.
bool Soak::Open(char const *row) {
    bool const opened = WaitFor(
        [=] {
            if (!AtRest())
                return false;
            ClickRow("treeProfiles", row);
            return Locked([=] { return std::string(currentFolder) == row; });
        },
        kPatience);
    return opened && (Below(4) == 0 || WaitFor(AtRest, kPatience));
}

void Soak::ReadSomething() {
    int const rows = RowCount("treeMessageHeaders");
    if (rows > 0 && ClickOn("treeMessageHeaders", Below(rows)))
        Wait(30);
}

void Soak::PutMail() {
    if (pause_[0] > 0)
        return;
    std::string const subject = "put-" + std::to_string(done_) + ".";
    pop_.Put("alice", PlainMail(subject));
    put_.insert(subject);
}

void Soak::Send() {
    if (Open("Inbox") && WaitFor(AtRest, kPatience))
        SendWindow("alice@example.org", "mail-" + std::to_string(done_) + ".");
}

void Soak::Post() {
    if (Open(kGroup) && WaitFor(AtRest, kPatience))
        SendWindow("", "post-" + std::to_string(done_) + ".");
}

/// Writes and sends in a compose window. Without `to` the field is left as it comes.
void Soak::SendWindow(std::string const &to, std::string const &subject) {
    Click("btnCompose");
    QList<QLineEdit *> const fields =
        Find("pic_btnSend")->window()->findChildren<QLineEdit *>(QStringLiteral("pic_txtTextbox"));
    if (!to.empty())
        QTest::keyClicks(fields.first(), QString::fromStdString(to));
    ASSERT_FALSE(fields.first()->text().isEmpty()) << subject << " goes nowhere";
    QTest::keyClicks(fields.last(), QString::fromStdString(subject));
    QTest::keyClicks(Find("pic_multiMessage"), "The text of " + QString::fromStdString(subject));
    int const alerts = alerts_;
    auto const gone = [] { return !IsShown("pic_btnSend") && !IsShown("pic_btnCancel"); };
    Click("pic_btnSend");
    ASSERT_TRUE(WaitFor([&] { return gone() || alerts_ > alerts; }, 2 * kPatience)) << subject << " is not sent";
    (alerts_ > alerts ? doubtful_ : sent_).insert(subject);
    if (!WaitFor(gone, 1000))
        CloseBy("pic_btnCancel", "pic_btnCancel");
    ASSERT_TRUE(WaitFor(gone, kPatience));
}

void Soak::StopServers() {
    for (RealServer *server : servers_)
        server->Stop();
}

/// What there is of the message or article with each subject. A session that the server breaks off is undone there,
/// and its messages come once more: the same bytes. What was sent twice would differ in its Received fields or its
/// file.
std::map<std::string, std::set<std::string>> Soak::Found() const {
    std::map<std::string, std::set<std::string>> found;
    auto const take = [&](std::string const &path) {
        std::string const text = FileText(path);
        found[SubjectIn(text)].insert(text);
    };
    ForFiles(Root() + "home/Inbox", take);
    ForFiles(pop_.WorkDirectory() + "/mail/alice/new", take);
    ForFiles(pop_.WorkDirectory() + "/mail/alice/cur", take);
    ForFiles(news_.WorkDirectory() + "/spool/articles",
             [&](std::string const &path) { found[SubjectIn(FileText(path))].insert(path); });
    return found;
}

void Soak::Verify() {
    std::set<std::string> whole = put_;
    whole.insert(sent_.begin(), sent_.end());
    std::map<std::string, std::set<std::string>> found;
    // What was sent last may still be on its way to the mailbox.
    EXPECT_TRUE(WaitFor(
        [&] {
            if (AtRest() && pop_.Count("alice") == 0) {
                found = Found();
                if (std::all_of(whole.begin(), whole.end(),
                                [&](auto const &subject) { return found.contains(subject); }))
                    return true;
            }
            // A profile that is opened anew takes what is on the server from the first message on.
            Open(kGroup);
            Open("Inbox");
            return false;
        },
        kPatience))
        << "mail stays on the server, or does not come";
    for (std::string const &subject : whole)
        EXPECT_EQ(found[subject].size(), 1u) << subject;
    for (std::string const &subject : doubtful_)
        EXPECT_LE(found[subject].size(), 1u) << subject;
}

TEST(Soaking, NothingIsLostAndNothingGrows) {
    if (geteuid() != 0)
        GTEST_SKIP() << "the servers switch users, which takes root";
    unsigned const seed = RandomSeed();
    int const seconds = static_cast<int>(FromEnvironment("CORVANTA_SOAK_SECONDS", 60));
    printf("CORVANTA_SEED=%u CORVANTA_SOAK_SECONDS=%d\n", seed, seconds);
    ClearTempHome();
    Soak soak(seed);
    ASSERT_TRUE(soak.Ready());
    Sitting([&] {
        soak.Work(seconds, std::min(60, seconds / 3));
        soak.Verify();
        soak.StopServers();
    });
}

} // namespace
