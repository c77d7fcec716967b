#pragma once
// The whitelist cleaner: turns a page of unknown origin into one that can only show text, tables and named images.
// No Qt, no system calls; runs in a worker, since the page may be anybody's.

#include <string>
#include <string_view>
#include <vector>

namespace vserver {

// What a page may cost its reader. Qt's layout takes twice as long for each level of table around a text, goes
// through all items of a list for each new one and all images and formats of a paragraph for each, looks for the end
// of a word over and over, keeps a table as a grid of rows by columns and each preformatted line as a paragraph,
// takes writing that is not ASCII apart into pieces, and gives a text without width a line for each word.
constexpr size_t kMaxNesting = 64;          ///< open elements
constexpr size_t kMaxIndents = 6;           ///< lists and quotations in each other
constexpr size_t kMaxTableNesting = 4;      ///< tables in each other
constexpr size_t kMaxElements = 200'000;    ///< tags kept in a page
constexpr size_t kMaxShownText = 4u << 20;  ///< cost of text and addresses, 1 for a plain character
constexpr size_t kOtherCost = 4;            ///< of a byte that is not printable ASCII
constexpr size_t kEntityCost = 8;           ///< of a "&", which may stand for anything
constexpr size_t kLineCost = 20;            ///< of the end of a preformatted line
constexpr size_t kMaxListItems = 2'000;     ///< in all lists together
constexpr size_t kMaxImageTags = 1'000;     ///< images shown, the same one counted each time
constexpr size_t kMaxUnbroken = 1'000;      ///< characters without a blank; then a line break is put in
constexpr size_t kMaxInlineRun = 10'000;    ///< tags within one paragraph
constexpr size_t kMaxColumns = 64;          ///< cells in a row
constexpr size_t kMaxTableCost = 1'000'000; ///< that of text + 50 per grid cell, doubled with each level
constexpr size_t kGridCellCost = 50;

struct CleanPage {
    std::string html;                ///< UTF-8; images are "img:<n>", missing ones "frame:<width>x<height>"
    std::vector<std::string> images; ///< the file name of image n, each name once, at most kMaxImages
};

/// Cleans a page of any bytes in linear time. Kept are the elements of HTML 3.2 that lay out text, with harmless
/// attributes and clamped sizes; links only to http, https and mailto; images only by a plain file name. Script,
/// style, embedded objects and comments go with their content, other tags go alone. Bytes that are not UTF-8 are
/// Latin-1. Tables beyond the limits lose their tags and keep their text; a page that is too long ends with a line
/// that says so.
CleanPage CleanHtml(std::string_view bytes);

/// True when `name` may be opened as an image beside its page: one path component without ":" (a scheme), "/", "\"
/// or control characters, not "." or "..", at most 255 bytes.
bool IsPlainImageName(std::string_view name);

} // namespace vserver
