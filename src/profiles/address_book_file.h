#pragma once
// Address books: text files ConfigRoot/.<book> with one contact a line. docs/formats.md has them byte by byte.

#include <string>
#include <string_view>
#include <vector>

/// One line of a book: three fields joined by TABs.
struct Contact {
    std::string name, address, note;
};

/// The book that is shown first.
constexpr char kFirstBook[] = "global";

/// ConfigRoot/.<book>; `root` ends in a slash and the name has passed IsBookName.
std::string BookPath(std::string const &root, std::string_view book);

/// True when a file in `root` may be, or become, the book of this name: a plain, unhidden name that leaves room for
/// what is put around it, is not one of the files that saving a profile leaves after a crash, and is not taken by
/// something other than a file (".tmp" is the scratch directory).
bool IsBookName(std::string const &root, std::string_view book);

/// The books that are there, sorted by their bytes, after kFirstBook, which is always offered.
std::vector<std::string> BookNames(std::string const &root);

/// The text of a book. One that cannot be opened is created empty (mode 0600). Empty, too, for what is no regular
/// file or over 256 MB.
std::string LoadBook(std::string const &path);

/// The rows of a book's text, which must outlive them: its lines without their LF; a line of more than 999 bytes is
/// several. A NUL and an empty line end the book: what comes after it is not shown.
std::vector<std::string_view> BookRows(std::string_view text);

/// The fields as a row: control characters become blanks, and what does not fit a row of 999 bytes is cut after a
/// whole UTF-8 character (RFC 3629).
std::string ContactRow(Contact const &contact);

/// The fields of a row. Runs of TABs part them, so an empty field moves the later ones up; a fourth one is dropped.
Contact SplitContact(std::string_view row);

/// The address in a row: what stands between its first TAB and the next, at most 1000 bytes. Empty without a TAB.
std::string_view ContactAddress(std::string_view row);

/// Appends a line to the book, which need not be there, and sorts it. False when that fails; the book stays as it was
/// then.
bool AppendToBook(std::string const &path, std::string_view row);

/// Makes the lines of `text` the book: written beside it first (as "..<book>.new", mode 0600), sorted there by
/// /usr/bin/sort by the rules of the user's locale, brought to disk, renamed. Where they cannot be sorted they stay
/// in their order. False when the file cannot be written; the book stays as it was then.
bool WriteBook(std::string const &path, std::string_view text);
