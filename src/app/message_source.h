#pragma once
// The text of a message, wherever it lives.

#include "base/account.h"

#include <cstdlib>
#include <memory>
#include <string_view>

struct FreeText {
    void operator()(char *text) const { free(text); }
};

/// A NUL-terminated message text from malloc; empty when it could not be had. It may hold NULs: what is stored again
/// goes by its bytes.
struct MessageText {
    std::unique_ptr<char, FreeText> block;
    size_t length = 0;

    char *get() const { return block.get(); }
    std::string_view Bytes() const { return {block.get(), length}; }
    explicit operator bool() const { return static_cast<bool>(block); }
};

/// The text of message `number` in a local folder, with 21 zero bytes behind it; a failure is told in lblStatus.
MessageText StoredText(MailProfile const &profile, char const *folder, int32_t number);

/// Makes sure that the profile has a connection that is logged in; a failed login closes it. False with a word in
/// lblStatus when there is none. The caller holds sessionLock.
bool EnsureConnected(MailProfile &profile);

/// The text of message `number` on the connected server; a failure is told in lblStatus. The caller holds
/// sessionLock.
MessageText ServerText(MailProfile &profile, int32_t number);

/// The text of article `number` of the profile's open group, as its author wrote it: without the end mark and the
/// doubled dots that it is sent with. A failure is told in lblStatus, in the server's words when it has some. The
/// caller holds sessionLock.
MessageText NewsText(NewsProfile &profile, int32_t number);
