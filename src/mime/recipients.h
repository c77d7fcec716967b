#pragma once
// Addresses out of an address list.

/// Takes the first recipient of an address list (RFC 5322 3.4, as typed: separated by "," or ";") into `out` of
/// `width` bytes (cut to width - 1 and terminated), without blanks and quotes. With `addressOnly`, only the address
/// between the angle brackets. Returns the rest of the list, or null when nothing was taken; `out` is empty then.
char const *ExtractRecipient(char const *list, char *out, int width, bool addressOnly);

/// Removes the double quotes of `text` and ends it at its first CR or LF.
void StripQuotes(char *text);
