#pragma once
// A thread that holds the toolkit's library leaves it while it waits for the network. This folder knows no toolkit:
// whoever has one says how to leave and enter it. Goes when nothing waits on the main thread any more.

struct LibraryCalls {
    bool (*leave)();      ///< true when the calling thread held the library and has left it
    void (*enterAgain)(); ///< enters it again and paints
};

/// Set once at start-up; null for programs without a toolkit.
extern LibraryCalls const *libraryCalls;

/// Outside the library from construction to the end of its life. errno survives.
class LibraryPause {
  public:
    LibraryPause();
    ~LibraryPause();
    LibraryPause(LibraryPause const &) = delete;
    LibraryPause &operator=(LibraryPause const &) = delete;

  private:
    bool left_;
};
