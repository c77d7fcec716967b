#pragma once
// Opens pages and their images: plain files below the directories that the view named, and nothing else.

#include "vserver/protocol.h"

#include <string>
#include <string_view>
#include <vector>

namespace vserver {

struct OpenedPage {
    Fd directory; ///< of the page, for its images
    Fd file;
    std::string error; ///< why it could not be opened, else empty
};

/// Opens the page of a URL "file://" + absolute path; the path is taken as it stands, without percent decoding, as
/// the program pastes it in. It must lie below one of `roots` (absolute paths, opened now: they may be new). No
/// symbolic link is followed below the root and no ".." accepted. Only a regular file of at most kMaxPageBytes.
OpenedPage OpenPage(std::vector<std::string> const &roots, std::string_view url);

/// Opens an image beside its page: a plain name, a regular file of at most kMaxImageBytes. Not Valid() otherwise.
Fd OpenImage(Fd const &directory, std::string const &name);

/// Reads up to `limit` bytes of a file from its start. False on an error or when there is more.
bool ReadFile(int descriptor, size_t limit, std::string &bytes);

} // namespace vserver
