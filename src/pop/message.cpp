#include "pop/message.h"

#include "base/fd.h"
#include "base/log.h"
#include "base/text.h"
#include "net/address.h"
#include "net/line_io.h"
#include "net/session_lock.h"
#include "pop/pop_login.h"
#include "pop/transfer.h"
#include "widgets/server_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A message larger than this is not taken, and a size above it is not believed.
constexpr size_t kLargestMessage = size_t{1} << 30;
constexpr size_t kLeftoverSize = 50;
constexpr size_t kBlockSize = 65536;
/// How long to wait, once the end mark has come before the announced size was full, whether more does.
constexpr int kAfterMarkSeconds = 2;

/// One piece of a transfer. False when the message ends here because a mark is followed by nothing (`atMark`), or
/// when the connection is lost.
bool ReadPiece(Transfer &body, size_t most, bool &atMark) {
    atMark = EndsInMark(body.Bytes());
    int const got = body.Read(most, atMark ? kAfterMarkSeconds : kSilenceSeconds);
    atMark = atMark && got < 0 && errno == ETIMEDOUT;
    return got > 0;
}

/// Reads until `size` bytes are there. For the log this goes in the pieces that it lists, else the end of the
/// transfer comes along with the last bytes.
bool ReadAnnounced(Transfer &body, size_t size, bool &atMark) {
    bool const logged = VerboseLevel > 0;
    while (body.Size() < size) {
        size_t const left = size - body.Size();
        if (!ReadPiece(body, logged ? std::min(left, size_t{kPieceSize}) : left + kLeftoverSize, atMark))
            return false;
        if (logged)
            LogDebug(0, "BYTES READ: %d, BYTES LEFT TO READ: %d\n", static_cast<int>(body.Size()),
                     static_cast<int>(size - body.Size()));
    }
    return true;
}

/// Reads on to the end mark and returns where the text ends before it; npos when the connection is lost. With a
/// right size that is one read of a few bytes at most; doubled dots and wrong sizes leave more.
size_t ReadToMark(Transfer &body, size_t size, bool &atMark) {
    size_t from = size;
    size_t end;
    while ((end = FindTextEnd(body.Bytes(), from)) == std::string_view::npos) {
        size_t const before = body.Size();
        // The first of these reads takes no more than the rest of a well-announced message.
        size_t const most = before == size ? kLeftoverSize : kBlockSize;
        if (before > kLargestMessage + kBlockSize || !ReadPiece(body, most, atMark))
            return std::string_view::npos;
        if (most == kLeftoverSize && VerboseLevel > 0) {
            char text[kLeftoverSize + 1];
            size_t const length = CopyText(text, body.Bytes().substr(before));
            LogDebug(0, "%d CHARACTERS WERE LEFT OVER: %s\n", static_cast<int>(length), text);
        }
        from = std::max(size, before > 2 ? before - 2 : 0);
    }
    return end;
}

/// Receives a message whose size the server has told. The size counts when the end mark follows it, and only then:
/// servers count doubled dots or not, and some count wrong. `come` is what has come with the reply.
char *SizedTransfer(int socket, std::string_view come, int32_t announced, size_t &length) {
    bool const believed = static_cast<size_t>(announced) <= kLargestMessage;
    size_t const size = believed ? static_cast<size_t>(announced) : 0;
    Transfer body(socket);
    bool atMark = false;
    size_t end = std::string_view::npos;
    if (body.Start(come) && ReadAnnounced(body, size, atMark))
        end = ReadToMark(body, size, atMark);
    if (atMark)
        end = body.Size() - 3;
    if (end == std::string_view::npos)
        return nullptr;
    // Equal, or short of a line end that the server has added. As short as there are doubled dots means that the size
    // is the message's and not the transfer's.
    bool const exact = believed && size <= end && end <= size + 2;
    length = size;
    if (!exact || size != end) {
        size_t const dots = CountDoubledDots(body.Bytes().substr(0, end));
        if (!exact || (dots > 0 && size + dots == end))
            length = UndoDots(body.Data(), end);
    }
    return body.Release(length);
}

