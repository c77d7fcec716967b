#include "news/answer_copy.h"

#include "base/fd.h"
#include "base/text.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

constexpr std::string_view kEndMark = "\r\n.\r\n";
constexpr size_t kBlockSize = 256 * 1024;
constexpr size_t kNumberLineWidth = 199;

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

} // namespace

char const *ReasonOf(AnswerEnd end) {
    switch (end) {
    case AnswerEnd::kTooLarge:
        return "The news server's answer is too large";
    case AnswerEnd::kNotStored:
        return "The news server's answer could not be stored";
    default:
        return "Lost the connection to the news server";
    }
}

AnswerEnd CopyBody(NntpReader &reader, int file, size_t piece, size_t cut) {
    // The end of the status line may begin the mark: an answer without any line is "." alone.
    std::string block = "\r\n";
    size_t foreign = block.size();
    for (;;) {
        std::string_view const some = reader.ReadSome(piece);
        bool const marked = TakePiece(block, some);
        bool const over = marked || some.empty();
        if (over || block.size() >= kBlockSize) {
            // Held back while more may come: what is cut off in the end, or begins a mark.
            size_t const keep = marked ? cut : some.empty() ? 0 : std::max(cut, kEndMark.size());
            if (!WriteBlock(file, block, foreign, keep))
                return AnswerEnd::kNotStored;
            foreign = 0;
        }
        if (over)
            return marked ? AnswerEnd::kMark : AnswerEnd::kLost;
        if (reader.Received() > kLargestAnswer)
            return AnswerEnd::kTooLarge;
    }
}

AnswerEnd CopyNumbers(NntpReader &reader, int file) {
    std::string block;
    for (std::string_view line; reader.ReadLine(line, kNumberLineWidth);) {
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
            return AnswerEnd::kMark;
        if (reader.Received() > kLargestAnswer)
            return AnswerEnd::kTooLarge;
    }
    return AnswerEnd::kLost;
}
