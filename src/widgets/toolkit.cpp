#include "widgets/toolkit.h"

#include "names/widgets.h"

#include <cstdint>

char AlertFont[80] = "";

namespace {

/// Never destroyed: workers may still fail while the program ends.
std::string &Problem() {
    static auto *const problem = new std::string;
    return *problem;
}

} // namespace

void SetStatus(std::string const &text) {
    ToolkitGuard const guard;
    SetWidgetText(ABW_lblStatus, text.c_str());
}

void SetProblem(std::string const &text) {
    if (text.empty())
        return;
    ToolkitGuard const guard;
    Problem() = text;
    SetStatus(text);
}

void ClearProblem() {
    ToolkitGuard const guard;
    if (!Problem().empty() && Problem() == WidgetText(ABW_lblStatus))
        SetStatus("");
    Problem().clear();
}

void SetProgress(int percent) {
    ToolkitGuard const guard;
    if (ABW_prgStatus)
        PtSetResource(ABW_prgStatus, Pt_ARG_GAUGE_VALUE, percent, 0);
}

void SetBlocked(PtWidget_t *widget, bool blocked) {
    if (widget)
        PtSetResource(widget, Pt_ARG_FLAGS, blocked ? Pt_TRUE : Pt_FALSE, Pt_BLOCKED);
}

void SetBlockedBy(Blocker blocker, PtWidget_t *widget, bool blocked) {
    if (!widget)
        return;
    // The widget's user pointer remembers who: it ends with the widget.
    char *blockers = nullptr;
    PtGetResource(widget, Pt_ARG_POINTER, &blockers, 0);
    auto bits = reinterpret_cast<uintptr_t>(blockers);
    bits = blocked ? bits | blocker : bits & ~uintptr_t{blocker};
    PtSetResource(widget, Pt_ARG_POINTER, bits, 0);
    SetBlocked(widget, bits != 0);
}

char const *WidgetText(PtWidget_t *widget) {
    char const *text = nullptr;
    if (widget)
        PtGetResource(widget, Pt_ARG_TEXT_STRING, &text, 0);
    return text ? text : "";
}

void SetWidgetText(PtWidget_t *widget, char const *text) {
    if (widget)
        PtSetResource(widget, Pt_ARG_TEXT_STRING, text, 0);
}

void ShowError(PtWidget_t *parent, char const *title, char const *message) {
    char const *buttons[] = {"&Close"};
    PtAlert(parent, nullptr, title, nullptr, message, AlertFont, 1, buttons, nullptr, 1, 1, Pt_MODAL);
}

bool AskTwo(PtWidget_t *parent, char const *title, char const *message, char const *first, char const *second) {
    char const *buttons[] = {first, second};
    return PtAlert(parent, nullptr, title, nullptr, message, AlertFont, 2, buttons, nullptr, 1, 1, Pt_MODAL) == 2;
}
