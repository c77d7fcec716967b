#include "message/shown_message.h"

#include "base/fd.h"
#include "mime/render.h"
#include "names/widgets.h"
#include "widgets/tree_walk.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

/// Never destroyed: a worker may still hold the message while the program ends.
ShownMessageRef &Shown() {
    static auto *const shown = new ShownMessageRef;
    return *shown;
}

struct NoList : AttachmentSink {
    void Add(char const *, PartHeaders const &) override {}
};

} // namespace

ShownMessageRef LastShownMessage() { return Shown(); }

void SetShownMessage(ShownMessageRef message) { Shown() = std::move(message); }

ShownMessageRef ChosenMessage() {
    if (!Shown() || !ABW_treeMessageHeaders)
        return nullptr;
    HeaderRow const *const row = RowOf(SelectedItem(ABW_treeMessageHeaders));
    return row && row->serial == Shown()->row.serial ? Shown() : nullptr;
}

std::string PageText(ShownMessage const &message) {
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(message.source.c_str(), *headers);
    Fd const file(memfd_create("page", MFD_CLOEXEC));
    NoList none;
    if (!file.Valid() || !WriteMessagePage(file.Get(), message.source.c_str(), *headers, "", none))
        return {};
    std::string page(static_cast<size_t>(lseek(file.Get(), 0, SEEK_END)), '\0');
    lseek(file.Get(), 0, SEEK_SET);
    if (ReadAll(file.Get(), page.data(), page.size()) != static_cast<long>(page.size()))
        return {};
    return page;
}
