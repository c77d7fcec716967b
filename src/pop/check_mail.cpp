#include "pop/check_mail.h"

#include "pop/classic/classic_check.h"
#include "pop/standard/check.h"

namespace {

Outcome (*check)(MailProfile &, CheckObserver &, StopPredicate const &) = ClassicCheckMail;

} // namespace

void CheckTheStandardWay() { check = CheckMailStandard; }

Outcome CheckMail(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped) {
    return check(profile, observer, stopped);
}
