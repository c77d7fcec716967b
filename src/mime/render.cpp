#include "mime/render.h"

#include "base/fd.h"
#include "base/text.h"
#include "mime/block_writer.h"
#include "mime/content_types.h"
#include "mime/escape.h"
#include "mime/lines.h"
#include "mime/part_content.h"
#include "mime/part_headers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

char const kMessageStartMark[] = "<!--msg starts here, Corvanta-->";
char const kMessageEndMark[] = "<!--msg ends here, Corvanta-->";
char const kSkipMark[] = "<!-- skip this line -->";

std::atomic<unsigned> ImageCounter = 0;

namespace {

constexpr size_t kRowRoom = 5000; ///< a row of the header table and its terminator

/// What every part of one message is written with.
struct Page {
    BlockWriter &out;
    char const *directory;
    AttachmentSink &sink;
};

/// A content type as it is compared: after the blanks that follow the colon.
std::string_view TypeText(char const *contentType) {
    std::string_view const text = contentType;
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

bool IsPlainText(std::string_view type) { return type.empty() || StartsWithNoCase(type, "text/plain"); }

bool IsInlineImage(std::string_view type) {
    return StartsWithNoCase(type, "image/jpeg") || StartsWithNoCase(type, "image/gif");
}

char const *Label(PartHeaders const &part) {
    return part.fileName[0] ? part.fileName : part.name[0] ? part.name : "unknown";
}

/// Decodes an image's body into a file of its own.
void WriteImageFile(Page &page, char const *name, PartHeaders const &part, std::string_view text,
                    std::string_view boundary) {
    char path[2048];
    if (!page.directory || !page.directory[0] || !PrintText(path, sizeof path, "%s%s", page.directory, name))
        return;
    Fd const file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.Valid()) {
        page.sink.ImageNotWritten(path, errno);
        return;
    }
    // kept: whatever encoding an image names, it is taken for base64
    BlockWriter out(file.Get());
    PutDecodedLines(out, text, static_cast<size_t>(part.bodyLength), PartLines::kImage, boundary);
    if (!out.Flush())
        page.sink.ImageNotWritten(path, errno);
}

/// Writes an inline image's line and file. `text` is the message from the image's body on. Returns the line's length.
size_t PutImage(Page &page, PartHeaders const &part, std::string_view text, std::string_view boundary) {
    page.sink.Add(Label(part), part);
    char name[64];
    PrintText(name, sizeof name, "%d_%d", static_cast<int>(getpid()), static_cast<int>(ImageCounter++));
    AppendImageExtension(part.fileName[0] ? part.fileName : part.name, name, sizeof name);
    char line[256];
    PrintText(line, sizeof line, "%s<BR><BR><CENTER><IMG SRC=\"%s\"></CENTER>\n", kSkipMark, name);
    page.out.Put(line);
    WriteImageFile(page, name, part, text, boundary);
    return strlen(line);
}

/// Writes an attachment's table, all on one line so that the skip mark keeps it out of quotes. kept: its fields are
/// not escaped; the page server cleans the page
void PutAttachment(Page &page, PartHeaders const &part) {
    page.sink.Add(Label(part), part);
    page.out.Put(kSkipMark);
    page.out.Put("<BR><CENTER><TABLE WIDTH=300 BORDER=1>\t<TR><TD>");
    auto const put = [&page](std::string_view label, char const *value) {
        if (!value[0])
            return;
        page.out.Put(label);
        page.out.Put(value);
        page.out.Put("<BR>");
    };
    put("\tName: ", part.name);
    put("\tContent-Type: ", part.contentType);
    put("\tEncoding: ", part.encoding);
    put("\tMime: ", part.reserved);
    put("\tFilename: ", part.fileName);
    page.out.Put("</TD></TR></TABLE></CENTER><BR>\n");
}

/// Where the walk over the parts of a message stands, in offsets of its text.
class PartWalk {
  public:
    PartWalk(std::string_view text, std::string_view boundary)
        : text_(text), boundary_(boundary), headerBudget_(2 * text.size()), lengthSeen_(text.size()) {}

    void Render(Page &page) {
        while (FindPart()) {
            if (part_.bodyLength > 0)
                PutPart(page);
            if (part_.bodyLength < 3 || !Continues())
                break;
            Advance();
        }
    }

  private:
    /// Parses the part after the next boundary.
    bool FindPart() {
        delimiter_ = FindText(text_, boundary_, position_);
        if (delimiter_ == text_.npos)
            return false;
        std::string_view const rest = AfterLine(text_.substr(delimiter_));
        size_t const start = text_.size() - rest.size();
        PartPlace const place = ParsePart(rest, boundary_, part_);
        body_ = start + place.body;
        next_ = place.next == text_.npos ? text_.size() : start + place.next;
        size_t const headerBytes = place.body;
        headerBudget_ -= std::min(headerBudget_, headerBytes);
        return true;
    }

