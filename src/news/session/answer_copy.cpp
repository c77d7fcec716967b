#include "news/session/answer_copy.h"

#include "base/fd.h"
#include "base/text.h"
#include "news/session/nntp.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

constexpr std::string_view kEndMark = "\r\n.\r\n";
constexpr size_t kBlockSize = 256 * 1024;
constexpr size_t kNumberLineWidth = 199;
/// Short numbers take more room in the file than in the answer, but there are few of them: many empty lines are no
/// list of numbers, and would fill the disk.
constexpr size_t kSpare = 1 << 20;

/// Appends what `piece` adds to `block`. True when the end mark has come, in one piece or across two.
bool TakePiece(std::string &block, std::string_view piece) {
    size_t const before = std::min(block.size(), kEndMark.size() - 1);
    size_t const from = block.size() - before;
    block.append(piece);
    return block.find(kEndMark, from) != std::string::npos;
}

/// Writes `block` from `from` on, but for its last `keep` bytes, which stay in it.
bool WriteBlock(int file, std::string &block, size_t from, size_t keep) {
    size_t const end = block.size() - std::min(block.size(), keep);
    bool const written = end <= from || WriteAll(file, std::string_view(block).substr(from, end - from));
    block.erase(0, end);
    return written;
}

void AppendNumber(std::string &block, int32_t number) {
    for (int shift = 0; shift < 32; shift += 8)
        block += static_cast<char>(static_cast<uint32_t>(number) >> shift & 0xff);
}

Outcome TooLarge() { return Failed("The news server's answer is too large"); }

} // namespace

Outcome CopyBody(Stream &stream, int file, size_t piece, size_t cut) {
    size_t const most = stream.Received() + kLargestAnswer;
    // The end of the status line may start the mark: an answer without any line is "." alone.
    std::string block = "\r\n";
    size_t foreign = block.size();
    for (;;) {
        std::string_view const some = stream.ReadSome(piece);
        bool const marked = TakePiece(block, some);
        bool const over = marked || some.empty();
        if (over || block.size() >= kBlockSize) {
            // Held back while more may come: what is cut off in the end, or starts a mark.
            size_t const keep = marked ? cut : some.empty() ? 0 : std::max(cut, kEndMark.size());
            if (!WriteBlock(file, block, foreign, keep))
                return Failed("The news server's answer could not be stored");
            foreign = 0;
        }
        if (over)
            return marked ? Outcome() : NewsLoss(stream.Stopped());
        if (stream.Received() > most)
            return TooLarge();
    }
}

Outcome CopyNumbers(Stream &stream, int file) {
    size_t const before = stream.Received();
    size_t bytes = 0;
    std::string block;
    for (std::string_view line; stream.ReadLine(line, kNumberLineWidth);) {
        bool const over = line == ".";
        if (!over)
            AppendNumber(block, DecimalPrefix(line));
        if (over || block.size() >= kBlockSize) {
            // A short list is found out when it is used.
            if (file >= 0 && !WriteBlock(file, block, 0, 0))
                file = -1;
            block.clear();
        }
        if (over)
            return {};
        bytes += sizeof(int32_t);
        size_t const received = stream.Received() - before;
        if (received > kLargestAnswer || bytes > received + kSpare)
            return TooLarge();
    }
    return NewsLoss(stream.Stopped());
}
