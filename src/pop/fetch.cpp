#include "pop/fetch.h"

#include "base/log.h"
#include "base/spool.h"
#include "base/text.h"
#include "net/dots.h"
#include "pop/dialogue.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <unistd.h>

namespace {

/// A message larger than this is not taken, and a size above it is not believed.
constexpr size_t kLargestMessage = size_t{1} << 30;
/// Up to here the room for a message doubles when it is full, or is as large as announced; then it is the largest at
/// once, of which only what is used takes memory.
constexpr size_t kMostDoubled = 64 << 20;
constexpr size_t kBlockSize = 65536;
constexpr size_t kPieceSize = 10240; ///< of a read that the log lists
constexpr size_t kLeftoverSize = 50; ///< of the first read after the announced size
/// An announced size may count the last line end once more or once less.
constexpr size_t kSizeSlack = 2;
/// How long to wait, once the end mark has come before the announced size was full, whether more does.
constexpr std::chrono::seconds kAfterMark{2};

/// A message whose size the server has told.
class SizedTransfer {
  public:
    SizedTransfer(Stream &stream, int32_t announced)
        : stream_(stream), believed_(static_cast<size_t>(announced) <= kLargestMessage),
          size_(believed_ ? static_cast<size_t>(announced) : 0) {
        body_.reserve(std::min(size_, kMostDoubled) + kLeftoverSize);
    }

    FetchedMessage Run() {
        size_t const end = ReadAnnounced() ? ReadToMark() : std::string::npos;
        if (end == std::string::npos && !atMark_)
            return {ReadFailure(stream_), {}};
        Trim(atMark_ ? body_.size() - (kEndMark.size() - 2) : end);
        return {{}, std::move(body_), true, !atMark_};
    }

  private:
    /// Adds what has come, at most `most` bytes. False when the message ends here because a mark is followed by
    /// nothing (atMark_), or when the connection is lost.
    bool ReadPiece(size_t most) {
        bool const afterMark = EndsInMark(body_);
        if (afterMark)
            stream_.BearSilence(kAfterMark);
        std::string_view const piece = stream_.Peek(1).substr(0, most);
        if (afterMark)
            stream_.BearSilence({});
        atMark_ = piece.empty() && afterMark && stream_.State() == StreamState::kSilent;
        if (body_.size() + piece.size() > body_.capacity() && body_.size() >= kMostDoubled / 2)
            body_.reserve(kLargestMessage + 2 * kBlockSize);
        body_.append(piece);
        stream_.Take(piece.size());
        return !piece.empty();
    }

    /// Reads until the announced size is there. For the log this goes in the pieces that it lists.
    bool ReadAnnounced() {
        bool const logged = VerboseLevel > 0;
        while (body_.size() < size_) {
            size_t const left = size_ - body_.size();
            if (!ReadPiece(logged ? std::min(left, kPieceSize) : left + kLeftoverSize))
                return false;
            if (logged)
                LogDebug(0, "BYTES READ: %d, BYTES LEFT TO READ: %d\n", static_cast<int>(body_.size()),
                         static_cast<int>(size_ - body_.size()));
        }
        return true;
    }

    /// Reads on to the end mark and returns where the text ends in front of it; npos when ReadPiece fails. With a
    /// right size that is a few bytes at most; doubled dots and wrong sizes leave more.
    size_t ReadToMark() {
        size_t const first = size_ > kSizeSlack ? size_ - kSizeSlack : 0;
        size_t from = first;
        size_t end;
        while ((end = FindTextEnd(body_, from)) == std::string::npos) {
            size_t const before = body_.size();
            bool const leftover = before == size_;
            if (before > kLargestMessage + kBlockSize || !ReadPiece(leftover ? kLeftoverSize : kBlockSize))
                return std::string::npos;
            if (leftover && VerboseLevel > 0)
                LogLeftover(before);
            from = std::max(first, before > 2 ? before - 2 : 0);
        }
        return end;
    }

    void LogLeftover(size_t before) const {
        char text[kLeftoverSize + 1];
        size_t const length = CopyText(text, std::string_view(body_).substr(before));
        LogDebug(0, "%d CHARACTERS WERE LEFT OVER: %s\n", static_cast<int>(length), text);
    }

