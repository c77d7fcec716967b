#include "protocol/mail_fixture.h"

#include "base/paths.h"
#include "base/text.h"
#include "store/folder.h"

#include <fstream>
#include <sstream>
#include <sys/stat.h>

AccountRef<MailProfile> MakeProfile(std::string const &name, std::string const &server, bool leaveOnServer,
                                    std::string const &user, std::string const &password) {
    AccountRef<MailProfile> profile(new MailProfile);
    CopyText(profile->name, name);
    CopyText(profile->popServer, server);
    CopyText(profile->userName, user);
    CopyText(profile->password, password);
    CopyText(profile->checkInterval, "300");
    CopyText(profile->leaveOnServer, leaveOnServer ? "LEAVEONSERVER" : "REMOVEFROMSERVER");
    mkdir(ConfigRoot().c_str(), 0700);
    mkdir((ConfigRoot() + name).c_str(), 0700);
    CreateFolder(InboxOf(*profile).c_str());
    return profile;
}

std::string InboxOf(MailProfile const &profile) { return FolderDirectory(profile.name, "Inbox"); }

std::string FileText(std::string const &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string TakeText(char *text) {
    std::string const copy = text ? text : "(none)";
    free(text);
    return copy;
}

int LockValue(ServerAccount &account) {
    int value = -1;
    sem_getvalue(&account.sessionLock, &value);
    return value;
}

std::string Said(Outcome const &outcome) {
    static constexpr char const *kNames[] = {"done", "refused ", "lost ", "stopped ", "failed "};
    return kNames[static_cast<int>(outcome.ending)] + outcome.text;
}
