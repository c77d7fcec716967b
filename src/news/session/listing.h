#pragma once
// The rows that a server's stored group list (RFC 3977 7.6.3) makes in dlgNews.

#include <cstddef>
#include <string_view>

constexpr size_t kLongestListedName = 498;

/// Turns a stored group list into rows, one after another. A row is a blank, a tab and the bytes of a line up to and
/// with its first blank, or up to a zero byte; the rest of the line is skipped. A line without a blank runs on into
/// the next ones, and then names no group unless it is the last.
class ListingReader {
  public:
    /// `listing` must stay while this reads.
    explicit ListingReader(std::string_view listing) : rest_(listing) {}

    /// The next row of a group, terminated, valid until the next call; null at the end. Passed over: rows of 3
    /// characters or less, names of more than kLongestListedName bytes, and such as cannot be a file's. A group of
    /// more than 199 bytes cannot be subscribed to (IsGroupName).
    char const *Next();

  private:
    static constexpr size_t kRowWidth = 2 + kLongestListedName + 2; // mark, tab, name, blank, end

    void Take();

    std::string_view rest_;
    size_t length_ = 0;
    char row_[kRowWidth] = " \t";
};

/// The group that a row of dlgNews stands for: its text from the third character on.
std::string_view GroupOfRow(std::string_view row);
