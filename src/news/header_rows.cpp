#include "news/header_rows.h"

#include "names/widgets.h"
#include "news/article_rows.h"
#include "widgets/header_list.h"

#include <string>

namespace {

constexpr int kProgressLines = 50;
/// To wait for the paint of every progress text would take longer than the download.
constexpr auto kPaintPeriod = std::chrono::milliseconds(40);

unsigned AgeOfList() {
    ToolkitGuard const guard;
    return headerListAge;
}

} // namespace

HeaderRows::HeaderRows(int32_t total) : total_(total), listAge_(AgeOfList()) {}

bool HeaderRows::IsWanted() const { return headerListAge == listAge_ && ABW_treeMessageHeaders; }

bool HeaderRows::Start() {
    library_.emplace();
    started_ = true;
    if (IsWanted())
        BeginArticleRows();
    return IsWanted();
}

/// Shows how far it is, and lets the main thread have the library: a fast server never leaves a gap for it.
void HeaderRows::ShowProgress() {
    SetStatus("rcvd " + std::to_string(counted_) + " of " + std::to_string(total_));
    if (std::chrono::steady_clock::now() - painted_ < kPaintPeriod)
        return;
    PtFlush();
    library_.reset();
    library_.emplace();
    painted_ = std::chrono::steady_clock::now();
}

Outcome HeaderRows::Take(OverviewLine const &line, int32_t number) {
    if (!AddArticleRow(ABW_treeMessageHeaders, line, number))
        return Failed("Not enough memory for the headers");
    if (++counted_ % kProgressLines == 0)
        ShowProgress();
    return IsWanted() ? Outcome() : Stopped();
}

void HeaderRows::ShowLast() {
    ToolkitGuard const guard;
    if (started_ && IsWanted() && lastHeaderItem)
        PtGenTreeShow(ABW_treeMessageHeaders, &lastHeaderItem->gen);
}
