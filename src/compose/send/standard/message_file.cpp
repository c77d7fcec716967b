#include "compose/send/standard/message_file.h"

#include "base/fd.h"
#include "compose/send/standard/fields.h"

namespace {

constexpr size_t kBlock = 1 << 16;
constexpr size_t kBase64Line = 76; // RFC 2045 6.8

/// Collects what goes into the file.
class Writer {
  public:
    explicit Writer(int file) : file_(file) {}

    void Put(std::string_view bytes) {
        block_ += bytes;
        if (block_.size() >= kBlock)
            Flush();
    }

    bool Flush() {
        good_ = good_ && WriteAll(file_, block_);
        block_.clear();
        return good_;
    }

  private:
    int file_;
    std::string block_;
    bool good_ = true;
};

/// Encoded bytes in lines of their own, whatever lines they had.
void PutBase64(Writer &writer, std::string_view encoded) {
    std::string line;
    for (char const byte : encoded) {
        if (byte == '\r' || byte == '\n' || byte == '\0')
            continue;
        line += byte;
        if (line.size() == kBase64Line) {
            writer.Put(line + "\r\n");
            line.clear();
        }
    }
    if (!line.empty())
        writer.Put(line + "\r\n");
}

std::string TextFields(std::string_view text) {
    TransferEncoding const encoding = SmallestEncoding(text, true);
    return "Content-Type: text/plain; charset=" +
           std::string(encoding == TransferEncoding::k7bit ? "us-ascii" : "utf-8") +
           "; format=flowed\r\nContent-Transfer-Encoding: " + NameOf(encoding) + "\r\n";
}

} // namespace

bool WriteMessage(StandardMessage const &message, int file) {
    Writer writer(file);
    std::string const text = FlowedText(message.text);
    writer.Put(BlindCopyField(message) + MessageFields(message));
    if (message.files.empty()) {
        writer.Put(TextFields(text) + "\r\n");
        writer.Put(text);
        return writer.Flush();
    }
    std::string const boundary = NewBoundary();
    writer.Put("Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n--" + boundary + "\r\n");
    writer.Put(TextFields(text) + "\r\n");
    writer.Put(text);
    for (AttachedFile const &attached : message.files) {
        writer.Put("--" + boundary + "\r\n" + FileFields(attached) + "\r\n");
        PutBase64(writer, attached.base64);
    }
    writer.Put("--" + boundary + "--\r\n");
    return writer.Flush();
}
