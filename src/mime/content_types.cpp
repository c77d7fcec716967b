#include "mime/content_types.h"

#include "base/text.h"

namespace {

// kept: no end is bound to a dot, so "cabin" is a "bin": such names have always had these types
constexpr ExtensionType kTypes[] = {
    {{"gif"}, "IMAGE/GIF"},
    {{"ez"}, "APPLICATION/ANDREW-INSET"},
    {{"xls"}, "APPLICATION/EXCEL"},
    {{"bin"}, "APPLICATION/OCTET-STREAM"},
    {{"oda"}, "APPLICATION/ODA"},
    {{"pdf"}, "APPLICATION/PDF"},
    {{"pgp"}, "APPLICATION/PGP"},
    {{"rtf"}, "APPLICATION/RTF"},
    {{"gtar"}, "APPLICATION/X-GTAR"},
    {{"gz"}, "APPLICATION/X-GUNZIP"}, // kept: ".tar.gz" and "tgz" without a dot end so, too, and this row comes first
    {{"tar"}, "APPLICATION/X-TAR"},
    {{"tgz", "tar.gz"}, "APPLICATION/X-TAR-GZ\t"}, // kept: the TAB is part of it, written so into every mail sent
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

bool EndsWithNoCase(std::string_view name, std::string_view end) {
    return name.size() >= end.size() && EqualNoCase(name.substr(name.size() - end.size()), end);
}

ExtensionType const *FindType(std::string_view name) {
    // kept: the one name that passes the row of "gz" over
    std::string_view const passedOver = EndsWithNoCase(name, ".tgz") ? "gz" : "";
    for (ExtensionType const &row : kTypes)
        for (std::string_view end : row.ends)
            if (!end.empty() && end != passedOver && EndsWithNoCase(name, end))
                return &row;
    return nullptr;
}

} // namespace

std::span<ExtensionType const> const ExtensionTypeTable = kTypes;

int ContentTypeForFileName(char *type, size_t width, char const *name) {
    ExtensionType const *const row = FindType(name);
    CopyText(type, width, row ? row->type : "unknown");
    return row ? 1 : 0;
}

int AppendImageExtension(char const *name, char *path, size_t width) {
    ExtensionType const *const row = FindType(name);
    if (!row)
        return 0;
    AppendText(path, width, ".");
    AppendText(path, width, row->ends[0]);
    return 1;
}
