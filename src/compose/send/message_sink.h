#pragma once
// Where the text of an outgoing message goes: to the server and into the Outbox copy, in large blocks.

#include "net/stream.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

/// Collects a message's bytes and writes them to its two outputs. A line that starts with a dot gets a second one on
/// the wire (RFC 5321 4.5.2) and none in the copy; the wire starts after a line's end. When one output fails the
/// other one still gets everything. Owns neither of them.
class MessageSink {
  public:
    /// `wire` is a connection (null for none) and `copy` a file (-1 for none). Nothing more goes out once `stopped`
    /// is true.
    MessageSink(Stream *wire, int copy, StopPredicate const &stopped);

    void Put(std::string_view bytes);
    /// Writes what is collected. To be called after the last Put.
    void Flush();

    bool WireFailed() const { return wireFailed_; }
    bool CopyFailed() const { return copyFailed_; }

  private:
    void Emit(std::string_view bytes);

    Stream *wire_;
    int copy_;
    StopPredicate const &stopped_;
    std::unique_ptr<char[]> block_;
    size_t used_ = 0;
    std::string dotted_; ///< what DoubleDots needs
    bool atLineStart_ = true;
    bool wireFailed_ = false, copyFailed_ = false;
};