/// The file through which a message of unknown size goes. It loses its name at once, which all sessions of the
/// process share, and lives as long as its descriptor: however the program ends, nothing of it stays.
class Spool {
  public:
    Spool() {
        char path[40];
        PrintText(path, sizeof path, "/tmp/Corvanta-%d", static_cast<int>(getpid()));
        static std::mutex making; // another session would make its own between the calls
        std::lock_guard const lock(making);
        unlink(path);
        file_ = Fd(open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        whole_ = file_.Valid() && unlink(path) == 0;
    }

    void Write(std::string_view bytes) { whole_ = whole_ && WriteAll(file_.Get(), bytes); }

    /// The size of what was written; -1 when some of it could not be.
    long Size() const {
        struct stat status {};
        return whole_ && fstat(file_.Get(), &status) == 0 ? static_cast<long>(status.st_size) : -1;
    }
    bool ReadBack(char *buffer, size_t size) {
        return lseek(file_.Get(), 0, SEEK_SET) == 0 && ReadAll(file_.Get(), buffer, size) == static_cast<long>(size);
    }

  private:
    Fd file_;
    bool whole_ = false;
};

/// Copies the transfer into the spool, `come` first, until a piece ends in the end mark. False when the connection is
/// lost.
bool FillSpool(int socket, std::string_view come, Spool &spool) {
    int64_t received = 0, written = 0;
    Pace pace;
    LogDebug(0, "We may have a problem, we read %d bytes\n", 0);
    char buffer[kPieceSize + 1];
    char window[5] = {0, 0, 0, '\r', '\n'}; // the reply's line end: an empty message is a mark alone
    while (memcmp(window, "\r\n.\r\n", sizeof window) != 0) {
        LogDebug(0, "b4 read\n");
        int const got = come.empty() ? ReadServerBytes(socket, buffer, kPieceSize)
                                     : static_cast<int>(come.copy(buffer, kPieceSize));
        come = {};
        if (got <= 0 || received > static_cast<int64_t>(kLargestMessage))
            return false;
        buffer[got] = 0;
        received += got;
        if (!pace.Holds(static_cast<size_t>(received)))
            return false;
        LogDebug(0, "rcount = %i, wcount = %i\n", static_cast<int>(received), static_cast<int>(written));
        spool.Write({buffer, static_cast<size_t>(got)});
        written += got;
        LogDebug(0, "after write\n");
        LogDebug(0, "*** WROTE %d BYTES TO PIPE\n", got);
        LogDebug(1, "Here is the rest: %s\n", buffer);
        size_t const fresh = std::min<size_t>(static_cast<size_t>(got), sizeof window);
        memmove(window, window + fresh, sizeof window - fresh);
        memcpy(window + sizeof window - fresh, buffer + got - fresh, fresh);
    }
    return true;
}

/// Receives a message whose reply names no size. Sets `lost` when the connection is.
char *UnsizedTransfer(int socket, std::string_view come, bool &lost, size_t &length) {
    Spool spool;
    lost = !FillSpool(socket, come, spool);
    long const size = lost ? -1 : spool.Size();
    if (size < 0)
        return nullptr;
    LogDebug(1, "msg size = %d\n", static_cast<int>(size));
    auto *const text = static_cast<char *>(calloc(static_cast<size_t>(size) + 20, 1));
    if (!text || !spool.ReadBack(text, static_cast<size_t>(size))) {
        free(text);
        return nullptr;
    }
    length = UndoDots(text, static_cast<size_t>(size));
    memset(text + length, 0, static_cast<size_t>(size) - length);
    return text;
}

/// What came instead of a message. More of it may be there already; nobody waits for that.
void LogRefusal(int socket, std::string_view come, char *reply) {
    if (come.copy(reply, kReplyWidth - 1) == 0)
        ReadServerBytes(socket, reply, kReplyWidth - 1, 0);
    LogError("ERROR READING MESSAGE, got: %s (or %d %d %d %d)", reply, static_cast<signed char>(reply[0]),
             static_cast<unsigned char>(reply[1]), static_cast<unsigned char>(reply[2]),
             static_cast<unsigned char>(reply[3]));
}

/// RETR on a connection that is logged in.
char *Retrieve(int number, MailProfile &profile, size_t &length) {
    int const socket = profile.serverSocket;
    char command[40];
    PrintText(command, sizeof command, "RETR %d\r\n", number);
    bool const sent = WriteServerLine(socket, command) > 0;
    LogDebug(0, "Client: %s", command);
    char reply[kReplyWidth], piece[kPieceSize];
    size_t behind = 0;
    // What comes with the reply is taken along, but for the log, which lists the pieces of the message alone.
    int const got = !sent              ? -1
                    : VerboseLevel > 0 ? ReadServerLine(socket, reply, sizeof reply)
                                       : ReadServerReply(socket, reply, sizeof reply, piece, behind);
    if (got <= 0) {
        LoseConnection(profile);
        return nullptr;
    }
    std::string_view const come(piece, behind);
    if (!StartsWithNoCase(reply, "+OK")) {
        LogRefusal(socket, come, reply);
        return nullptr;
    }
    bool lost = false;
    char *message;
    std::string_view const text = reply;
    if (size_t const digit = text.find_first_of("0123456789", 1); digit != std::string_view::npos) {
        int32_t const size = DecimalPrefix(text.substr(digit));
        LogDebug(0, "Msg has %d bytes, j is %d", size, static_cast<int>(digit));
        message = SizedTransfer(socket, come, size, length);
        lost = !message;
    } else {
        message = UnsizedTransfer(socket, come, lost, length);
    }
    if (lost)
        LoseConnection(profile);
    return message;
}

} // namespace

char *getMessage(int number, MailProfile &profile, int lockHeld, size_t *length) {
    LogDebug(0, "in getMessage() with socket: %d", profile.serverSocket.load());
    if (profile.serverSocket < 0)
        return nullptr;
    std::optional<SessionLock> lock;
    if (!lockHeld)
        lock.emplace(profile, SessionLock::kCallback);
    if (profile.serverSocket == 0) {
        LogDebug(0, "Go get a SOCKET");
        profile.serverSocket = OpenMailConnection(profile, nullptr, kPop3);
        if (profile.serverSocket < 0 || PopLogin(profile) != 1)
            return nullptr;
    }
    // Another user of the connection may have lost it while this one waited.
    size_t ignored = 0;
    return profile.serverSocket < 1 ? nullptr : Retrieve(number, profile, length ? *length : ignored);
}
