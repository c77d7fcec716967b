#include "widgets/open_profile.h"

namespace {

/// Holds the reference without ever destroying it.
union Storage {
    AccountRef<ServerAccount> reference;
    constexpr Storage() : reference() {}
    ~Storage() {}
};
constinit Storage storage;

} // namespace

constinit AccountRef<ServerAccount> &currentProfile = storage.reference;
char currentFolder[1025] = "Inbox"; // kInbox: an array takes a literal only

MailProfile *CurrentMailProfile() {
    ServerAccount *const account = currentProfile.Get();
    return account && account->profileKind != kNewsProfile ? static_cast<MailProfile *>(account) : nullptr;
}

NewsProfile *CurrentNewsProfile() {
    ServerAccount *const account = currentProfile.Get();
    return account && account->profileKind == kNewsProfile ? static_cast<NewsProfile *>(account) : nullptr;
}
