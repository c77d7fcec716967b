#include "mime/block_writer.h"

#include "base/fd.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kFirstBlock = 8192;
constexpr size_t kLargestBlock = 256 * 1024; ///< stays in the second-level cache

} // namespace

void BlockWriter::Grow(size_t needed) {
    size_t const capacity = std::max({kFirstBlock, std::min(capacity_ * 4, kLargestBlock), used_ + needed});
    auto block = std::make_unique_for_overwrite<char[]>(capacity);
    if (used_)
        memcpy(block.get(), block_.get(), used_);
    block_ = std::move(block);
    capacity_ = capacity;
}

char *BlockWriter::Room(size_t size) {
    if (Free() < size) {
        if (capacity_ >= kLargestBlock)
            Flush();
        else
            Grow(size);
    }
    return block_.get() + used_;
}

void BlockWriter::Put(std::string_view bytes) {
    if (bytes.size() > kLargestBlock / 2) {
        // Large pieces go out from where they lie.
        failed_ = !Flush() || !WriteAll(descriptor_, bytes);
        return;
    }
    while (!bytes.empty()) {
        char *const place = Room(std::min(bytes.size(), kMostRoom));
        size_t const piece = std::min(bytes.size(), Free());
        memcpy(place, bytes.data(), piece);
        Used(piece);
        bytes.remove_prefix(piece);
    }
}

bool BlockWriter::Flush() {
    if (!failed_ && used_ && !WriteAll(descriptor_, {block_.get(), used_}))
        failed_ = true;
    used_ = 0;
    return !failed_;
}
