#include "compose/background_parts.h"

#include "base/thread.h"
#include "compose/compose_attachments.h"
#include "compose/compose_window.h"
#include "widgets/toolkit.h"

#include <memory>

namespace {

struct Making {
    Making(ComposeState &window, std::vector<PartToMake> wanted)
        : hold(&window), state(window), parts(std::move(wanted)) {}

    ComposeHold hold;
    ComposeState &state;
    std::vector<PartToMake> parts;
    std::vector<std::string> missing;
};

void SetMaking(ComposeState &state, bool making) {
    for (PtWidget_t *widget : {state.sendButton, state.attachButton})
        SetBlocked(widget, making);
}

/// Last of all: the list may be another one when this returns.
void TellMissing(Making const &making) {
    if (making.missing.empty() || !making.state.window)
        return;
    std::string names;
    for (std::string const &name : making.missing)
        names += (names.empty() ? "" : ", ") + name;
    std::string const text = making.missing.size() == 1 ? "The file " + names + " could not be attached"
                                                        : "The files " + names + " could not be attached";
    ShowError(making.state.window, "Error", text.c_str());
}

/// False when the window was closed.
bool MakeOne(Making &making, PartToMake const &wanted) {
    PartHeaders *const part = wanted.make();
    ToolkitGuard const guard;
    bool const added = part && AddAttachedPart(making.state, wanted.name.c_str(), part);
    if (!added)
        making.missing.push_back(wanted.name);
    return making.state.window;
}

void Make(std::shared_ptr<Making> making) {
    for (PartToMake &wanted : making->parts) {
        if (!MakeOne(*making, wanted))
            break;
        wanted.make = nullptr; // with what it holds
    }
    ToolkitGuard const guard;
    if (making->state.window) {
        SetMaking(making->state, false);
        PtFlush();
    }
    TellMissing(*making);
    making.reset(); // under the lock, like every last look at a state
}

} // namespace

void AddPartsInBackground(ComposeState &state, std::vector<PartToMake> parts) {
    if (parts.empty())
        return;
    auto const making = std::make_shared<Making>(state, std::move(parts));
    SetMaking(state, true);
    if (StartDetached([last = making]() mutable { Make(std::move(last)); }))
        return;
    SetMaking(state, false);
    for (PartToMake const &part : making->parts)
        making->missing.push_back(part.name);
    TellMissing(*making);
}
