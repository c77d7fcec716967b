#pragma once
// What a reply or a forward takes over from the shown message, as text.

#include <string>
#include <string_view>

/// The text field of a reply: the lines of the page `page` between its start and end marks, each after "\n>", below a
/// heading. A line that carries the skip mark anywhere is left out: an image, or the table of an attachment, which
/// starts where the text before it ends. The page's escapes stay. Without a start mark only the heading comes. A NUL
/// ends the page. A quote that a text widget would take long for (over kTextPartLines lines or kTextPartBytes bytes)
/// ends there with a line that says so.
std::string QuotePage(std::string_view page);

/// "Re: " and `subject` as it stands, its leading blanks included; a subject that has its "Re:" already, in any case,
/// is only freed of its leading blanks.
std::string ReplySubject(std::string_view subject);

/// "Fwd: " and `subject` as it stands.
std::string ForwardSubject(std::string_view subject);

/// `field` with the entries of the address list `list` after it, ", " before each, at the start of an empty field
/// only when `leadingComma`. Left out are entries of less than 2 bytes and those that hold the address `own`
/// (ASCII case does not count; empty: none). `list` is NUL-terminated.
std::string AddRecipients(std::string field, char const *list, char const *own, bool leadingComma);
