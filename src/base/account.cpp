#include "base/account.h"

#include "base/text.h"

#include <cstring>
#include <unistd.h>

ServerAccount::ServerAccount(int32_t kind)
    : name{}, userName{}, emailAddress{}, password{}, fullName{}, signatureFile{}, serverSocket(-1),
      profileKind(kind), references(0) {
    sem_init(&sessionLock, 0, 1);
}

ServerAccount::~ServerAccount() {
    if (serverSocket > 0 && !stream)
        close(serverSocket);
    sem_destroy(&sessionLock);
    explicit_bzero(password, sizeof password);
}

MailProfile::MailProfile()
    : ServerAccount(kMailProfile), popServer{}, smtpServer{}, checkInterval{}, leaveOnServer{}, serverMessageCount(0),
      checkIntervalSeconds(0), checkCountdown(0), checkActive(0), checkWaiting(false) {}

NewsProfile::NewsProfile()
    : ServerAccount(kNewsProfile), server{}, currentGroup{}, articleCursor(0), lastArticle(0), articleCount(0),
      headersDone(0), batchSize(0), downloadTicket(0) {}

void StopDownload(ServerAccount &account) {
    if (account.profileKind == kNewsProfile)
        static_cast<NewsProfile &>(account).downloadTicket++;
}

bool MailProfile::LeavesMailOnServer() const { return strcmp(leaveOnServer, "LEAVEONSERVER") == 0; }

bool IsGroupName(std::string_view group) {
    size_t const end = group.find_last_not_of(' ');
    return group.size() < sizeof NewsProfile::currentGroup && end != std::string_view::npos &&
           IsPlainName(group.substr(0, end + 1));
}

void Retain(ServerAccount *account) { account->references++; }

void Release(ServerAccount *account) {
    if (--account->references == 0)
        delete account;
}
