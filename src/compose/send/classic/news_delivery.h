#pragma once
// An article: over NNTP, without a copy.

#include "compose/send/classic/delivery.h"
#include "compose/send/classic/posting_dialogue.h"

/// The groups of a Group field as they are sent: without blanks and line ends, separated by commas.
std::string GroupList(std::string_view text);

/// Posts a draft through the news profile that it names. Where the server lets no one post, which closes the window,
/// the text is appended to the file "unsent" of the profile's directory.
class NewsDelivery : public Delivery {
  public:
    NewsDelivery(Draft const &draft, SendProgress const &progress);

  private:
    char const *Server() const override { return profile_->server; }
    ServerKind Kind() const override { return kNntp; }
    Outcome Talk(Stream &stream) override;
    void WriteHeader(MessageSink &sink) const override { WriteArticleHeader(header_, sink); }
    void Finish(SendResult &result) override;
    bool AppendTo(int file);

    AccountRef<NewsProfile> profile_;
    ArticleHeader header_;
    bool mayNotPost_ = false;
};
