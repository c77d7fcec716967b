// A part never leads out of its text. The input's first line is the boundary.

#include "fuzz_input.h"
#include "mime/interface_only.h"

#include <memory>

FUZZ(parts) {
    std::string const input = TextOf(data, size);
    size_t const line = input.find('\n');
    if (line == input.npos)
        return;
    std::string const boundary = "--" + input.substr(0, std::min<size_t>(line, 1997));
    std::string const text = input.substr(line + 1);
    char const *const end = text.c_str() + text.size();
    auto const part = std::make_unique<PartHeaders>();
    char const *const resume = ParsePartHeaders(text.c_str(), nullptr, *part, boundary.c_str());
    Require(resume >= text.c_str() && resume <= end);
    Require(part->body >= text.c_str() && part->body <= end);
    Require(part->bodyLength >= 0 && part->bodyLength <= end - part->body);
    RequireEnded(part->name, part->fileName, part->contentType, part->encoding);
    Require(!strchr(part->contentType, ';'));
}
