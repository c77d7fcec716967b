// Any bytes as an index, and as an index of earlier versions: the folder opens, takes a message under a number that
// no message has, gives it back whole and deletes it again.

#include "fuzz_input.h"

#include "store/convert.h"
#include "store/folder.h"
#include "store/index_file.h"

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char kStored[] = "Subject: stored before\r\n\r\nbody\r\n";
constexpr char kMessage[] = "Subject: new\r\n\r\nbody\r\n";

void WriteBytes(std::string const &path, std::string_view bytes) {
    Fd const file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    Require(WriteAll(file.Get(), bytes));
}

bool HoldsMessage(char const *path, int32_t number, char const *text) {
    char *const read = ReadMessageFile(path, number, 1, nullptr);
    bool const same = read && strcmp(read, text) == 0;
    free(read);
    return same;
}

void UseFolder(char const *path) {
    size_t records = 0;
    Require(ReadFolderIndex(path, [&](IndexRecord const &record) { records += record.number != 0; }));
    int32_t const number = AppendMessage(path, kMessage);
    Require(HoldsMessage(path, 3, kStored));
    if (number < 0)
        return; // the numbers are used up
    Require(number != 3 && HoldsMessage(path, number, kMessage));
    size_t after = 0;
    int32_t last = 0;
    Require(ReadFolderIndex(path, [&](IndexRecord const &record) {
        after++;
        last = record.number;
    }));
    Require(after == records + 1 && last == number);
    DeleteMessage(path, number);
    unlink(MessagePath(path, number).c_str()); // the index may have held that number before
}

} // namespace

FUZZ(index) {
    std::string const &path = FuzzDirectory();
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    WriteBytes(path + "3", kStored);
    WriteBytes(path + "index2", bytes);
    UseFolder(path.c_str());

    WriteBytes(path + "index", bytes);
    unlink((path + "index2").c_str());
    Require(ConvertIndexAt(path) == 0);
    UseFolder(path.c_str());
    unlink((path + "index").c_str());
}
