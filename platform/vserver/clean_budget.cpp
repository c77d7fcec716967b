#include "clean_budget.h"

#include "markup.h"

#include <algorithm>

namespace vserver {
namespace {

size_t CostOf(char c, bool preformatted) {
    if (c == '\n')
        return preformatted ? kLineCost : 1;
    if (c == '&')
        return kEntityCost;
    return c >= ' ' && c <= '~' ? 1 : kOtherCost;
}

} // namespace

size_t TextCost(std::string_view text, bool preformatted) {
    size_t cost = 0;
    for (char const c : text)
        cost += CostOf(c, preformatted);
    return cost;
}

bool TableBudget::Close() {
    bool const rows = open_.back().rows > 0;
    open_.pop_back();
    return rows;
}

bool TableBudget::AddRow() {
    Table &table = open_.back();
    if (!Afford(std::max<size_t>(table.columns, 1) * kGridCellCost))
        return false;
    ++table.rows;
    table.cells = 0;
    return true;
}

bool TableBudget::AddCell() {
    Table &table = open_.back();
    if (++table.cells <= table.columns)
        return true;
    if (!Afford(table.rows * kGridCellCost))
        return false;
    table.columns = table.cells;
    return true;
}

bool TableBudget::FillRow() {
    Table &table = open_.back();
    if (table.cells > 0)
        return false;
    table.cells = 1;
    table.columns = std::max<size_t>(table.columns, 1);
    return true;
}

/// Counts what a part of the innermost table costs: twice as much with each level.
bool TableBudget::Afford(size_t cost) {
    size_t const level = open_.empty() ? 0 : open_.size() - 1;
    if (cost > (kMaxTableCost - cost_) >> level)
        return false;
    cost_ += cost << level;
    return true;
}

bool PageBudget::Spend(size_t bytes) {
    if (cut_ || bytes > kMaxShownText - shown_) {
        cut_ = true;
        return false;
    }
    shown_ += bytes;
    return true;
}

std::string_view PageBudget::SpendSome(std::string_view text, bool preformatted) {
    size_t end = 0;
    while (end < text.size() && Spend(CostOf(text[end], preformatted)))
        ++end;
    while (end > 0 && end < text.size() && IsContinuation(text[end])) // not in the middle of a character
        --end;
    return text.substr(0, end);
}

} // namespace vserver
