#pragma once
// Address lists as people type them and as messages have them (RFC 5322 3.4): names quoted or not, comments, groups,
// separated by commas or semicolons. No toolkit.

#include <string>
#include <string_view>
#include <vector>

struct Mailbox {
    std::string name;    ///< as people read it, in UTF-8; may be empty
    std::string address; ///< "local@domain", the domain in ASCII (RFC 5891)
};

struct AddressList {
    std::vector<Mailbox> mailboxes;
    std::string problem; ///< a sentence that names the first entry that is no address; empty when all are
};

/// Takes a list apart. Names stay whole: a comma in quotes separates nothing. A group gives its members.
AddressList ParseAddresses(std::string_view text);

/// One entry as it stands in a header field before its name is encoded: the name quoted where it must be.
std::string QuotedName(std::string_view name);
