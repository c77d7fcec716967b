#include "net/library_pause.h"

#include <cerrno>

LibraryCalls const *libraryCalls = nullptr;

LibraryPause::LibraryPause() : left_(libraryCalls && libraryCalls->leave()) {}

LibraryPause::~LibraryPause() {
    int const error = errno;
    if (left_)
        libraryCalls->enterAgain();
    errno = error;
}
