#pragma once
// Mail written to hurt, by name.

#include <string>
#include <vector>

struct HostileMail {
    std::string name;  ///< in its subject, when it has one
    std::string text;  ///< the whole message
    std::string shown; ///< a text that its page must show; empty when there is none
    int attachments = 0;
};

/// All of them. A file name that leads outside begins with "escape".
std::vector<HostileMail> MakeHostileMail();
