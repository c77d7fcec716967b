#include "profiles/address_book_file.h"

#include "base/fd.h"
#include "base/text.h"
#include "base/utf8.h"
#include "mime/lines.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <process.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kRowWidth = 1000;
constexpr size_t kAddressBytes = 1000;
constexpr size_t kLargestBook = 256 << 20;
constexpr std::string_view kBesideEnd = ".new";

/// `path`'s file name with a dot before and ".new" after it: two leading dots are never a book's.
std::string BesidePath(std::string const &path) {
    size_t const name = path.rfind('/') + 1;
    return path.substr(0, name) + "." + path.substr(name) + std::string(kBesideEnd);
}

/// The whole of a book; nothing when it cannot be opened or read, with errno telling why. What is no file is empty.
std::optional<std::string> ReadBook(std::string const &path) {
    std::optional<std::string> text = ReadRegularFile(path, kLargestBook);
    return text || errno != EINVAL ? std::move(text) : std::string();
}

/// Sorts the lines of a file in place and brings them to disk. False when they may not be whole.
bool Sort(std::string const &file) {
    char const *const path = file.c_str();
    if (spawnl(P_WAIT, "/usr/bin/sort", "/usr/bin/sort", "-o", path, path, nullptr) != 0)
        return false;
    Fd const sorted(open(path, O_RDONLY | O_CLOEXEC));
    return sorted.Valid() && fsync(sorted.Get()) == 0;
}

} // namespace

std::string BookPath(std::string const &root, std::string_view book) { return (root + ".").append(book); }

bool IsBookName(std::string const &root, std::string_view book) {
    constexpr size_t kLongest = NAME_MAX - 2 - kBesideEnd.size();
    if (!IsPlainName(book) || book[0] == '.' || book.size() > kLongest || book.ends_with(".dat.new"))
        return false;
    struct stat status {};
    return stat(BookPath(root, book).c_str(), &status) == 0 ? S_ISREG(status.st_mode) : errno == ENOENT;
}

std::vector<std::string> BookNames(std::string const &root) {
    std::vector<std::string> names{kFirstBook};
    std::unique_ptr<DIR, int (*)(DIR *)> const entries(opendir(root.c_str()), closedir);
    while (dirent const *entry = entries ? readdir(entries.get()) : nullptr) {
        std::string_view const file = entry->d_name;
        bool const may_be = entry->d_type == DT_REG || entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN;
        if (may_be && file[0] == '.' && file.substr(1) != kFirstBook && IsBookName(root, file.substr(1)))
            names.emplace_back(file.substr(1));
    }
    std::sort(names.begin() + 1, names.end());
    return names;
}

std::string LoadBook(std::string const &path) {
    std::optional<std::string> text = ReadBook(path);
    if (!text)
        Fd const made(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
    return std::move(text).value_or("");
}

// kept: the first empty line ends a book
std::vector<std::string_view> BookRows(std::string_view text) {
    std::vector<std::string_view> rows;
    text = text.substr(0, text.find('\0'));
    for (std::string_view row; !(row = TakeLine(text, kRowWidth)).empty();)
        rows.push_back(row);
    return rows;
}

std::string ContactRow(Contact const &contact) {
    std::string row;
    for (std::string const *field : {&contact.name, &contact.address, &contact.note}) {
        row += field == &contact.name ? "" : "\t";
        for (char const byte : *field)
            row += static_cast<unsigned char>(byte) < ' ' || byte == 0x7F ? ' ' : byte;
    }
    return std::string(CutToCharacters(row, kRowWidth - 1));
}

// kept: runs of TABs part the fields, so an empty one moves the later ones up
Contact SplitContact(std::string_view row) {
    std::array<std::string_view, 3> fields;
    for (std::string_view &field : fields) {
        row.remove_prefix(std::min(row.find_first_not_of('\t'), row.size()));
        field = row.substr(0, row.find('\t'));
        row.remove_prefix(field.size());
    }
    return {std::string(fields[0]), std::string(fields[1]), std::string(fields[2])};
}

std::string_view ContactAddress(std::string_view row) {
    size_t const tab = row.find('\t');
    if (tab == row.npos)
        return {};
    std::string_view const rest = row.substr(tab + 1);
    return rest.substr(0, std::min(rest.find('\t'), kAddressBytes));
}

bool AppendToBook(std::string const &path, std::string_view row) {
    std::optional<std::string> text = ReadBook(path);
    if (!text && errno != ENOENT)
        return false; // what cannot be read is not to be replaced
    std::string whole = std::move(text).value_or("");
    if (!whole.empty() && whole.back() != '\n')
        whole += '\n';
    return WriteBook(path, whole.append(row).append("\n"));
}

bool WriteBook(std::string const &path, std::string_view text) {
    std::string const copy = BesidePath(path);
    bool const written = WriteNewFile(copy, text);
    // On a full disk sort may leave a part of what it was given.
    if (written && (Sort(copy) || WriteNewFile(copy, text)) && rename(copy.c_str(), path.c_str()) == 0)
        return true;
    unlink(copy.c_str());
    return false;
}
