#include "app/view_source.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/utf8.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>

#ifndef CORVANTA_VERSION
#define CORVANTA_VERSION "0"
#endif

namespace {

/// What the dialog shows while it is open: the file may hold another message when the next part is asked for.
struct Source {
    std::string text;
    size_t next = 0; ///< where the part after the shown one starts
};
Source source;

void ShowPart(size_t start) {
    std::string const part(TextPart(std::string_view(source.text).substr(start)));
    source.next = start + part.size();
    SetWidgetText(ABW_txtViewSource, part.c_str());
    std::string const shown = "A long message is shown in parts. This one: bytes " + std::to_string(start + 1) +
                              " to " + std::to_string(source.next) + " of " + std::to_string(source.text.size()) +
                              ".";
    SetWidgetText(ABW_lblViewSourcePart, shown.c_str());
}

/// The text of the message shown last; nothing when no row is selected.
std::optional<std::string> ShownText() {
    if (!TempDir[0] || !SelectedItem(ABW_treeMessageHeaders))
        return std::nullopt;
    std::optional<std::string> text = ReadRegularFile(std::string(TempDir) + "originalmsg", SIZE_MAX, O_NOFOLLOW);
    // kept: a zero byte ends a shown text
    if (text)
        text->resize(strlen(text->c_str()));
    return text;
}

} // namespace

int OnViewSourceRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    source = {};
    if (std::optional<std::string> text = ShownText()) {
        source.text = std::move(*text);
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