    /// Cuts the transfer to the message. Servers count doubled dots or not, and some count wrong.
    void Trim(size_t end) {
        size_t const length = UndoDots(body_.data(), end);
        // Equal, or short of a line end that the server has added.
        bool const exact = believed_ && size_ <= end && end <= size_ + kSizeSlack;
        body_.resize(exact && length == end ? size_ : length);
    }

    Stream &stream_;
    bool believed_;
    size_t size_;
    std::string body_;
    bool atMark_ = false;
};

/// Copies a transfer of unknown size into the spool until a piece ends in the end mark.
bool FillSpool(Stream &stream, Spool &spool) {
    int64_t received = 0, written = 0;
    LogDebug(0, "We may have a problem, we read %d bytes\n", 0);
    std::string window = "\r\n"; // the reply's line end: an empty message is a mark alone
    while (!window.ends_with(kEndMark)) {
        LogDebug(0, "b4 read\n");
        std::string_view const piece = stream.Peek(1).substr(0, kPieceSize);
        if (piece.empty() || received > static_cast<int64_t>(kLargestMessage))
            return false;
        received += static_cast<int64_t>(piece.size());
        LogDebug(0, "rcount = %i, wcount = %i\n", static_cast<int>(received), static_cast<int>(written));
        spool.Write(piece);
        written += static_cast<int64_t>(piece.size());
        LogDebug(0, "after write\n");
        LogDebug(0, "*** WROTE %d BYTES TO PIPE\n", static_cast<int>(piece.size()));
        if (VerboseLevel > 1)
            LogDebug(1, "Here is the rest: %s\n", std::string(piece).c_str());
        window.append(piece.substr(piece.size() - std::min(piece.size(), kEndMark.size())));
        window.erase(0, window.size() - std::min(window.size(), kEndMark.size()));
        stream.Take(piece.size());
    }
    return true;
}

/// A message whose reply names no size.
FetchedMessage TakeUnsized(Stream &stream) {
    Spool spool("/tmp/Corvanta-" + std::to_string(getpid()), Spool::kGoesAtOnce);
    if (!FillSpool(stream, spool))
        return {ReadFailure(stream), {}};
    FetchedMessage message;
    long const size = spool.Size();
    message.text.resize(static_cast<size_t>(std::max(0L, size)));
    if (size < 0 || !spool.ReadBack(message.text.data(), message.text.size()))
        return {Failed("The message could not be kept on the disk"), {}};
    LogDebug(1, "msg size = %d\n", static_cast<int>(message.text.size()));
    // kept: the end mark stays in the text.
    message.text.resize(UndoDots(message.text.data(), message.text.size()));
    return message;
}

/// What came instead of a message. More of it may be there already; that is not waited for.
void LogRefusal(Stream &stream, std::string reply) {
    if (std::string_view const rest = stream.ReadArrived(kPopReplyWidth - 1); !rest.empty())
        reply = rest;
    reply.resize(std::max<size_t>(reply.size(), 4));
    LogError("ERROR READING MESSAGE, got: %s (or %d %d %d %d)", reply.c_str(), static_cast<signed char>(reply[0]),
             static_cast<unsigned char>(reply[1]), static_cast<unsigned char>(reply[2]),
             static_cast<unsigned char>(reply[3]));
}

} // namespace

FetchedMessage FetchMessage(Stream &stream, int number) {
    std::string const command = "RETR " + std::to_string(number);
    std::string reply;
    LogDebug(0, "Client: %s\r\n", command.c_str());
    PopReply const result = PopAsk(stream, command, reply);
    if (result == PopReply::kRefused)
        LogRefusal(stream, reply);
    if (result != PopReply::kOk)
        return {OutcomeOf(result, reply), {}};
    size_t const digit = reply.find_first_of("0123456789", 1);
    if (digit == std::string::npos)
        return TakeUnsized(stream);
    int32_t const size = DecimalPrefix(std::string_view(reply).substr(digit));
    LogDebug(0, "Msg has %d bytes, j is %d", size, static_cast<int>(digit));
    try {
        return SizedTransfer(stream, size).Run();
    } catch (std::bad_alloc const &) {
        return {Lost("The message is too large for this machine's memory"), {}};
    }
}
