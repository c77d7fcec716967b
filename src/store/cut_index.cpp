#include "store/cut_index.h"

#include "store/convert.h"
#include "store/index_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace {

/// The number that the name of a message's file says; 0 for any other name.
int32_t NumberOfName(std::string_view name) {
    int32_t number = 0;
    auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    bool const whole = error == std::errc() && end == name.data() + name.size();
    return whole && number > 0 && name[0] != '0' ? number : 0;
}

/// Whether an index with fewer records than numbers, the last of which is `last`, has lost some: a conversion and
/// wasted numbers leave such an index, too.
bool LostRecords(std::string_view path, IndexState const &state, int32_t last) {
    bool const deleted = state.records > 0 && last == 0;
    bool const missing = !deleted && last < state.lastNumber - 1;
    bool const unlisted = last != state.lastNumber && HasText(path, state.lastNumber);
    return (missing || unlisted) && !IsFreshConversion(path, state);
}

} // namespace

bool IsCut(int descriptor, std::string_view path) {
    IndexState state;
    if (!ReadIndexState(descriptor, state))
        return false;
    bool const torn = state.size < kIndexHeaderSize || state.size != EndOfRecords(state.records);
    if (torn || state.lastNumber < 0)
        return true;
    if (state.records >= state.lastNumber)
        return false;
    IndexRecord record{};
    if (state.records > 0 && !ReadIndexRecord(descriptor, state.records - 1, record))
        return false;
    return LostRecords(path, state, RecordNumber(record));
}

std::optional<std::vector<int32_t>> StoredNumbers(std::string_view path) {
    std::unique_ptr<DIR, int (*)(DIR *)> const entries(opendir(std::string(path).c_str()), closedir);
    if (!entries)
        return std::nullopt;
    std::vector<int32_t> numbers;
    errno = 0;
    while (dirent const *entry = readdir(entries.get()))
        if (int32_t const number = NumberOfName(entry->d_name))
            numbers.push_back(number);
    if (errno != 0)
        return std::nullopt;
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

bool HasText(std::string_view path, int32_t number) {
    struct stat status;
    return lstat(MessagePath(path, number).c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
}
