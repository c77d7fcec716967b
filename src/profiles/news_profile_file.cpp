#include "profiles/news_profile_file.h"

#include "base/paths.h"

#include <cstring>

namespace {

constexpr size_t kEncodedPasswordBytes = 64; // kept: the room that the record has always had

} // namespace

bool NewsPasswordFits(NewsProfile const &profile) {
    return (strlen(profile.password) + 2) / 3 * 4 <= kEncodedPasswordBytes;
}

std::string NewsProfileText(NewsProfile const &profile) {
    if (!NewsPasswordFits(profile))
        return {};
    return RecordText(profile, {profile.server, profile.userName, profile.password, profile.fullName,
                                profile.emailAddress, profile.signatureFile}) +
           "\n\n\n\n\n";
}

void ParseNewsProfile(std::string_view text, NewsProfile &profile) {
    RecordLines lines(text);
    lines.Take(profile.server);
    lines.Take(profile.userName);
    lines.TakePassword(profile.password);
    lines.Take(profile.fullName);
    lines.Take(profile.emailAddress);
    lines.Take(profile.signatureFile);
    profile.serverSocket = -1;
    profile.articleCount = 0;
    profile.profileKind = kNewsProfile;
}

int ReadNewsProfile(char const *name, NewsProfile &profile) {
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return -1;
    CopyText(profile.name, name);
    ReadRecord(*root + "news/" + name + ".dat", [&](std::string_view text) { ParseNewsProfile(text, profile); });
    return 1;
}

bool WriteNewsProfile(std::string const &directory, NewsProfile const &profile) {
    std::string text = NewsProfileText(profile);
    return !text.empty() && WriteRecord(directory, profile.name, std::move(text));
}
