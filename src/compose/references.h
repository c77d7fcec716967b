#pragma once
// What a follow-up takes from the header of its article (RFC 5537 3.4.3).

#include <string>
#include <string_view>

/// The value of the header field `name` ("References") of a message, unfolded (RFC 5322 2.2.3), without the blanks
/// around it and without control characters; empty when there is no such field. The first one counts.
std::string UnfoldedField(std::string_view message, std::string_view name);

/// The References of a reply to the article: its own, then its Message-ID, separated by blanks. When the field would
/// be longer than the 998 bytes that a line may have, identifiers after the first one are left out, the oldest first
/// (RFC 5537 3.4.4). Longer than 250 bytes is no identifier (RFC 5536 3.1.3).
std::string ReplyReferences(std::string_view article);

/// Where a reply goes: the Followup-To, or the Newsgroups, without blanks. "poster" when the author wants mail.
std::string ReplyGroups(std::string_view article);
