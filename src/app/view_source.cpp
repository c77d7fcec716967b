#include "app/view_source.h"

#include "base/utf8.h"
#include "message/shown_message.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

#include <string>
#include <string_view>

#ifndef CORVANTA_VERSION
#define CORVANTA_VERSION "0"
#endif

namespace {

/// What the dialog shows while it is open: another message may be shown when the next part is asked for.
struct Source {
    ShownMessageRef message;
    std::string_view text;
    size_t next = 0; ///< where the part after the shown one starts
};
Source source;

void ShowPart(size_t start) {
    std::string const part(TextPart(source.text.substr(start)));
    source.next = start + part.size();
    SetWidgetText(ABW_txtViewSource, part.c_str());
    std::string const shown = "A long message is shown in parts. This one: bytes " + std::to_string(start + 1) +
                              " to " + std::to_string(source.next) + " of " + std::to_string(source.text.size()) +
                              ".";
    SetWidgetText(ABW_lblViewSourcePart, shown.c_str());
}

} // namespace

int OnViewSourceRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    source = {ChosenMessage(), {}, 0};
    if (source.message) {
        source.text = source.message->source.c_str(); // kept: a zero byte ends a shown text
        ShowPart(0);
    }
    if (source.next == source.text.size())
        PtUnrealizeWidget(ABW_paneViewSourceParts);
    return Pt_CONTINUE;
}

int OnNextSourcePart(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ShowPart(source.next < source.text.size() ? source.next : 0);
    return Pt_CONTINUE;
}

int OnViewSourceGone(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    source = {};
    return Pt_CONTINUE;
}

int OnAboutRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    SetWidgetText(ABW_lblAboutName, "Corvanta");
    SetWidgetText(ABW_lblAboutVersion, "Version " CORVANTA_VERSION);
    return Pt_CONTINUE;
}
