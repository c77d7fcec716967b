#pragma once
// Reads the tags of a page for the cleaner.

#include "markup.h"

#include <algorithm>
#include <string_view>

namespace vserver {

/// Reads tags out of a page, each byte once.
class Reader {
  public:
    explicit Reader(std::string_view page) : page_(page) {}

    bool AtEnd() const { return at_ >= page_.size(); }
    /// The text before the next "<".
    std::string_view Text() { return Take(std::min(page_.find('<', at_), page_.size())); }
    char Peek(size_t ahead) const { return at_ + ahead < page_.size() ? page_[at_ + ahead] : '\0'; }
    void Skip(size_t count) { at_ = std::min(at_ + count, page_.size()); }
    /// The name of a tag, up to a blank, ">" or "/".
    std::string_view Name();
    /// Skips past `end`. False, and nothing is skipped, when it does not come; `missing` remembers that.
    bool SkipBehind(std::string_view end, bool &missing);
    /// Skips to the "</name" that ends an element. False, and nothing is skipped, when it does not come.
    bool SkipContent(std::string_view name, bool &missing);
    /// Reads the attributes of a tag up to and with its ">".
    Attributes ReadAttributes();

  private:
    std::string_view Take(size_t end);
    /// The value after an attribute's name, empty when there is none.
    std::string_view Value();

    std::string_view page_;
    size_t at_ = 0;
    bool no_double_ = false, no_single_ = false; ///< no such quote comes any more
};

} // namespace vserver
