#pragma once
// A mail account and what a check tells, without a window.

#include "base/account.h"
#include "pop/check_mail.h"

#include <atomic>
#include <string>

/// A mail profile named `name` for alice on the server; its Inbox exists.
AccountRef<MailProfile> MakeProfile(std::string const &name, std::string const &server, bool leaveOnServer,
                                    std::string const &user = "alice", std::string const &password = "secret");

/// The profile's Inbox, with the slash.
std::string InboxOf(MailProfile const &profile);

/// A whole file; empty when there is none.
std::string FileText(std::string const &path);

/// A text from malloc, which is freed; "(none)" for null.
std::string TakeText(char *text);

/// 1 when nobody holds the lock.
int LockValue(ServerAccount &account);

/// "done", or "lost" and its like with the text.
std::string Said(Outcome const &outcome);

/// Writes down what a check tells.
class ToldCheck : public CheckObserver {
  public:
    void Counted(int64_t fresh) override { told += "counted " + std::to_string(fresh) + "\n"; }
    void Listing(int number, int count) override {
        told += "listing " + std::to_string(number) + " of " + std::to_string(count) + "\n";
    }
    void Row(std::string const &text, bool stored, int32_t number) override {
        told += (stored ? "stored " : "server ") + std::to_string(number) + ": " + text + "\n";
        rows++;
    }
    void Say(std::string const &text) override { told += "say " + text + "\n"; }
    void Ended() override { told += "ended\n"; }

    std::string told;
    std::atomic<int> rows = 0;
};
