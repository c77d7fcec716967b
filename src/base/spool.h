#pragma once
// A file through which a text of unknown size goes on its way into memory.

#include "base/fd.h"

#include <string>
#include <string_view>

class Spool {
  public:
    /// What becomes of its name: it goes at once, and nothing of the file stays however the program ends, or with the
    /// spool.
    enum Name { kGoesAtOnce, kStays };

    /// Makes `path` a new file (mode 0600); one that is there goes. Where that cannot be (a directory, another user's
    /// file) a name beside it does, too. Not valid when none can be made.
    Spool(std::string path, Name name);
    ~Spool();
    Spool(Spool const &) = delete;
    Spool &operator=(Spool const &) = delete;

    bool Valid() const { return file_.Valid(); }
    /// For who writes by descriptor; -1 when it is not valid.
    int Descriptor() const { return file_.Get(); }
    /// A write that fails shows in Size only: a transfer goes on to its end.
    void Write(std::string_view bytes) { whole_ = whole_ && WriteAll(file_.Get(), bytes); }

    /// The size of what was written; -1 when some of it could not be.
    long Size() const;
    /// Reads the first `size` bytes into `buffer`. Returns false when they cannot be read or are not so many.
    bool ReadBack(char *buffer, size_t size) const;

  private:
    std::string path_; ///< empty for a file without a name
    Fd file_;
    bool whole_ = false;
};
