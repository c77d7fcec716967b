#include "base/text.h"
#include "net/dots.h"
#include "pop/dialogue.h"
#include "pop/fetch.h"

#include <algorithm>

namespace {

constexpr size_t kUnknownSize = 10000;
/// A header block that does not end is given up after so many bytes.
constexpr size_t kLongestBlock = 64 << 20;

/// Receives a header block to its end mark and keeps its first `most` bytes. False when the connection is lost.
bool ReadBlock(Stream &stream, size_t most, std::string &kept) {
    std::string window = "\r\n"; // the last bytes before a piece, and the piece
    for (size_t total = 0; total < kLongestBlock;) {
        std::string_view const piece = stream.Peek(1);
        if (piece.empty())
            return false;
        size_t const before = window.size();
        window.append(piece);
        size_t const mark = window.find(kEndMark);
        size_t const taken = mark == window.npos ? piece.size() : mark + kEndMark.size() - before;
        kept.append(piece.substr(0, std::min(taken, most - kept.size())));
        stream.Take(taken);
        if (mark != window.npos)
            return true;
        total += taken;
        window.erase(0, window.size() - std::min(window.size(), kEndMark.size() - 1));
    }
    return false;
}

} // namespace

FetchedHeader FetchHeader(Stream &stream, int number) {
    std::string reply;
    PopReply const result = PopAsk(stream, "TOP " + std::to_string(number) + " 0", reply);
    if (result == PopReply::kRefused)
        stream.ReadArrived(kPopReplyWidth);
    if (result != PopReply::kOk)
        return {OutcomeOf(result, reply), {}};
    int32_t const size = DecimalPrefix(std::string_view(reply).substr(std::min<size_t>(reply.size(), 4)));
    FetchedHeader header;
    if (!ReadBlock(stream, size > 0 ? static_cast<size_t>(size) : kUnknownSize, header.text))
        return {ReadFailure(stream), {}};
    return header;
}
