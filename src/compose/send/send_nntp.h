#pragma once
// The NNTP dialogue that posts one article (RFC 3977 6.3.1), over a connection that is open.

#include "compose/send/message_sink.h"

#include <atomic>
#include <functional>
#include <string>

/// The header of an article. No field holds a line break (FieldValue).
struct ArticleHeader {
    std::string groups; ///< without blanks, separated by commas
    std::string from, subject;
    std::string references; ///< Message-IDs, for an article that answers none empty
};

/// Writes the header and the empty line behind it. The server adds what else an article needs.
void WriteArticleHeader(ArticleHeader const &header, MessageSink &sink);

enum class NntpEnd {
    kPosted,     ///< the server has taken the article
    kRefused,    ///< it has refused the article, see the answer
    kNotAllowed, ///< it does not let this person post; that was told, and the dialogue is over
    kNoLogin,    ///< it has refused the login
    kLost        ///< the connection ended, failed or fell silent
};

struct NntpPosting {
    int socket;
    char const *userName, *password;
    /// Writes header and body to the socket; false when that failed.
    std::function<bool()> writeArticle;
    /// Tells the person why posting is not allowed; returns when that was read.
    std::function<void(std::string const &)> alert;
    std::atomic<bool> const &cancelled;

    std::string answer = {}; ///< the last answer
};

/// Goes through the dialogue up to QUIT. The greeting is read and not judged. A server that wants to know who posts
/// (480) is told with AUTHINFO, and asked once more.
NntpEnd PostOverNntp(NntpPosting &posting);
