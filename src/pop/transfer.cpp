#include "pop/transfer.h"

#include "net/line_io.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr size_t kFirstRoom = 65536;
constexpr size_t kSpare = 20; ///< zero bytes behind a text
constexpr std::string_view kMark = "\r\n.\r\n";
constexpr std::string_view kDoubled = "\r\n..";

} // namespace

bool Pace::Holds(size_t received, Clock::time_point now) {
    if (received - before_ >= kBytes) {
        before_ = received;
        since_ = now;
    }
    return now - since_ < kTime;
}

bool Transfer::MakeRoom(size_t most) {
    size_t const needed = used_ + std::min(most, kFirstRoom / 4) + kSpare;
    if (needed <= room_)
        return true;
    size_t const room = std::min(std::max(kFirstRoom, room_ * 2), used_ + most + kSpare);
    char *const larger = static_cast<char *>(realloc(block_.get(), room));
    if (!larger)
        return false;
    // realloc has freed or kept the old block: only the new one is owned from here on.
    static_cast<void>(block_.release());
    block_.reset(larger);
    room_ = room;
    return true;
}

bool Transfer::Start(std::string_view come) {
    if (come.empty())
        return true;
    if (!MakeRoom(come.size()))
        return false;
    come.copy(block_.get(), come.size());
    used_ = come.size();
    return true;
}

int Transfer::Read(size_t most, int seconds) {
    if (!MakeRoom(most)) {
        errno = ENOMEM;
        return -1;
    }
    int const got = ReadServerBytes(socket_, block_.get() + used_,
                                    static_cast<int>(std::min(most, room_ - used_ - kSpare)), seconds);
    if (got > 0)
        used_ += static_cast<size_t>(got);
    if (got > 0 && !pace_.Holds(used_)) {
        errno = ECONNABORTED;
        return -1;
    }
    return got;
}

char *Transfer::Release(size_t length) {
    if (!block_ && !MakeRoom(0))
        return nullptr;
    memset(block_.get() + length, 0, kSpare);
    used_ = room_ = 0;
    return block_.release();
}

size_t CountDoubledDots(std::string_view text) {
    size_t count = text.starts_with("..") ? 1 : 0;
    char const *from = text.data();
    char const *const end = from + text.size();
    while (void const *const found =
               memmem(from, static_cast<size_t>(end - from), kDoubled.data(), kDoubled.size())) {
        count++;
        from = static_cast<char const *>(found) + kDoubled.size();
    }
    return count;
}

size_t UndoDots(char *text, size_t length) {
    char const *from = text;
    char const *const end = text + length;
    char *to = text;
    if (length >= 2 && text[0] == '.' && text[1] == '.')
        from++;
    while (from < end) {
        void const *const found = memmem(from, static_cast<size_t>(end - from), kDoubled.data(), kDoubled.size());
        size_t const whole = static_cast<size_t>(found ? static_cast<char const *>(found) + 3 - from : end - from);
        if (to != from)
            memmove(to, from, whole);
        to += whole;
        from += whole + (found ? 1 : 0);
    }
    return static_cast<size_t>(to - text);
}

bool EndsInMark(std::string_view bytes) { return bytes.ends_with(kMark) || bytes == kMark.substr(2); }

size_t FindTextEnd(std::string_view bytes, size_t from) {
    size_t const start = from >= 2 ? from - 2 : 0;
    if (start == 0 && bytes.starts_with(kMark.substr(2)))
        return 0;
    if (start >= bytes.size())
        return std::string_view::npos;
    void const *const found = memmem(bytes.data() + start, bytes.size() - start, kMark.data(), kMark.size());
    return found ? static_cast<size_t>(static_cast<char const *>(found) - bytes.data()) + 2 : std::string_view::npos;
}
