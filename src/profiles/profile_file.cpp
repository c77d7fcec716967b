#include "profiles/profile_file.h"

#include "base/fd.h"
#include "base/log.h"
#include "mime/base64.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// The four characters of one group of `count` (1 to 3) bytes.
void EncodeGroup(char *to, char const *from, int count) {
    auto const byte = [&](int at) { return at < count ? static_cast<unsigned char>(from[at]) : 0u; };
    unsigned const bits = byte(0) << 16 | byte(1) << 8 | byte(2);
    for (int at = 0; at < 4; at++)
        to[at] = at <= count ? kBase64Alphabet[bits >> (18 - 6 * at) & 63] : '=';
}

void AppendEncoded(std::string &text, ServerAccount const &account) {
    char encoded[(sizeof MailProfile::password + 2) / 3 * 4 + 1];
    EncodeFieldBase64(encoded, sizeof encoded, account.password, static_cast<int>(strlen(account.password)));
    text.append(encoded);
    explicit_bzero(encoded, sizeof encoded);
}

} // namespace

int EncodeFieldBase64(char *destination, size_t width, char const *source, int length) {
    if (width == 0)
        return 0;
    memset(destination, 0, std::min<size_t>(width, 64)); // kept: 64 bytes, whatever the field
    size_t at = 0;
    int counted = 0;
    for (int done = 0; done < length && at + 4 < width; done += 3, at += 4) {
        int const count = std::min(length - done, 3);
        EncodeGroup(destination + at, source + done, count);
        if (count == 3) // kept: a padded group does not count
            counted += 4;
    }
    destination[at] = 0;
    return counted;
}

std::string RecordText(ServerAccount const &account, std::initializer_list<char const *> fields) {
    std::string text;
    for (char const *field : fields) {
        if (field == account.password)
            AppendEncoded(text, account);
        else
            text.append(FirstLine(field));
        text += '\n';
    }
    return text;
}

RecordLines::RecordLines(std::string_view text) : rest_(text.substr(0, kProfileFileBytes)) {
    rest_ = rest_.substr(0, rest_.find('\0'));
}

// kept: empty lines are skipped, so an empty field moves the later ones up; files that were saved so are read so
std::string_view RecordLines::Next() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of('\n'), rest_.size()));
    std::string_view const line = rest_.substr(0, rest_.find('\n'));
    rest_.remove_prefix(line.size());
    return line;
}

void RecordLines::TakePassword(char *field, size_t width) {
    std::string_view const line = Next();
    if (line.empty())
        return;
    char decoded[kProfileFileBytes + 1];
    int32_t const length = Base64Decode(decoded, std::string(line).c_str());
    CopyText(field, width, {decoded, static_cast<size_t>(std::max(length, 0))});
    explicit_bzero(decoded, sizeof decoded);
}

bool ReadRecord(std::string const &path, std::function<void(std::string_view)> const &take) {
    Fd const file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.Valid())
        return false;
    char text[kProfileFileBytes];
    long const length = ReadAll(file.Get(), text, sizeof text);
    take({text, static_cast<size_t>(std::max(length, 0L))});
    explicit_bzero(text, sizeof text);
    return true;
}

bool WriteRecord(std::string const &directory, char const *name, std::string text) {
    std::string const path = directory + name + ".dat";
    std::string const beside = directory + "." + name + ".dat.new";
    bool const stored = ReplaceFile(path, beside, text);
    if (!stored)
        LogError("Profile %s cannot be written: %s", path.c_str(), strerror(errno));
    explicit_bzero(text.data(), text.size());
    return stored;
}

bool IsProfileName(std::string_view name) { return IsPlainName(name) && name[0] != '.'; }
