#pragma once
// The copy of an outgoing message in a folder of its profile: the Outbox, or Sent.

#include "base/fd.h"
#include "base/paths.h"

#include <cstdint>
#include <string>

/// One reserved message of the folder. What is neither kept nor removed is removed at the end of its life. Any
/// thread.
class OutboxCopy {
  public:
    /// Reserves the next message of the profile's folder. The names must have passed IsPlainName. Its file stays
    /// locked until it is kept, which tells it from what a program left that was killed while it sent
    /// (TakeBackReserved).
    explicit OutboxCopy(std::string profile, std::string folder = kOutbox);
    ~OutboxCopy() { Remove(); }
    OutboxCopy(OutboxCopy const &) = delete;
    OutboxCopy &operator=(OutboxCopy const &) = delete;

    /// The message's number, 0 when none could be reserved.
    int32_t Number() const { return number_; }
    /// Where the message is written to; -1 when none could be reserved.
    int Descriptor() const { return file_.Get(); }
    /// Fills the row of the whole message, whose text goes into `row`, closes it and brings both to disk. False when
    /// there is no copy, when it is not whole (it is still to be removed then, and `row` empty), or when it is not
    /// known to be on disk. `row` also stays empty when someone has deleted the message since.
    bool Keep(std::string &row);
    /// Takes record and file away again. Does nothing after Keep.
    void Remove();

  private:
    std::string profile_, name_;
    std::string folder_; ///< its path
    int32_t number_ = 0;
    bool settled_ = true; ///< kept or removed
    Fd file_;
};
