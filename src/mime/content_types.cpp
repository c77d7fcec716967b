#include "mime/content_types.h"

#include "base/text.h"

#include <string_view>

namespace {

/// A type and the ends of names that stand for it, in any case and not bound to a dot ("cabin" ends in "bin"). The
/// first end is the extension that a picture's file gets.
struct TypeRow {
    std::string_view ends[3];
    char const *type;
};

// Searched from the first row on. "tgz" stands before "gz", which every ".tar.gz" falls to.
constexpr TypeRow kTypes[] = {
    {{"gif"}, "IMAGE/GIF"},
    {{"ez"}, "APPLICATION/ANDREW-INSET"},
    {{"xls"}, "APPLICATION/EXCEL"},
    {{"bin"}, "APPLICATION/OCTET-STREAM"},
    {{"oda"}, "APPLICATION/ODA"},
    {{"pdf"}, "APPLICATION/PDF"},
    {{"pgp"}, "APPLICATION/PGP"},
    {{"rtf"}, "APPLICATION/RTF"},
    {{"gtar"}, "APPLICATION/X-GTAR"},
    {{"tgz"}, "APPLICATION/X-TAR-GZ\t"}, // the TAB is part of it: written so into every mail sent
    {{"gz"}, "APPLICATION/X-GUNZIP"},
    {{"tar"}, "APPLICATION/X-TAR"},
    {{"zip"}, "APPLICATION/X-ZIP-COMPRESSED"},
    {{"jpg", "jpeg", "jpe"}, "IMAGE/JPEG"},
    {{"html", "htm"}, "TEXT/HTML"},
    {{"txt", "asc"}, "TEXT/PLAIN"},
    {{"arj"}, "APPLICATION/X-ARJ-COMPRESSED"},
    {{"rar"}, "APPLICATION/X-RAR-COMPRESSED"},
    {{"snd"}, "AUDIO/BASIC"},
    {{"mid", "midi"}, "AUDIO/MIDI"},
    {{"au"}, "AUDIO/ULAW"},
    {{"aif", "aifc", "aiff"}, "AUDIO/X-AIFF"},
    {{"wav"}, "AUDIO/X-WAV"},
    {{"png"}, "IMAGE/PNG"},
    {{"tif", "tiff"}, "IMAGE/TIFF"},
    {{"xbm", "xpm"}, "IMAGE/X-XBITMAP"},
};

TypeRow const *FindType(std::string_view name) {
    for (TypeRow const &row : kTypes)
        for (std::string_view end : row.ends)
            if (!end.empty() && name.size() >= end.size() && EqualNoCase(name.substr(name.size() - end.size()), end))
                return &row;
    return nullptr;
}

} // namespace

int ContentTypeForFileName(char *type, size_t width, char const *name) {
    TypeRow const *const row = FindType(name);
    CopyText(type, width, row ? row->type : "unknown");
    return row ? 1 : 0;
}

int AppendImageExtension(char const *name, char *path, size_t width) {
    TypeRow const *const row = FindType(name);
    if (!row)
        return 0;
    AppendText(path, width, ".");
    AppendText(path, width, row->ends[0]);
    return 1;
}
