#include "profiles/mail_profile_file.h"

#include "base/paths.h"

std::string MailProfileText(MailProfile const &profile) {
    return RecordText(profile,
                      {profile.popServer, profile.smtpServer, profile.userName, profile.password, profile.fullName,
                       profile.emailAddress, profile.checkInterval, profile.leaveOnServer, profile.signatureFile}) +
           "\n\n";
}

void ParseMailProfile(std::string_view text, MailProfile &profile) {
    RecordLines lines(text);
    lines.Take(profile.popServer);
    lines.Take(profile.smtpServer);
    lines.Take(profile.userName);
    lines.TakePassword(profile.password);
    lines.Take(profile.fullName);
    lines.Take(profile.emailAddress);
    lines.Take(profile.checkInterval);
    lines.Take(profile.leaveOnServer);
    lines.Take(profile.signatureFile);
    profile.serverSocket = -1;
    profile.serverMessageCount = 0;
    profile.profileKind = kMailProfile;
}

bool ReadMailProfileFile(std::string const &path, char const *name, MailProfile &profile) {
    return ReadRecord(path, [&](std::string_view text) {
        CopyText(profile.name, name);
        ParseMailProfile(text, profile);
    });
}

int ReadMailProfile(char const *name, MailProfile &profile) {
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return -1;
    ReadMailProfileFile(*root + name + ".dat", name, profile);
    return 1; // kept: also without a file
}

bool WriteMailProfile(std::string const &directory, MailProfile const &profile) {
    return WriteRecord(directory, profile.name, MailProfileText(profile));
}

bool IsMailProfileName(std::string_view name) { return IsProfileName(name) && name != "news"; }
