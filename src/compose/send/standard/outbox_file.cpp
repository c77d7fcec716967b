#include "compose/send/standard/outbox_file.h"

#include "base/text.h"
#include "compose/send/standard/text_part.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace {

constexpr size_t kBlock = 1 << 16;
constexpr std::string_view k8bit = "Content-Transfer-Encoding: 8bit";
constexpr std::string_view kQuoted = "Content-Transfer-Encoding: quoted-printable\r\n";
constexpr std::string_view kBoundary = "boundary=\"";

/// Hands out a file's lines with their CR LF; a line that is longer than a block comes in pieces.
bool ReadLines(int file, std::function<bool(std::string_view)> const &take) {
    if (lseek(file, 0, SEEK_SET) < 0)
        return false;
    std::string held;
    for (;;) {
        size_t const before = held.size();
        held.resize(before + kBlock);
        ssize_t const got = read(file, held.data() + before, kBlock);
        if (got < 0 && errno == EINTR) {
            held.resize(before);
            continue;
        }
        if (got < 0)
            return false;
        held.resize(before + static_cast<size_t>(got));
        std::string_view rest = held;
        for (size_t end; (end = rest.find('\n')) != rest.npos; rest.remove_prefix(end + 1))
            if (!take(rest.substr(0, end + 1)))
                return false;
        if (got == 0 || rest.size() > kBlock) {
            if (!rest.empty() && !take(rest))
                return false;
            rest = {};
        }
        if (got == 0)
            return true;
        held.erase(0, held.size() - rest.size());
    }
}

bool Is8bit(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) < 0; });
}

bool IsFolded(std::string_view line) { return line.starts_with(' ') || line.starts_with('\t'); }

/// The lines of a message, sorted into its fields, those of its parts, and text.
class Outgoing {
  public:
    Outgoing(bool allow8bit, std::function<bool(std::string_view)> const &put) : allow8bit_(allow8bit), put_(put) {}

    bool Take(std::string_view line) {
        if (fields_)
            return TakeField(line);
        if (!delimiter_.empty() && line.starts_with(delimiter_)) {
            quoted_ = false;
            fields_ = true;
            inParts_ = true;
            return put_(line);
        }
        return put_(quoted_ ? Encoded(line, TransferEncoding::kQuotedPrintable) : line);
    }

  private:
    bool TakeField(std::string_view line) {
        if (line == "\r\n" || line == "\n") {
            fields_ = false;
            return put_(line);
        }
        dropped_ = IsFolded(line) ? dropped_ : !inParts_ && StartsWithNoCase(line, "Bcc:");
        if (dropped_)
            return true;
        if (size_t const at = inParts_ ? line.npos : line.find(kBoundary); at != line.npos) {
            std::string_view const name = line.substr(at + kBoundary.size());
            delimiter_ = "--" + std::string(name.substr(0, name.find('"')));
        }
        quoted_ = quoted_ || (!allow8bit_ && line.starts_with(k8bit));
        return put_(quoted_ && line.starts_with(k8bit) ? kQuoted : line);
    }

    bool const allow8bit_;
    std::function<bool(std::string_view)> const &put_;
    std::string delimiter_;
    bool fields_ = true, inParts_ = false, dropped_ = false, quoted_ = false;
};

} // namespace

bool ReadEnvelope(int file, Envelope &envelope) {
    std::string field;
    bool inFields = true, wanted = false;
    auto const finish = [&] {
        for (Mailbox &mailbox : ParseAddresses(field).mailboxes)
            if (std::find(envelope.recipients.begin(), envelope.recipients.end(), mailbox.address) ==
                envelope.recipients.end())
                envelope.recipients.push_back(std::move(mailbox.address));
        field.clear();
    };
    return ReadLines(file, [&](std::string_view line) {
        envelope.size += static_cast<int64_t>(line.size());
        envelope.has8bit = envelope.has8bit || Is8bit(line);
        if (!inFields)
            return true;
        inFields = line != "\r\n" && line != "\n";
        if (inFields && IsFolded(line)) {
            if (wanted)
                field += line;
            return true;
        }
        finish();
        wanted = false;
        for (std::string_view const name : {"To:", "Cc:", "Bcc:"})
            if (StartsWithNoCase(line, name)) {
                wanted = true;
                field = line.substr(name.size());
            }
        return true;
    });
}

bool PutMessage(int file, bool allow8bit, std::function<bool(std::string_view)> const &put) {
    Outgoing outgoing(allow8bit, put);
    return ReadLines(file, [&](std::string_view line) { return outgoing.Take(line); });
}
