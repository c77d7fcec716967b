// Font names and the drawing buffer: little is left of them, since the desktop's font is used and Qt buffers itself.

#include "Pf.h"
#include "Pg.h"

#include <cstdio>

char *PfGenerateFontName(char const *family, uint32_t flags, uint32_t size, char *buffer) {
    int const length = snprintf(buffer, MAX_FONT_TAG, "%s%02u%s%s", family ? family : "", static_cast<unsigned>(size),
                                flags & PF_STYLE_BOLD ? "b" : "", flags & PF_STYLE_ITALIC ? "i" : "");
    return length > 0 && length < MAX_FONT_TAG ? buffer : nullptr;
}

int PgSetDrawBufferSize(unsigned short) { return 0; }
