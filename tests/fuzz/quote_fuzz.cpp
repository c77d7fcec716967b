// The reply's quote, subject and recipients, of any page and any message.
// sources: src/compose/quote.cpp

#include "fuzz_input.h"
#include "mime/render.h"

#include "compose/quote.h"

#include <memory>

FUZZ(quote) {
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
}
