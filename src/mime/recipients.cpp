#include "mime/recipients.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

bool EndsRecipient(char byte) { return byte == 0 || byte == ',' || byte == ';'; }

/// kept: these are left out wherever they stand, of names, too.
bool IsDropped(char byte) { return memchr("\t\n\r \"'=", byte, 7) != nullptr; }

/// Moves the bare address (between "<" and ">" around the last "@") to the start of `out`.
void KeepAddress(char *out) {
    std::string_view const all = out;
    if (all.size() == 1) {
        out[0] = 0;
        return;
    }
    size_t const at = all.rfind('@');
    size_t const open = all.rfind('<', at == all.npos ? 0 : at);
    size_t const start = open == all.npos ? 0 : open + 1;
    std::string_view const run = all.substr(start);
    size_t const length = std::min(run.find_first_of("> "), run.size());
    memmove(out, run.data(), length);
    out[length] = 0;
}

} // namespace

char const *ExtractRecipient(char const *list, char *out, int width, bool addressOnly) {
    if (width < 1)
        return nullptr;
    out[0] = 0;
    size_t const room = static_cast<size_t>(width) - 1;
    size_t length = 0;
    char const *at = list;
    while (!EndsRecipient(*at)) {
        char byte = *at;
        size_t taken = 1;
        if (byte == '&' && (strncmp(at, "&lt;", 4) == 0 || strncmp(at, "&gt;", 4) == 0)) {
            byte = at[1] == 'l' ? '<' : '>';
            taken = 4;
        }
        if (!IsDropped(byte) && length < room)
            out[length++] = byte;
        at += taken;
    }
    out[length] = 0;
    if (length == 0)
        return nullptr;
    if (addressOnly)
        KeepAddress(out);
    return *at ? at + 1 : at;
}

void StripQuotes(char *text) { *std::remove(text, text + strcspn(text, "\r\n"), '"') = 0; }
