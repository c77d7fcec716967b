#pragma once
// Fetching one article (RFC 3977 6.2.1).

#include "base/account.h"

#include <cstddef>
#include <memory>
#include <string>

/// An article's text from malloc, NUL-terminated; null for none.
using ArticleText = std::unique_ptr<char, void (*)(void *)>;

/// Fetches article `number` of the account's open group through its spool file, which is deleted afterwards. A
/// connection that answers 503 or 400, that is closed or was never opened is made anew once, with its group selected.
/// Any other answer than 220 gives no text, and `answer` gets the server's line. The text keeps its CR LF, its
/// doubled dots and its end mark; `length` gets its bytes. The caller holds sessionLock, and on the main thread the
/// library lock.
ArticleText GetNewsArticle(int socket, NewsProfile &profile, int32_t number, char const *userName,
                           char const *password, std::string &answer, size_t &length);
