// A whole message as a page. Outside the lines that the renderer makes itself, no "<" of the message comes through,
// and every attachment can be copied and saved.

#include "fuzz_input.h"
#include "mime/part_content.h"
#include "mime/render.h"

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

namespace {

struct SavingSink : AttachmentSink {
    size_t bytes = 0;
    void Add(char const *label, PartHeaders const &part) override {
        Require(label[0]);
        PartHeaders *const copy = CopyPart(part);
        Require(copy->bodyLength == part.bodyLength && copy->body[copy->bodyLength] == 0);
        static int const nowhere = open("/dev/null", O_WRONLY);
        Require(WritePartContent(nowhere, *copy));
        bytes += static_cast<size_t>(copy->bodyLength);
        FreePart(copy);
    }
};

std::string Contents(int file) {
    std::string bytes(static_cast<size_t>(lseek(file, 0, SEEK_END)), 0);
    Require(pread(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return bytes;
}

/// Checks what is between the marks, without the renderer's own lines. Those can begin in mid-line.
void CheckBody(std::string_view body) {
    for (size_t at = 0; (at = body.find('<', at)) != body.npos;) {
        Require(body.substr(at).starts_with(kSkipMark));
        size_t const line = body.find('\n', at);
        Require(line != body.npos);
        at = line;
    }
}

} // namespace

FUZZ(render) {
    std::string const text = TextOf(data, size);
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(text.c_str(), *headers);
    SavingSink sink;
    ImageCounter = 0; // the same few files again
    int const file = memfd_create("page", MFD_CLOEXEC);
    Require(WriteMessagePage(file, text.c_str(), *headers, FuzzDirectory().c_str(), sink));
    std::string const page = Contents(file);
    close(file);
    size_t const start = page.find(kMessageStartMark) + strlen(kMessageStartMark);
    size_t const end = page.rfind(kMessageEndMark);
    Require(start <= end && page.ends_with("</BODY></HTML>\n"));
    CheckBody(std::string_view(page).substr(start, end - start));
    Require(sink.bytes <= text.size());
}
