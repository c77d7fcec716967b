#pragma once
// The file through which a message of unknown size goes.

#include "base/fd.h"

#include <string>
#include <string_view>

/// It loses its name at once, which all sessions of the process share, and lives as long as its descriptor: however
/// the program ends, nothing of it stays.
class Spool {
  public:
    Spool();

    /// A write that fails shows in ReadBack only: the transfer goes on to its end.
    void Write(std::string_view bytes) { whole_ = whole_ && WriteAll(file_.Get(), bytes); }

    /// All that was written. False when some of it could not be written or read.
    bool ReadBack(std::string &text);

  private:
    Fd file_;
    bool whole_ = false;
};
