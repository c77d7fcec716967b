// A list comes apart into entries that fit their buffer and hold none of the bytes that are left out.

#include "fuzz_input.h"
#include "mime/interface_only.h"
#include "mime/recipients.h"

#include <cstring>
#include <vector>

FUZZ(recipients) {
    std::string const list = TextOf(data, size);
    for (bool addressOnly : {false, true})
        for (int width : {2, 20, 500}) {
            char const *at = list.c_str();
            while (at) {
                std::vector<char> out(static_cast<size_t>(width));
                char const *const next = ExtractRecipient(at, out.data(), width, addressOnly);
                Require(memchr(out.data(), 0, out.size()));
                Require(strcspn(out.data(), ",;\t\n\r \"'=") == strlen(out.data()));
                Require(!next || (next > at && next <= list.c_str() + list.size()));
                at = next;
            }
        }
    std::string text = list;
    StripQuotes(text.data());
    Require(strcspn(text.c_str(), "\"\r\n") == strlen(text.c_str()));
    text = list;
    RemoveLineBreaks(text.data());
    RemoveSpaces(text.data());
    TrimLeadingSpaces(text.data());
    Require(strcspn(text.c_str(), " \r\n") == strlen(text.c_str()));
}
