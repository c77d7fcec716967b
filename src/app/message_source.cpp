#include "app/message_source.h"

#include "base/paths.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "news/article.h"
#include "pop/message.h"
#include "pop/pop_login.h"
#include "pop/transfer.h"
#include "store/folder.h"
#include "widgets/server_calls.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace {

constexpr int kSpareBytes = 21;

/// Says why something failed unless a lower layer has said it better since the status was cleared.
void SetStatusUnlessTold(char const *text) {
    if (!*WidgetText(ABW_lblStatus))
        SetStatus(text);
}

} // namespace

MessageText StoredText(MailProfile const &profile, char const *folder, int32_t number) {
    if (!HomeDirectory())
        return {};
    errno = 0;
    long length = 0;
    MessageText text;
    text.block.reset(ReadMessageFile(FolderDirectory(profile.name, folder).c_str(), number, kSpareBytes, &length));
    text.length = static_cast<size_t>(length);
    if (!text)
        SetStatus("Cannot read message " + std::to_string(number) + " of " + folder +
                  (errno ? std::string(": ") + strerror(errno) : ""));
    return text;
}

bool EnsureConnected(MailProfile &profile) {
    if (profile.serverSocket >= 1)
        return true;
    SetStatus("");
    profile.serverSocket = OpenMailConnection(profile, ABW_treeProfiles, kPop3);
    if (profile.serverSocket < 0) {
        SetStatusUnlessTold("Could not connect to mail server");
        return false;
    }
    if (PopLogin(profile) == 1)
        return true;
    CloseConnection(profile);
    SetStatusUnlessTold("The mail server refused the login");
    return false;
}

MessageText ServerText(MailProfile &profile, int32_t number) {
    SetStatus("");
    MessageText text;
    text.block.reset(getMessage(number, profile, 1, &text.length));
    if (!text)
        SetStatusUnlessTold("The message could not be fetched");
    return text;
}

MessageText NewsText(NewsProfile &profile, int32_t number) {
    SetStatus("");
    std::string answer;
    size_t length = 0;
    ArticleText article =
        GetNewsArticle(profile.serverSocket, profile, number, profile.userName, profile.password, answer, length);
    if (!article) {
        SetStatusUnlessTold(answer.empty() ? "The article could not be fetched" : answer.c_str());
        return {};
    }
    MessageText text;
    text.block.reset(article.release());
    text.length = UndoDots(text.get(), std::min(length, FindTextEnd({text.get(), length}, 0)));
    text.get()[text.length] = 0;
    return text;
}
