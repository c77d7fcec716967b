#pragma once
// Retrieving messages ahead of their replies. Private to this folder.

#include "pop/standard/session.h"

#include <span>

/// Retrieves messages in their order. With PIPELINING as many are asked for ahead as fit a window of bytes.
class Fetch {
  public:
    Fetch(PopSession &session, std::span<ServerMessage const> messages) : session_(session), messages_(messages) {}

    /// The next message, without the doubled dots and the end mark; valid until the next call. Refused when the
    /// server does not give it, with its words: the ones after it still can be had.
    Outcome Next(std::string &text);

  private:
    Outcome AskAhead();
    Outcome ReadBody(std::string &text);

    PopSession &session_;
    std::span<ServerMessage const> messages_;
    size_t asked_ = 0, taken_ = 0;
    int64_t ahead_ = 0; ///< announced bytes of what was asked for and not taken
};
