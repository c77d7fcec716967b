#pragma once
// The copy of an outgoing message in its profile's Outbox.

#include "base/fd.h"

#include <cstdint>
#include <string>

/// One reserved message of the Outbox, and its row in the header list when that shows the Outbox. What is neither
/// kept nor removed is removed at the end of its life. To be used without the library lock, on any thread.
class OutboxCopy {
  public:
    /// Reserves the next message of the profile's Outbox. The name must have passed IsPlainName.
    explicit OutboxCopy(std::string profile);
    ~OutboxCopy() { Remove(); }
    OutboxCopy(OutboxCopy const &) = delete;
    OutboxCopy &operator=(OutboxCopy const &) = delete;

    /// Where the message is written to; -1 when none could be reserved.
    int Descriptor() const { return file_.Get(); }
    /// Closes the whole message, fills its row and brings both to disk. False when there is no copy, when it is not
    /// whole and was removed, or when it is not known to be on disk.
    bool Keep();
    /// Takes record and file away again.
    void Remove();

  private:
    std::string profile_;
    std::string folder_; ///< its path
    int32_t number_ = 0; ///< 0 when there is nothing left to keep or to remove
    Fd file_;
};
