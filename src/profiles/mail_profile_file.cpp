#include "profiles/mail_profile_file.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "mime/base64.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The four characters of one group of `count` (1 to 3) bytes.
void EncodeGroup(char *to, char const *from, int count) {
    auto const byte = [&](int at) { return at < count ? static_cast<unsigned char>(from[at]) : 0u; };
    unsigned const bits = byte(0) << 16 | byte(1) << 8 | byte(2);
    for (int at = 0; at < 4; at++)
        to[at] = at <= count ? kAlphabet[bits >> (18 - 6 * at) & 63] : '=';
}

/// The next non-empty line of `text`, which moves behind it; empty at the end.
std::string_view NextLine(std::string_view &text) {
    text.remove_prefix(std::min(text.find_first_not_of('\n'), text.size()));
    std::string_view const line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size());
    return line;
}

void CopyPassword(MailProfile &profile, std::string_view encoded) {
    char decoded[kProfileFileBytes + 1];
    int32_t const length = Base64Decode(decoded, std::string(encoded).c_str());
    CopyText(profile.password, {decoded, static_cast<size_t>(std::max(length, 0))});
    explicit_bzero(decoded, sizeof decoded);
}

} // namespace

int EncodeFieldBase64(char *destination, size_t width, char const *source, int length) {
    if (width == 0)
        return 0;
    memset(destination, 0, std::min<size_t>(width, 64));
    size_t at = 0;
    int counted = 0;
    for (int done = 0; done < length && at + 4 < width; done += 3, at += 4) {
        int const count = std::min(length - done, 3);
        EncodeGroup(destination + at, source + done, count);
        if (count == 3)
            counted += 4;
    }
    destination[at] = 0;
    return counted;
}

std::string MailProfileText(MailProfile const &profile) {
    char password[(sizeof profile.password + 2) / 3 * 4 + 1];
    EncodeFieldBase64(password, sizeof password, profile.password, static_cast<int>(strlen(profile.password)));
    std::string text;
    for (char const *field : {profile.popServer, profile.smtpServer, profile.userName,
                              static_cast<char const *>(password), profile.fullName, profile.emailAddress,
                              profile.checkInterval, profile.leaveOnServer, profile.signatureFile})
        text.append(FirstLine(field)).append("\n");
    explicit_bzero(password, sizeof password);
    return text + "\n\n";
}

void ParseMailProfile(std::string_view text, MailProfile &profile) {
    text = text.substr(0, kProfileFileBytes);
    text = text.substr(0, text.find('\0'));
    auto const take = [&text](auto &field) {
        if (std::string_view const line = NextLine(text); !line.empty())
            CopyText(field, line);
    };
    take(profile.popServer);
    take(profile.smtpServer);
    take(profile.userName);
    if (std::string_view const line = NextLine(text); !line.empty())
        CopyPassword(profile, line);
    take(profile.fullName);
    take(profile.emailAddress);
    take(profile.checkInterval);
    take(profile.leaveOnServer);
    take(profile.signatureFile);
    profile.serverSocket = -1;
    profile.serverMessageCount = 0;
    profile.profileKind = kMailProfile;
}

bool ReadMailProfileFile(std::string const &path, char const *name, MailProfile &profile) {
    Fd const file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.Valid())
        return false;
    CopyText(profile.name, name);
    char text[kProfileFileBytes];
    long const length = ReadAll(file.Get(), text, sizeof text);
    ParseMailProfile({text, static_cast<size_t>(std::max(length, 0L))}, profile);
    explicit_bzero(text, sizeof text);
    return true;
}

int ReadMailProfile(char const *name, MailProfile &profile) {
    std::optional<std::string> const home = HomeDirectory();
    if (!home)
        return -1;
    ReadMailProfileFile(*home + "/.Corvanta/" + name + ".dat", name, profile);
    return 1;
}

bool WriteMailProfile(std::string const &directory, MailProfile const &profile) {
    std::string const path = directory + profile.name + ".dat";
    std::string const beside = directory + "." + profile.name + ".dat.new";
    unlink(beside.c_str());
    Fd file(open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.Valid())
        return false;
    bool const usable = file.Get() >= 1;
    std::string text = MailProfileText(profile);
    bool stored = usable && WriteAll(file.Get(), text) && fsync(file.Get()) == 0;
    explicit_bzero(text.data(), text.size());
    stored = file.Reset() && stored && rename(beside.c_str(), path.c_str()) == 0;
    if (!stored)
        unlink(beside.c_str());
    return stored;
}

bool IsMailProfileName(std::string_view name) { return IsPlainName(name) && name[0] != '.' && name != "news"; }
