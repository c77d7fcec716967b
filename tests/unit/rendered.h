#pragma once
// Messages as pages, with what they attach.

#include "mime/part_content.h"
#include "mime/render.h"
#include "unit/scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

struct Attachment {
    std::string label;
    std::string name, contentType, encoding, fileName;
    std::string body;
};

class KeepingSink : public AttachmentSink {
  public:
    void Add(char const *label, PartHeaders const &part) override {
        std::unique_ptr<PartHeaders, decltype(&FreePart)> const copy(CopyPart(part), FreePart);
        EXPECT_EQ(copy->body[copy->bodyLength], 0);
        items.push_back({label, copy->name, copy->contentType, copy->encoding, copy->fileName,
                         std::string(copy->body, static_cast<size_t>(copy->bodyLength))});
    }
    std::vector<Attachment> items;
};

/// One rendered message: its page, its attachments and the directory with its images.
struct MailPage {
    Scratch directory;
    KeepingSink sink;
    std::string page;
    unsigned firstImage = ImageCounter;

    /// The name of the n-th image's file without its extension.
    std::string Image(unsigned n) const { return std::to_string(getpid()) + "_" + std::to_string(firstImage + n); }
};

enum Extent { kWhole, kBody };

/// The whole page of `message`, or what is between the marks.
inline std::unique_ptr<MailPage> RenderMail(std::string const &message, Extent extent = kWhole) {
    auto result = std::make_unique<MailPage>();
    auto headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(message.c_str(), *headers);
    std::string const path = result->directory / "page";
    int const file = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
    // The text is handed over without a byte after its terminator, so that a memory checker sees every step too far.
    std::vector<char> text(message.c_str(), message.c_str() + strlen(message.c_str()) + 1);
    std::string const images = result->directory.Path();
    if (extent == kBody)
        EXPECT_TRUE(
            RenderMessageHtml(file, text.data() + headers->headerLength, *headers, images.c_str(), result->sink));
    else
        EXPECT_TRUE(WriteMessagePage(file, text.data(), *headers, images.c_str(), result->sink));
    close(file);
    result->page = ReadFile(path);
    unlink(path.c_str());
    return result;
}
