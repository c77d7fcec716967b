#include "state/uidl_log.h"

#include "base/paths.h"
#include "base/settings.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr size_t kLargestLog = size_t{256} << 20;
constexpr size_t kWorthShortening = 1000; ///< lines that say nothing any more

std::string DirectoryOfLogs() { return StateDirectory() + "uidl/"; }
std::string PathOf(std::string const &profile) { return DirectoryOfLogs() + profile; }

/// A folder's name as one word: blanks, control characters and '%' as "%20".
std::string WordOf(std::string_view name) {
    std::string word;
    for (char const byte : name) {
        bool const plain = static_cast<unsigned char>(byte) > ' ' && byte != '%' && byte != 0x7f;
        word += plain ? std::string(1, byte) : "%" + HexByte(byte);
    }
    return word;
}

std::string NameOf(std::string_view word) {
    std::string name;
    for (size_t i = 0; i < word.size(); i++) {
        unsigned code = 0;
        bool const encoded = word[i] == '%' && i + 2 < word.size() &&
                             std::from_chars(word.data() + i + 1, word.data() + i + 3, code, 16).ec == std::errc();
        name += encoded ? static_cast<char>(code) : word[i];
        i += encoded ? 2 : 0;
    }
    return name;
}

/// Takes the lock within 10 s.
bool Lock(int file) {
    for (int i = 0; i < 100; i++) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EWOULDBLOCK && errno != EINTR)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

void Note(std::string const &profile, std::string const &line) {
    Fd const file(open(PathOf(profile).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW));
    if (file.Valid())
        WriteAll(file.Get(), line);
}

} // namespace

bool IsUid(std::string_view uid) {
    return !uid.empty() && uid.size() <= 255 &&
           std::all_of(uid.begin(), uid.end(), [](char byte) { return byte > ' ' && byte < 0x7f; });
}

UidlLog::UidlLog(std::string const &profile) : path_(PathOf(profile)) {
    if (StateDirectory().empty()) {
        errno = ENOENT;
        return;
    }
    MakeDirectories(DirectoryOfLogs());
    for (int tries = 0; tries < 10; tries++) {
        Fd file(open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600));
        struct stat opened {
        }, named{};
        if (!file.Valid() || !Lock(file.Get()) || fstat(file.Get(), &opened) != 0)
            return;
        // The program that had the lock may have put a shorter file in this one's place.
        if (stat(path_.c_str(), &named) != 0 || opened.st_ino != named.st_ino)
            continue;
        std::optional<std::string> const text = ReadRegularFile(path_, kLargestLog);
        if (!text)
            return;
        Read(*text);
        // What a kill has cut off would run into the next line.
        if (!text->empty() && text->back() != '\n' &&
            ftruncate(file.Get(), static_cast<off_t>(text->rfind('\n') + 1)) != 0)
            return;
        file_ = std::move(file);
        return;
    }
}

void UidlLog::Read(std::string_view text) {
    for (size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1))
        Apply(text.substr(0, end));
}

void UidlLog::Apply(std::string_view line) {
    lines_++;
    std::vector<std::string_view> const words = WordsOf(line);
    std::string_view const what = words.empty() ? "" : words[0];
    if (what == "fetch" && words.size() >= 2) {
        unendedFrom_ = static_cast<int32_t>(LongPrefix(words[1]));
        unended_.assign(words.begin() + 2, words.end());
    } else if (what == "done") {
        unended_.clear();
    } else if (what == "seen" && words.size() == 5) {
        SeenMessage const message{NameOf(words[2]), static_cast<int32_t>(LongPrefix(words[3])), LongPrefix(words[4])};
        byPlace_[{message.folder, message.number}] = words[1];
        seen_.insert_or_assign(std::string(words[1]), message);
    } else if (what == "gone" && words.size() == 2) {
        if (auto const found = seen_.find(words[1]); found != seen_.end()) {
            byPlace_.erase({found->second.folder, found->second.number});
            seen_.erase(found);
        }
    } else if ((what == "moved" && words.size() == 5) || (what == "deleted" && words.size() == 3)) {
        auto const place = byPlace_.find({NameOf(words[1]), static_cast<int32_t>(LongPrefix(words[2]))});
        if (place == byPlace_.end())
            return;
        std::string const uid = place->second;
        byPlace_.erase(place);
        SeenMessage &message = seen_[uid];
        message.folder = what == "moved" ? NameOf(words[3]) : "";
        message.number = what == "moved" ? static_cast<int32_t>(LongPrefix(words[4])) : 0;
        if (what == "moved")
            byPlace_[{message.folder, message.number}] = uid;
    }
}

SeenMessage const *UidlLog::Find(std::string const &uid) const {
    auto const found = seen_.find(uid);
    return found == seen_.end() ? nullptr : &found->second;
}

bool UidlLog::Append(std::string const &lines) {
    off_t const before = lseek(file_.Get(), 0, SEEK_END);
    if (before >= 0 && WriteAll(file_.Get(), lines) && fdatasync(file_.Get()) == 0) {
        Read(lines);
        return true;
    }
    // Half a line must not run into the next one.
    int const error = errno;
    if (before >= 0 && ftruncate(file_.Get(), before) != 0)
        file_.Reset();
    errno = error;
    return false;
}

bool UidlLog::Begin(int32_t lastNumber, std::span<std::string const> uids) {
    std::string line = "fetch " + std::to_string(lastNumber);
    for (std::string const &uid : uids)
        line += " " + uid;
    return Append(line + "\n");
}

bool UidlLog::Commit(std::span<StoredMessage const> stored, int64_t now) {
    std::string lines;
    for (StoredMessage const &message : stored)
        lines += "seen " + message.uid + " " + WordOf(kInbox) + " " + std::to_string(message.number) + " " +
                 std::to_string(now) + "\n";
    return Append(lines + "done\n");
}

std::string UidlLog::Text() const {
    std::string text;
    for (auto const &[uid, message] : seen_) {
        // A message that was deleted here stands in a folder that no folder can be.
        std::string const folder = message.folder.empty() ? "/" : WordOf(message.folder);
        text += "seen " + uid + " " + folder + " " + std::to_string(message.number) + " " +
                std::to_string(message.time) + "\n";
        if (message.folder.empty())
            text += "deleted / " + std::to_string(message.number) + "\n";
    }
    return text;
}

bool UidlLog::KeepOnly(std::map<std::string, int, std::less<>> const &onServer) {
    std::string lines;
    for (auto const &[uid, message] : seen_)
        if (!onServer.contains(uid))
            lines += "gone " + uid + "\n";
    if (!lines.empty() && !Append(lines))
        return false;
    if (!unended_.empty() || lines_ < 2 * seen_.size() + kWorthShortening)
        return true;
    // A program that waits for the old file's lock finds another file in its place.
    if (!ReplaceFile(path_, path_ + ".new", Text()))
        return false;
    lines_ = seen_.size();
    file_.Reset(open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC | O_NOFOLLOW));
    return file_.Valid() && Lock(file_.Get());
}

void NoteMoved(std::string const &profile, std::string_view folder, int32_t number, std::string_view newFolder,
               int32_t newNumber) {
    Note(profile, "moved " + WordOf(folder) + " " + std::to_string(number) + " " + WordOf(newFolder) + " " +
                      std::to_string(newNumber) + "\n");
}

void NoteDeleted(std::string const &profile, std::string_view folder, int32_t number) {
    Note(profile, "deleted " + WordOf(folder) + " " + std::to_string(number) + "\n");
}
