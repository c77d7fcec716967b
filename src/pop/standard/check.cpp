#include "pop/standard/check.h"

#include "base/paths.h"
#include "mime/headers.h"
#include "net/session_lock.h"
#include "pop/standard/receive.h"
#include "secrets/secret.h"
#include "store/folder.h"

namespace {

/// Rows and progress of one check.
class Told : public ReceiveSink {
  public:
    explicit Told(CheckObserver &observer) : observer_(observer) {}

    void Progress(ReceiveProgress const &progress) override { observer_.Listing(progress.done, progress.total); }

    void Stored(int32_t number, std::string_view text) override {
        Count();
        char row[kRowWidth + 1]; // shown as it is stored
        observer_.Row(FormatHeaderRow(text.data(), row, sizeof row), true, number);
    }

    /// The check has started for the user when it is known that it works.
    void Count() {
        if (!std::exchange(counted_, true))
            observer_.Counted(1);
    }
    bool Counted() const { return counted_; }

  private:
    CheckObserver &observer_;
    bool counted_ = false;
};

} // namespace

Outcome CheckMailStandard(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped) {
    SessionLock const lock(profile, stopped);
    if (!lock.Held())
        return Stopped();
    profile.checkWaiting = false;
    Secret secret;
    if (Outcome const found = FindSecretOf(profile, secret, stopped); !found)
        return found;
    ReceiveRequest const request{.profile = profile.name,
                                 .inbox = FolderDirectory(profile.name, kInbox),
                                 .server = profile.popServer,
                                 .who = {profile.userName, std::move(secret.text), secret.isToken},
                                 .leaveOnServer = profile.LeavesMailOnServer(),
                                 .knownCount = profile.serverMessageCount};
    Told told(observer);
    ReceiveResult result = ReceiveMail(request, told, stopped);
    if (result.withoutUidl && result.outcome) {
        profile.serverMessageCount = result.onServer;
        observer.Say("The server gives its messages no identifiers: what is left there comes again after a restart");
    }
    if (told.Counted())
        observer.Ended();
    return std::move(result.outcome);
}
