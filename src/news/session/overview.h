#pragma once
// One line of a group's overview (RFC 3977 8.3): number, subject, author, date, Message-ID, references, bytes, lines,
// separated by tabs.

#include <cstdint>
#include <optional>
#include <string_view>

/// Of a longer line only this many bytes count.
constexpr size_t kOverviewWidth = 5000;

/// Pieces of the line, empty where it has none.
struct OverviewLine {
    std::optional<int32_t> number;
    std::string_view row;        ///< from the first tab on, as the header list shows it; without a tab all
    std::string_view messageId;  ///< the fifth field
    std::string_view references; ///< the sixth field
};

/// Takes a line apart. It ends before its first CR or NUL, at the latest after kOverviewWidth bytes.
OverviewLine ParseOverviewLine(std::string_view line);

/// The Message-ID of the article that this one answers, the last one of its references; empty for none.
std::string_view ParentOf(std::string_view references);
