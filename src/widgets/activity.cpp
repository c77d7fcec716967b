#include "widgets/activity.h"

#include "names/widgets.h"

ApDBase_t *EmailWidgetsDb = nullptr;
int ActivityCount = 0;

namespace {

constexpr int kFrameMilliseconds = 150;

void SetAnimation(int initialMilliseconds) {
    if (ABW_timerAnimation)
        PtSetResource(ABW_timerAnimation, Pt_ARG_TIMER_INITIAL, initialMilliseconds, 0);
}

} // namespace

void ShowStar(char const *name) {
    PhImage_t *const image = EmailWidgetsDb ? ApGetImageRes(EmailWidgetsDb, name) : nullptr;
    if (image && ABW_lblStar)
        PtSetResource(ABW_lblStar, Pt_ARG_LABEL_IMAGE, image, 0);
}

void BeginActivity() {
    ActivityCount++;
    SetAnimation(kFrameMilliseconds);
}

void EndActivity() {
    if (--ActivityCount >= 1)
        return;
    // An end too many must not make the next activity count for nothing.
    ActivityCount = 0;
    SetAnimation(0);
    ShowStar("lblStar0");
}
