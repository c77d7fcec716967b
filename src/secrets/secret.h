#pragma once
// Where an account's password lies. In the classic way the field of its file is the password; in the standard way it
// may say where to look instead.

#include "base/account.h"
#include "base/outcome.h"

#include <functional>
#include <string>

/// In the field: the password lies in the desktop's keyring.
constexpr char kInKeyring[] = "keyring:";
/// In the field, followed by a command: its first line is the password, or an OAuth 2.0 access token.
constexpr char kFromCommand[] = "command:";
constexpr char kTokenFromCommand[] = "token:";

struct Secret {
    std::string text;
    bool isToken = false;
};

/// Finds the account's password. May ask the keyring or run a command, and takes up to two minutes then: on a worker,
/// without locks. Outcomes: kDone; kStopped; kFailed with a sentence for the user that holds no secret.
Outcome FindSecretOf(ServerAccount const &account, Secret &secret, std::function<bool()> const &stopped = {});

/// Puts a password into the keyring; the account's field then is kInKeyring. On a worker, without locks.
Outcome KeepInKeyring(ServerAccount const &account, std::string const &password);
