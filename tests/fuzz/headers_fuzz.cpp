// Every field ends inside its width, the header block inside the text, and the list row is made of the same values.

#include "fuzz_input.h"

#include "mime/headers.h"

#include <memory>

FUZZ(headers) {
    std::string const text = TextOf(data, size);
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(text.c_str(), *headers);
    RequireEnded(headers->from, headers->to, headers->cc, headers->date, headers->subject, headers->contentType,
                 headers->boundary, headers->newsgroups);
    Require(headers->headerLength <= text.size());

    std::string const row =
        std::string(" \t") + headers->subject + "\t" + headers->from + "\t" + headers->date + "\t";
    for (int width : {1, 200, 10'000}) {
        std::string made(static_cast<size_t>(width), '#');
        FormatHeaderRow(text.c_str(), made.data(), width);
        Require(made.c_str() == row.substr(0, static_cast<size_t>(width) - 1));
    }
}
