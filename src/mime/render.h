#pragma once
// The HTML page of a message, and the attachments found on the way.

#include "mime/headers.h"
#include "mime/part_headers.h"

#include <atomic>

/// Where the renderer hands each attachment and image it finds. The message view fills its list with it.
class AttachmentSink {
  public:
    virtual ~AttachmentSink() = default;
    /// `label` is the part's file name, else its name, else "unknown". The part's body lies in the message text:
    /// a sink that keeps the part copies it (CopyPart).
    virtual void Add(char const *label, PartHeaders const &part) = 0;
    /// The file of an inline image could not be written; `reason` is the errno. The page has its place all the same.
    virtual void ImageNotWritten(char const * /*path*/, int /*reason*/) {}
};

/// The marks around the message's own text in the page, and the mark of lines that are not quoted in a reply.
extern char const kMessageStartMark[];
extern char const kMessageEndMark[];
extern char const kSkipMark[];

/// The number in the next inline image's file name; counts on for the life of the process.
extern std::atomic<unsigned> ImageCounter;

/// Writes the whole page of a message to `descriptor`: header table, marks and body. `text` is the raw message with
/// its headers, NUL-terminated; null counts as empty. `directory` is where inline images go (a path ending in a
/// slash; when empty none are written). Returns false when a write to `descriptor` failed; the sink has every part
/// all the same.
bool WriteMessagePage(int descriptor, char const *text, ParsedHeaders const &headers, char const *directory,
                      AttachmentSink &sink);

/// Writes the body of a message: plain text escaped, the parts of a multipart one after another (RFC 2046 5.1),
/// images as files in `directory`. `bodyText` is NUL-terminated. A single part that is not plain text writes
/// nothing. Returns false when a write failed.
bool RenderMessageHtml(int descriptor, char const *bodyText, ParsedHeaders const &headers, char const *directory,
                       AttachmentSink &sink);
