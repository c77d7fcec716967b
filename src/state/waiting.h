#pragma once
// Which messages of an Outbox wait to be sent, and why they did not go yet: a small file for each under
// StateDirectory. A message without one is not sent by itself, so that nothing goes out that went out before.

#include <cstdint>
#include <string>
#include <vector>

enum class WaitingState {
    kWaiting, ///< is sent at the next occasion
    kSending  ///< was being sent: after a kill the server may have it, and only the user knows whether to send it
              ///< again
};

struct WaitingMessage {
    int32_t number = 0; ///< in the Outbox
    WaitingState state = WaitingState::kWaiting;
    std::string reason; ///< of the last attempt; empty before the first
};

/// Notes the state of a message of the profile's Outbox; on disk when it returns true. The name must have passed
/// IsPlainName. Any thread.
bool NoteWaiting(std::string const &profile, WaitingMessage const &message);

/// The message went, or was taken back.
void ForgetWaiting(std::string const &profile, int32_t number);

/// The profile's messages, in the order of their numbers.
std::vector<WaitingMessage> WaitingMessages(std::string const &profile);
