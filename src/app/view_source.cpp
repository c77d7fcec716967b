#include "app/view_source.h"

#include "message/shown_message.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

#ifndef CORVANTA_VERSION
#define CORVANTA_VERSION "0"
#endif

int OnViewSourceRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (ShownMessageRef const message = ChosenMessage())
        SetWidgetText(ABW_txtViewSource, message->source.c_str());
    return Pt_CONTINUE;
}

int OnAboutRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    SetWidgetText(ABW_lblAboutName, "Corvanta");
    SetWidgetText(ABW_lblAboutVersion, "Version " CORVANTA_VERSION);
    return Pt_CONTINUE;
}
