#pragma once
// What the main window shows of a running check: rows, progress, status.

#include "pop/check_mail.h"

class ShownCheck : public CheckObserver {
  public:
    explicit ShownCheck(MailProfile &profile) : profile_(profile) {}

    void Counted(int64_t fresh) override;
    void Listing(int number, int count) override;
    /// Adds a row when the list is that of the profile, and the Inbox's for a stored message.
    void Row(std::string const &text, bool stored, int32_t number) override;
    void Say(std::string const &text) override;
    void Ended() override;

    bool WasCounted() const { return counted_; }

  private:
    MailProfile &profile_;
    bool counted_ = false;
    bool painted_ = false;
    bool rowsAdded_ = false;
};

/// CheckMail, shown in the main window: the outcome's text goes into lblStatus. Ends the activity that the start of
/// the check has begun. On a worker without locks.
Outcome RunShownCheck(MailProfile &profile, StopPredicate const &stopped);
