#include "mime/escape.h"

#include "mime/block_writer.h"

#include <algorithm>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr std::string_view kLess = "&lt;";
constexpr std::string_view kBreak = "\n<BR>";
constexpr size_t kStep = 16; ///< bytes looked at together; no escape is longer

template <LineFeed lineFeed> bool IsOrdinary(char byte) {
    return byte != '<' && byte != '\r' && byte != 0 && (lineFeed == LineFeed::kKept || byte != '\n');
}

/// Copies the bytes before the first one that needs care and returns their number.
template <LineFeed lineFeed> size_t CopyOrdinary(char *out, char const *in, size_t size) {
    size_t done = 0;
#ifdef __SSE2__
    for (; size - done >= kStep; done += kStep) {
        __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const *>(in + done));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + done), bytes);
        __m128i special = _mm_or_si128(
            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('<')),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')), _mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
        if (lineFeed == LineFeed::kBroken)
            special = _mm_or_si128(special, _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')));
        if (int const mask = _mm_movemask_epi8(special))
            return done + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#endif
    for (; done < size && IsOrdinary<lineFeed>(in[done]); done++)
        out[done] = in[done];
    return done;
}

template <LineFeed lineFeed> void PutText(BlockWriter &out, std::string_view text) {
    char const *at = text.data();
    char const *const end = at + text.size();
    while (at < end) {
        char *const start = out.Room(1024);
        char *place = start;
        char const *const limit = start + out.Free() - kStep;
        while (at < end && place < limit) {
            size_t const piece = std::min(static_cast<size_t>(end - at), static_cast<size_t>(limit - place));
            size_t const copied = CopyOrdinary<lineFeed>(place, at, piece);
            at += copied;
            place += copied;
            if (copied == piece)
                continue;
            // The step kept free after `limit` holds any escape.
            std::string_view const escape = *at == '<' ? kLess : *at == '\n' ? kBreak : std::string_view();
            place += escape.copy(place, escape.size());
            at++;
        }
        out.Used(static_cast<size_t>(place - start));
    }
}

} // namespace

void PutEscaped(BlockWriter &out, std::string_view text, LineFeed lineFeed) {
    if (lineFeed == LineFeed::kKept)
        PutText<LineFeed::kKept>(out, text);
    else
        PutText<LineFeed::kBroken>(out, text);
}

int HtmlEscapeAppend(char *destination, size_t width, char const *source) {
    size_t used = strnlen(destination, width);
    for (; *source; source++) {
        std::string_view const piece = *source == '<'    ? kLess
                                       : *source == '\n' ? kBreak
                                                         : std::string_view(source, 1);
        if (used + piece.size() >= width)
            break;
        memcpy(destination + used, piece.data(), piece.size());
        used += piece.size();
    }
    if (used < width)
        destination[used] = 0;
    return 1;
}
