#pragma once
// Font names.

#include <cstdint>

constexpr int MAX_FONT_TAG = 80;
enum { PF_STYLE_BOLD = 1, PF_STYLE_ITALIC = 2, PF_STYLE_ANTIALIAS = 4 };

/// Builds the name of a font ("helv12", "helv12b") into `buffer` of MAX_FONT_TAG bytes. Returns buffer.
char *PfGenerateFontName(char const *family, uint32_t flags, uint32_t size, char *buffer);
