#pragma once
// The desktop's keyring (the freedesktop.org Secret Service), where a password lies when the user wants it there.

#include <string>

enum class KeyringEnd {
    kDone,
    kMissing,    ///< there is no such secret
    kUnavailable ///< no keyring runs, or the user did not unlock it; `problem` says so
};

/// What a secret is found by.
struct KeyringEntry {
    std::string account; ///< the profile's name
    std::string kind;    ///< "mail" or "news"
};

/// Each takes at most two minutes, in which the desktop may ask the user to unlock the keyring: never call them on
/// the main thread. `problem` gets a sentence for the user with kUnavailable. `secret` is UTF-8 and never logged.
KeyringEnd StoreSecret(KeyringEntry const &entry, std::string const &secret, std::string &problem);
KeyringEnd FindSecret(KeyringEntry const &entry, std::string &secret, std::string &problem);
KeyringEnd ForgetSecret(KeyringEntry const &entry, std::string &problem);
