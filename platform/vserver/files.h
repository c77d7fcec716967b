#pragma once
// Opens pages and their images: plain files below the directories that the view named, and nothing else.

#include "vserver/protocol.h"

#include <string>
#include <string_view>
#include <vector>

namespace vserver {

/// A directory that pages may come from.
struct Root {
    std::string path;
    Fd directory; ///< not Valid() when it did not exist at the start
};

/// Opens the directories of `paths`, absolute paths, as they are now.
std::vector<Root> OpenRoots(std::vector<std::string> const &paths);

struct OpenedPage {
    Fd directory; ///< of the page, for its images
    Fd file;
    std::string error;         ///< why it could not be opened, else empty
    bool root_changed = false; ///< its root is not the directory that was opened, or is there only now
};

/// Opens the page of a URL "file://" + absolute path; the path is taken as it stands, without percent decoding, as
/// the program pastes it in. It must lie below one of `roots`. No symbolic link is followed below the root and no
/// ".." accepted. Only a regular file of at most kMaxPageBytes.
OpenedPage OpenPage(std::vector<Root> const &roots, std::string_view url);

/// Opens an image beside its page: a plain name, a regular file of at most kMaxImageBytes. Not Valid() otherwise.
Fd OpenImage(Fd const &directory, std::string const &name);

} // namespace vserver
