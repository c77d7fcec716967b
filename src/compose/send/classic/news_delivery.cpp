#include "compose/send/classic/news_delivery.h"

#include "base/fd.h"
#include "base/paths.h"
#include "profiles/news_profile_file.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

/// The texts of articles whose window closed without them being posted.
constexpr char kUnsentFile[] = "unsent";

} // namespace

std::string GroupList(std::string_view text) {
    std::string groups = FieldValue(text);
    std::erase(groups, ' ');
    return groups;
}

NewsDelivery::NewsDelivery(Draft const &draft, SendProgress const &progress)
    : Delivery(draft, progress), profile_(new NewsProfile) {
    ReadNewsProfile(draft.profile.c_str(), *profile_);
    FillMessage(*profile_);
    header_ = {.groups = GroupList(draft.to),
               .from = message_.address,
               .subject = message_.subject,
               .references = FieldValue(draft.references)};
}

Outcome NewsDelivery::Talk(Stream &stream) {
    NntpPosting posting{.stream = stream,
                        .userName = profile_->userName,
                        .password = profile_->password,
                        .writeArticle = [&] { return Write(&stream, -1).wire; },
                        .tell = progress_.tell};
    Outcome outcome = PostOverNntp(posting);
    mayNotPost_ = posting.mayNotPost;
    return outcome;
}

/// Appends the article to the file, whole or not at all. Another window's thread may be at it as well.
bool NewsDelivery::AppendTo(int file) {
    off_t const before = file >= 0 && flock(file, LOCK_EX) == 0 ? lseek(file, 0, SEEK_END) : -1;
    if (before < 0)
        return false;
    if (Write(nullptr, file, "\r\n\r\n").file && fdatasync(file) == 0)
        return true;
    if (ftruncate(file, before) != 0)
        perror("unsent article: ftruncate()");
    return false;
}

void NewsDelivery::Finish(SendResult &result) {
    if (!mayNotPost_ || IsStopped())
        return;
    std::string const path = FolderDirectory("news", draft_.profile) + kUnsentFile;
    // A FIFO's reader is not waited for.
    Fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    result.textIsSafe = AppendTo(file.Get()) && file.Reset();
    result.status = result.textIsSafe ? "The article was not posted, its text is in " + path
                                      : "The article was not posted, and its text could not be saved";
}
