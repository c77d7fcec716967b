#include "compose/send/classic/outgoing_message.h"

#include "base/text.h"

#include <algorithm>
#include <unistd.h>

namespace {

constexpr size_t kWrapColumn = 71;
constexpr size_t kChunk = 10240;

/// Wraps the text as it is written.
// kept: at the first blank from column 71 on, quotes too, and the blank stays at the end of the line.
class Wrapper {
  public:
    Wrapper(MessageSink &sink, std::string_view text, std::function<void(int)> const &progress)
        : sink_(sink), text_(text), progress_(progress) {}

    void Write() {
        do {
            size_t const end = std::min(done_ + kChunk, text_.size());
            while (done_ < end)
                WriteSome(end);
            Report();
        } while (done_ < text_.size());
    }

  private:
    /// Writes up to the next line end or wrap, or to `end`.
    void WriteSome(size_t end) {
        std::string_view const rest = text_.substr(done_, end - done_);
        size_t const lineEnd = std::min(rest.find('\n'), rest.size());
        size_t const kept = column_ < kWrapColumn ? kWrapColumn - column_ : 0;
        size_t const blank = rest.substr(0, lineEnd).find(' ', kept);
        if (blank != rest.npos) {
            EndLine(rest.substr(0, blank + 1), blank + 1);
            Report();
        } else if (lineEnd < rest.size()) {
            EndLine(rest.substr(0, lineEnd), lineEnd + 1);
        } else {
            sink_.Put(rest);
            column_ += rest.size();
            done_ += rest.size();
        }
    }

    void EndLine(std::string_view bytes, size_t taken) {
        sink_.Put(bytes);
        sink_.Put("\r\n");
        column_ = 0;
        done_ += taken;
    }

    void Report() const { progress_(text_.empty() ? 100 : static_cast<int>(10 + done_ * 90 / text_.size())); }

    MessageSink &sink_;
    std::string_view text_;
    std::function<void(int)> const &progress_;
    size_t done_ = 0;
    size_t column_ = 0;
};

void PutAll(MessageSink &sink, std::initializer_list<std::string_view> pieces) {
    for (std::string_view const piece : pieces)
        sink.Put(piece);
}

void WritePart(PartHeaders const &part, std::string_view boundary, MessageSink &sink) {
    PutAll(sink, {"Content-Type: ", FieldValue(part.contentType)});
    if (part.name[0])
        PutAll(sink, {"; name:\"", FieldValue(part.name), "\""});
    sink.Put("\n");
    if (part.fileName[0])
        PutAll(sink, {"Content-Disposition: attachment; filename=\"", FieldValue(part.fileName), "\"\n"});
    size_t const length = part.body && part.bodyLength > 0 ? static_cast<size_t>(part.bodyLength) : 0;
    PutAll(sink,
           {"Content-Transfer-Encoding: BASE64\r\n", "\n", std::string_view(part.body ? part.body : "", length)});
    PutAll(sink, {"\r\n\r\n", boundary, "\r\n"});
}

} // namespace

std::string FieldValue(std::string_view text) {
    std::string value(text);
    std::erase_if(value, [](char byte) { return byte == '\r' || byte == '\n'; });
    return value;
}

// kept: the form of ctime, not that of RFC 5322.
std::string DateText(time_t when) {
    char text[64] = "";
    return ctime_r(&when, text) ? FieldValue(text) : std::string();
}

std::string BoundaryText(time_t when) {
    return "----Corvanta-" + std::to_string(getpid()) + ":" + std::to_string(when);
}

void WriteMessageHeaders(OutgoingMessage const &message, MessageSink &sink) {
    PutAll(sink, {"Date: ", message.date, "\r\nFrom: \"", message.fullName, "\" <", message.address,
                  ">\r\nTo: ", message.to, "\r\n"});
    if (!message.cc.empty())
        PutAll(sink, {"CC: ", message.cc, "\r\n"});
    PutAll(sink, {"Subject: ", message.subject, "\r\n"});
}

void WriteMessageBody(OutgoingMessage const &message, MessageSink &sink, std::function<void(int)> const &progress) {
    std::string_view const boundary = message.boundary;
    // kept: one of these lines ends in a bare LF, a blank follows the last one, and the delimiters have no "--". What
    // earlier versions filed has this form, and who reads one must read the other.
    if (!message.parts.empty())
        PutAll(sink, {"MIME-Version: 1.0\nContent-Type: MULTIPART/MIXED; BOUNDARY=\"", boundary, "\"\r\n\r\n",
                      boundary, "\r\nContent-Type: TEXT/PLAIN; charset=US-ASCII\r\n "});
    sink.Put("\n\n");
    Wrapper(sink, message.text, progress).Write();
    if (message.hasSignature)
        PutAll(sink, {"\n\n", message.signature});
    if (!message.parts.empty())
        PutAll(sink, {"\r\n\r\n", boundary, "\r\n"});
    for (PartHeaders const *part : message.parts)
        WritePart(*part, boundary, sink);
}