    void PutPart(Page &page) {
        std::string_view const type = TypeText(part_.contentType);
        if (IsPlainText(type))
            PutEscaped(page.out, text_.substr(body_, static_cast<size_t>(part_.bodyLength)), LineFeed::kKept);
        else if (IsInlineImage(type))
            lengthSeen_ = PutImage(page, part_, text_.substr(body_), boundary_);
        else
            PutAttachment(page, part_);
    }

    /// kept: whether enough is left for another part. After an image the text's length counts as that of the image's
    /// line, which has always been built at the start of the text; the difference then wraps round and the walk goes
    /// on.
    bool Continues() const {
        return lengthSeen_ - (body_ + static_cast<size_t>(part_.bodyLength)) - boundary_.size() > 10;
    }

    /// The step takes the header block as at least as long as the boundary. It never leads past the next boundary,
    /// which would hide that part, and never back into a header block again and again.
    void Advance() {
        size_t const step = delimiter_ + static_cast<size_t>(part_.bodyLength) + 2 * boundary_.size();
        position_ = std::min(step, next_);
        if (headerBudget_ == 0)
            position_ = next_;
    }

    std::string_view text_;
    std::string_view boundary_;
    size_t headerBudget_; ///< header bytes that may still be parsed twice
    size_t lengthSeen_;
    size_t position_ = 0;
    size_t delimiter_ = 0; ///< where the current part's boundary stands
    size_t body_ = 0;
    size_t next_ = 0; ///< where the boundary after its body stands
    PartHeaders part_;
};

void PutBody(Page &page, std::string_view body, ParsedHeaders const &headers) {
    if (IsPlainText(TypeText(headers.contentType))) {
        PutEscaped(page.out, body, LineFeed::kKept);
        return;
    }
    // kept: a message of one part that is no plain text shows nothing but its header table
    int const length = static_cast<int>(strlen(headers.contentType));
    if (!FindNoCase(headers.contentType, "multipart", length) || !headers.boundary[0])
        return;
    PartWalk(body, headers.boundary).Render(page);
}

/// One row of the header table. A value too long for the row is cut so that the row still closes.
void PutHeaderRow(BlockWriter &out, char const *label, char const *value) {
    constexpr std::string_view kClose = "</TD></TR>\n";
    if (!value[0])
        return;
    char row[kRowRoom];
    PrintText(row, sizeof row, "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>%s:</B></TD><TD>", label);
    HtmlEscapeAppend(row, sizeof row - kClose.size(), value);
    AppendText(row, kClose);
    out.Put(row);
}

void PutHeaderTable(BlockWriter &out, ParsedHeaders const &headers) {
    out.Put("<HTML><HEAD><meta http-equiv=\"pragma\" content=\"no-cache\"></HEAD>\n"
            "<BODY MARGINWIDTH=0 MARGINHEIGHT=0 TOPMARGIN=0 LEFTMARGIN=0 RIGHTMARGIN=0>"
            "<TABLE bgcolor=\"#bbbb99\" width=100%>\n");
    PutHeaderRow(out, "To", headers.to);
    PutHeaderRow(out, "Newsgroups", headers.newsgroups);
    PutHeaderRow(out, "Cc", headers.cc);
    PutHeaderRow(out, "From", headers.from);
    PutHeaderRow(out, "Date", headers.date);
    PutHeaderRow(out, "Subject", headers.subject);
    out.Put("</TABLE>");
}

} // namespace

bool WriteMessagePage(int descriptor, char const *text, ParsedHeaders const &headers, char const *directory,
                      AttachmentSink &sink) {
    BlockWriter out(descriptor);
    PutHeaderTable(out, headers);
    out.Put("<FONT SIZE=-1><PRE>\n");
    out.Put(kMessageStartMark);
    text = text ? text : "";
    bool const before = out.Flush();
    bool const body =
        RenderMessageHtml(descriptor, text + strnlen(text, headers.headerLength), headers, directory, sink);
    out.Put("\n");
    out.Put(kMessageEndMark);
    out.Put("\n</PRE>\n</FONT>\n</BODY></HTML>\n");
    return out.Flush() && before && body;
}

bool RenderMessageHtml(int descriptor, char const *bodyText, ParsedHeaders const &headers, char const *directory,
                       AttachmentSink &sink) {
    BlockWriter out(descriptor);
    Page page{.out = out, .directory = directory, .sink = sink};
    PutBody(page, bodyText ? bodyText : "", headers);
    return out.Flush();
}
