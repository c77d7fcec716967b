#include "compose/send/message_sink.h"

#include "base/fd.h"
#include "net/dots.h"

#include <algorithm>

namespace {

constexpr size_t kBlockSize = 64 << 10;
/// What is large already goes out in pieces of this size: after each a stop is looked at.
constexpr size_t kPieceSize = 256 << 10;

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
        wireFailed_ = !wire_->Write(DoubleDots(bytes, atLineStart_, dotted_));
}
