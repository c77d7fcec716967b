#pragma once
// What a page has cost its reader so far, against the limits of clean.h.

#include "clean.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace vserver {

/// What showing a text costs.
size_t TextCost(std::string_view text, bool preformatted);

/// The open tables of a page as grids, and what all its tables have cost.
class TableBudget {
  public:
    bool NoneOpen() const { return open_.empty(); }
    /// True when one table more may be opened.
    bool MayOpen() const { return !spent_ && open_.size() < kMaxTableNesting; }
    bool Spent() const { return spent_; }
    /// From now on there are no tables; those that are open are to be closed.
    void GiveUp() { spent_ = true; }

    void Open() { open_.push_back({}); }
    /// Closes the innermost table. False when it had no rows.
    bool Close();
    /// Counts a part of the innermost table, text of any by its cost. False, and nothing is counted, when tables have
    /// cost enough.
    bool AddText(size_t cost) { return open_.empty() || Afford(cost); }
    bool AddRow();
    bool AddCell();
    bool RowIsFull() const { return open_.back().cells >= kMaxColumns; }
    /// Gives an open row its first cell. False when it has one.
    bool FillRow();

  private:
    struct Table {
        size_t rows = 0, columns = 0, cells = 0; ///< cells: of the open row
    };

    bool Afford(size_t cost);

    std::vector<Table> open_; ///< outermost first
    size_t cost_ = 0;
    bool spent_ = false;
};

/// Elements, list items, images, texts without an end: each Add counts one more and is false when it is too many.
class PageBudget {
  public:
    bool MayAddElement() const { return elements_ < kMaxElements; }
    void AddElement() { ++elements_; }
    bool AddListItem() { return list_items_ < kMaxListItems && ++list_items_; }
    bool AddImageTag() { return image_tags_++ < kMaxImageTags; }
    bool AddInline() { return inline_run_++ < kMaxInlineRun; }
    bool AddUnbroken() { return unbroken_++ < kMaxUnbroken; }
    /// A word ends, or goes on after a line break with `characters` after that already.
    void EndWord(size_t characters = 0) { unbroken_ = characters; }
    /// A paragraph and its last word end.
    void EndParagraph() { inline_run_ = unbroken_ = 0; }

    /// Nothing more is shown.
    bool Cut() const { return cut_; }
    /// Counts bytes that will be shown, all or none. False when the page has had enough.
    bool Spend(size_t bytes);
    /// Counts as much of a text as may still be shown and returns it; the page is cut after it when that is not all.
    std::string_view SpendSome(std::string_view text, bool preformatted);

  private:
    size_t elements_ = 0, list_items_ = 0, image_tags_ = 0, inline_run_ = 0, unbroken_ = 0, shown_ = 0;
    bool cut_ = false;
};

} // namespace vserver
