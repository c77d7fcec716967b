// One operation on the store, for a test that stops or fails it at each of its system calls:
//   store_driver OPERATION HOME [SERVER]
// What belongs to the operation lies between two looks at files that do not exist (kBegin, kEnd). Afterwards its
// result is printed. The folder is HOME/.Corvanta/home/Inbox.

#include "hostile/store_driver.h"

#include "base/account.h"
#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "pop/standard/receive.h"
#include "profiles/mail_profile_file.h"
#include "protocol/mail_fixture.h"
#include "store/convert.h"
#include "store/folder.h"
#include "store/message_row.h"
#include "unit/fake_passwd.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <unistd.h>

namespace {

struct Job {
    std::string inbox = FolderDirectory("home", "Inbox");
    std::string server;
};

int32_t Append(Job const &job) { return AppendMessage(job.inbox.c_str(), kDriverMessage); }

int32_t Reserve(Job const &job) {
    int32_t number = -1;
    Fd file(ReserveMessage(job.inbox.c_str(), number));
    if (!file.Valid() || !WriteAll(file.Get(), kDriverMessage) || !file.Reset())
        return -1;
    char row[kRowWidth];
    char const *const made = ReadMessageRow("home", "Inbox", number, row);
    return *made && UpdateIndexRow("home", "Inbox", number, 0, made) == 0 ? number : -1;
}

int32_t SaveProfile(Job const &) {
    AccountRef<MailProfile> const profile(new MailProfile);
    CopyText(profile->name, "home");
    CopyText(profile->popServer, kSavedServer);
    return WriteMailProfile(ConfigRoot(), *profile) ? 0 : -1;
}

/// What happens meanwhile, for nobody.
struct NoSink : ReceiveSink {
    void Progress(ReceiveProgress const &) override {}
    void Stored(int32_t, std::string_view) override {}
};

/// A whole check of the standard way, which leaves the messages on the server.
int32_t Receive(Job const &job) {
    NoSink sink;
    ReceiveRequest const request{
        .profile = "home", .inbox = job.inbox, .server = job.server, .who = {"alice", "secret"}};
    ReceiveResult const result = ReceiveMail(request, sink, {});
    fprintf(stderr, "%s\n", result.outcome.text.c_str());
    return result.outcome ? result.fetched : -1;
}

std::map<std::string, std::function<int32_t(Job const &)>> const operations = {
    {"create", [](Job const &job) { return CreateFolder(job.inbox.c_str()); }},
    {"append", Append},
    {"repair", Append},
    {"reserve", Reserve},
    {"delete", [](Job const &job) { return DeleteMessage(job.inbox.c_str(), 2); }},
    {"convert", [](Job const &) { return ConvertFolderIndex("home", "Inbox"); }},
    {"profile", SaveProfile},
    {"receive", Receive},
};

int32_t Marked(std::function<int32_t()> const &operation) {
    access(kBegin, F_OK);
    int32_t const result = operation();
    access(kEnd, F_OK);
    return result;
}

/// A whole session in remove mode.
int32_t Session(Job const &job) {
    AccountRef<MailProfile> const profile(new MailProfile);
    CopyText(profile->name, "home");
    CopyText(profile->popServer, job.server);
    CopyText(profile->userName, "alice");
    CopyText(profile->password, "secret");
    CopyText(profile->leaveOnServer, "REMOVEFROMSERVER");
    ToldCheck check;
    Outcome outcome;
    int32_t const result = Marked([&] {
        outcome = CheckMail(*profile, check);
        return outcome ? 1 : -1;
    });
    fprintf(stderr, "%s\n", outcome.text.c_str());
    return result;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3)
        return 2;
    gPasswd.home = argv[2];
    gPasswd.present = true;
    unsetenv("XDG_STATE_HOME");
    Job const job{.server = argc > 3 ? argv[3] : ""};
    std::string const name = argv[1];
    if (name != "session" && !operations.contains(name))
        return 2;
    int32_t const result = name == "session" ? Session(job) : Marked([&] { return operations.at(name)(job); });
    printf("%d\n", result);
    return 0;
}
