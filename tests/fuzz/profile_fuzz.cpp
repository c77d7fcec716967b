// sources: src/profiles/mail_profile_file.cpp src/mime/base64.cpp src/base/account.cpp src/base/text.cpp
// sources: src/base/fd.cpp src/base/paths.cpp
// Any bytes as a profile: every field ends inside its width, and what is written from them is one line a field.

#include "fuzz_input.h"

#include "profiles/mail_profile_file.h"

#include <algorithm>
#include <cstring>

namespace {

template <size_t Width> void RequireEnded(char const (&field)[Width]) { Require(memchr(field, 0, Width)); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    std::string const text(reinterpret_cast<char const *>(data), size);
    AccountRef<MailProfile> const profile(new MailProfile);
    ParseMailProfile(text, *profile);
    RequireEnded(profile->popServer);
    RequireEnded(profile->smtpServer);
    RequireEnded(profile->userName);
    RequireEnded(profile->password);
    RequireEnded(profile->fullName);
    RequireEnded(profile->emailAddress);
    RequireEnded(profile->checkInterval);
    RequireEnded(profile->leaveOnServer);
    RequireEnded(profile->signatureFile);
    std::string const written = MailProfileText(*profile);
    Require(std::count(written.begin(), written.end(), '\n') == 11 && written.ends_with("\n\n"));
    return 0;
}
