#include "compose/send/message_sink.h"

#include "base/fd.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kBlockSize = 64 << 10;
/// What is large already goes out in pieces of this size: after each a stop is looked at.
constexpr size_t kPieceSize = 256 << 10;

/// The place of the first dot from `from` on that starts a line, npos for none.
size_t FindLineDot(std::string_view bytes, size_t from, bool atLineStart) {
    for (size_t dot = bytes.find('.', from); dot != bytes.npos; dot = bytes.find('.', dot + 1))
        if (dot == 0 ? atLineStart : bytes[dot - 1] == '\n')
            return dot;
    return bytes.npos;
}

} // namespace

MessageSink::MessageSink(Stream *wire, int copy, StopPredicate const &stopped)
    : wire_(wire), copy_(copy), stopped_(stopped), block_(std::make_unique_for_overwrite<char[]>(kBlockSize)) {}

void MessageSink::Put(std::string_view bytes) {
    if (bytes.size() > kBlockSize - used_) {
        Flush();
        while (bytes.size() >= kBlockSize) {
            size_t const piece = std::min(bytes.size(), kPieceSize);
            Emit(bytes.substr(0, piece));
            bytes.remove_prefix(piece);
        }
    }
    bytes.copy(block_.get() + used_, bytes.size());
    used_ += bytes.size();
}

void MessageSink::Flush() {
    Emit({block_.get(), used_});
    used_ = 0;
}

void MessageSink::Emit(std::string_view bytes) {
    if (bytes.empty() || stopped_())
        return;
    if (copy_ >= 0 && !copyFailed_)
        copyFailed_ = !WriteAll(copy_, bytes);
    if (wire_ && !wireFailed_)
        wireFailed_ = !SendStuffed(bytes);
    atLineStart_ = bytes.back() == '\n';
}

bool MessageSink::SendStuffed(std::string_view bytes) {
    size_t dot = FindLineDot(bytes, 0, atLineStart_);
    if (dot == bytes.npos)
        return wire_->Write(bytes);
    stuffed_.clear();
    size_t done = 0;
    for (; dot != bytes.npos; dot = FindLineDot(bytes, dot + 1, atLineStart_)) {
        stuffed_.append(bytes, done, dot - done).append(1, '.');
        done = dot;
    }
    stuffed_.append(bytes, done);
    return wire_->Write(stuffed_);
}
