// sources: src/profiles/mail_profile_file.cpp src/profiles/news_profile_file.cpp src/profiles/profile_file.cpp
// Any bytes as a profile: every field ends inside its width, and what is written from them is one line a field.

#include "fuzz_input.h"

#include "profiles/mail_profile_file.h"
#include "profiles/news_profile_file.h"

#include <algorithm>

namespace {

long Lines(std::string const &text) { return std::count(text.begin(), text.end(), '\n'); }

} // namespace

FUZZ(profile) {
    std::string const text(reinterpret_cast<char const *>(data), size);
    AccountRef<MailProfile> const mail(new MailProfile);
    ParseMailProfile(text, *mail);
    RequireEnded(mail->popServer, mail->smtpServer, mail->userName, mail->password, mail->fullName,
                 mail->emailAddress, mail->checkInterval, mail->leaveOnServer, mail->signatureFile);
    std::string const written = MailProfileText(*mail);
    Require(Lines(written) == 11 && written.ends_with("\n\n"));

    AccountRef<NewsProfile> const news(new NewsProfile);
    ParseNewsProfile(text, *news);
    RequireEnded(news->server, news->userName, news->password, news->fullName, news->emailAddress,
                 news->signatureFile);
    std::string const newsText = NewsProfileText(*news);
    Require(newsText.empty() == (strlen(news->password) > 48));
    Require(newsText.empty() || (Lines(newsText) == 11 && newsText.ends_with("\n\n\n\n\n")));
}
