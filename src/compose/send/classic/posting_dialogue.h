#pragma once
// The NNTP dialogue that posts one article (RFC 3977 6.3.1), over a connection that is open.

#include "base/outcome.h"
#include "compose/send/message_sink.h"
#include "net/stream.h"

#include <functional>
#include <string>

/// The header of an article. No field holds a line break (FieldValue).
struct ArticleHeader {
    std::string groups; ///< without blanks, separated by commas
    std::string from, subject;
    std::string references; ///< Message-IDs; empty for an article that answers none
};

/// Writes the header and the empty line after it. The server adds what else an article needs.
void WriteArticleHeader(ArticleHeader const &header, MessageSink &sink);

struct NntpPosting {
    Stream &stream;
    char const *userName, *password;
    std::function<bool()> writeArticle;                   ///< header and body to the stream; false when that failed
    std::function<void(std::string const &)> const &tell; ///< the login was refused; returns when it was read

    bool mayNotPost = false; ///< the server lets no one post
};

/// Goes through the dialogue up to QUIT. The greeting is read and not judged. A server that wants to know who posts
/// (480) is told with AUTHINFO, and asked once more. Outcomes: kDone; kRefused with the server's answer to POST or to
/// the article, or with a sentence when it did not take the login; kLost; kStopped.
Outcome PostOverNntp(NntpPosting &posting);
