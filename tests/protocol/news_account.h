#pragma once
// A news account in front of a server.

#include "base/account.h"
#include "base/paths.h"
#include "base/text.h"

#include <string>
#include <sys/stat.h>

/// The account "usenet" for alice on the server; its directories exist.
inline AccountRef<NewsProfile> MakeNewsProfile(std::string const &server, std::string const &password = "secret") {
    AccountRef<NewsProfile> profile(new NewsProfile);
    CopyText(profile->name, "usenet");
    CopyText(profile->server, server);
    CopyText(profile->userName, "alice");
    CopyText(profile->password, password);
    for (char const *directory : {"", "news", "news/usenet", "news/usenet/groups"})
        mkdir((ConfigRoot() + directory).c_str(), 0700);
    return profile;
}
