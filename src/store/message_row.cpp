#include "store/message_row.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "mime/headers.h"
#include "store/index_file.h"

#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace {

constexpr size_t kRowText = 5000; ///< what a row is made from, and a terminator

struct Row {
    char text[kRowWidth + 1] = ""; ///< one more than a record has, for the terminator
};

std::optional<Row> RowOfFile(std::string const &path) {
    Fd const message(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status;
    if (!message.Valid() || fstat(message.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    char start[kRowText];
    long const got = ReadAll(message.Get(), start, sizeof start - 1);
    if (got < 0)
        return std::nullopt;
    start[got] = 0;
    Row row;
    FormatHeaderRow(start, row.text, sizeof row.text);
    return row;
}

} // namespace

char const *ReadMessageRow(char const *profile, char const *folder, int32_t number, char *row) {
    if (!IsPlainName(profile) || !IsPlainName(folder))
        return "";
    std::optional<Row> const read = RowOfFile(MessagePath(FolderDirectory(profile, folder), number));
    if (!read)
        return "";
    memset(row, 0, kRowWidth);
    memcpy(row, read->text, strlen(read->text));
    return row;
}

bool RecordOfMessage(std::string_view path, int32_t number, IndexRecord &record) {
    std::string const file = MessagePath(path, number);
    struct stat status;
    if (stat(file.c_str(), &status) != 0)
        return false;
    // A message that cannot be read now is still there: it keeps its place in the list.
    record = MakeRecord(number, 0, RowOfFile(file).value_or(Row()).text);
    return true;
}
