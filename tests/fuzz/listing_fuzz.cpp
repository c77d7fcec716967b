// sources: src/news/session/listing.cpp
// Any bytes as a server's group list: every row is a mark and a name that may be a file's, its group stands in
// the list, and there are no more rows than lines.

#include "fuzz_input.h"

#include "base/text.h"
#include "news/session/listing.h"

#include <algorithm>
#include <vector>

FUZZ(listing) {
    std::vector<char> const bytes(data, data + size); // in a block of exactly its size
    std::string_view const listing(bytes.data(), bytes.size());
    auto const lines = static_cast<size_t>(std::count(bytes.begin(), bytes.end(), '\n')) + 1;
    ListingReader reader(listing);
    size_t rows = 0, from = 0;
    while (char const *const text = reader.Next()) {
        std::string_view const row(text), group = GroupOfRow(row);
        Require(row.starts_with(" \t") && row.size() > 3 && group.size() <= kLongestListedName + 1 &&
                IsPlainName(group.substr(0, group.find_last_not_of(' ') + 1)));
        from = listing.find(group, from);
        Require(from != listing.npos && group.find('\n') == group.npos && ++rows <= lines);
        from += group.size();
    }
}
