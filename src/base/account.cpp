#include "base/account.h"

#include "base/text.h"

#include <cstring>
#include <unistd.h>

namespace {

template <class Record> void Discard(Record &record) {
    if (record.serverSocket > 0 && !record.stream)
        close(record.serverSocket);
    sem_destroy(&record.sessionLock);
    explicit_bzero(record.password, sizeof record.password);
}

} // namespace

MailProfile::MailProfile() : ServerAccount(*this) { sem_init(&sessionLock, 0, 1); }

MailProfile::~MailProfile() { Discard(*this); }

NewsProfile::NewsProfile() : ServerAccount(*this) { sem_init(&sessionLock, 0, 1); }

NewsProfile::~NewsProfile() { Discard(*this); }

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
