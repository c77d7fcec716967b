#include "news/session/listing.h"

#include "base/text.h"

#include <algorithm>

namespace {

constexpr size_t kMarkWidth = 2; // the subscription mark and the tab after it
constexpr size_t kShortestRow = 4;

bool IsListed(std::string_view group) {
    size_t const length = group.find_last_not_of(' ') + 1;
    return length <= kLongestListedName && IsPlainName(group.substr(0, length));
}

} // namespace

/// Takes one line off the list and makes a row of it.
void ListingReader::Take() {
    size_t const end = std::min(rest_.find_first_of(std::string_view(" \0", 2)), rest_.size());
    bool const blank = end < rest_.size() && rest_[end] == ' ';
    size_t const taken = std::min(end + blank, kRowWidth - 1 - kMarkWidth);
    rest_.copy(row_ + kMarkWidth, taken);
    length_ = kMarkWidth + taken;
    row_[length_] = 0;
    size_t const lineEnd = rest_.find('\n', end);
    rest_.remove_prefix(std::min(lineEnd, rest_.size() - 1) + 1);
}

char const *ListingReader::Next() {
    while (!rest_.empty()) {
        Take();
        std::string_view const row(row_, length_);
        if (row.size() >= kShortestRow && IsListed(GroupOfRow(row)))
            return row_;
    }
    return nullptr;
}

std::string_view GroupOfRow(std::string_view row) { return row.substr(std::min(kMarkWidth, row.size())); }
