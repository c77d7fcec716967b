// The reply's quote, subject and recipients, of any page and any message.
// sources: src/compose/quote.cpp src/mime/headers.cpp src/mime/lines.cpp src/mime/escape.cpp
// sources: src/mime/block_writer.cpp src/mime/recipients.cpp src/base/text.cpp src/base/fd.cpp platform/system/fd.cpp

#include "fuzz_input.h"

#include "compose/quote.h"
#include "mime/headers.h"
#include "mime/render.h"

#include <memory>

// What the page's writer says; it is not part of this program.
char const kMessageStartMark[] = "<!--msg starts here, Corvanta-->";
char const kMessageEndMark[] = "<!--msg ends here, Corvanta-->";
char const kSkipMark[] = "<!-- skip this line -->";

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    std::string const text(reinterpret_cast<char const *>(data), size);
    std::string const heading = "\n\n\n--Original Message:\n>";
    for (std::string const &page : {text, std::string(kMessageStartMark) + "\n" + text}) {
        std::string const quote = QuotePage(page);
        Require(quote.starts_with(heading) && quote.find('\0') == quote.npos);
        // Every line behind the heading's first is a quoted one.
        for (size_t at = quote.find('\n', heading.size() - 1); at != quote.npos; at = quote.find('\n', at + 1))
            Require(quote.compare(at, 2, "\n>") == 0);
    }
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(text.c_str(), *headers);
    std::string const to = AddRecipients(headers->from, headers->to, "me@example.org", true);
    Require(to.find(headers->from) == 0 && to.size() <= 5000 + 3 * 5000);
    AddRecipients("", headers->cc, "", false);
    AddRecipients("", text.c_str(), "a", false);
    Require(ReplySubject(headers->subject).size() <= 2004);
    return 0;
}
