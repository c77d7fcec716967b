#include "news/session/group_list.h"

#include "base/fd.h"
#include "news/session/answer_copy.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

// kept: the list is taken in pieces of this size, and five bytes are cut off the last one even when more than the
// mark has come with it; the files of earlier versions are so.
constexpr size_t kPiece = 500;
constexpr size_t kCut = 5;

/// Copies the list, whose status line was read, into the file.
Outcome Store(Stream &stream, int file) {
    Outcome const end = CopyBody(stream, file, kPiece, kCut);
    if (end.ending == Ending::kFailed && ftruncate(file, 0) != 0)
        perror("getnewsgrouplisting: ftruncate()");
    return end;
}

} // namespace

NewsOutcome FetchGroupList(Stream &stream, char const *path, NewsLogin const &login) {
    Fd const file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file.Valid())
        return {Failed("The news server's answer could not be stored")};
    NntpReply reply = AskNntp(stream, "LIST");
    if (!reply.Came() && !stream.Stopped())
        PrintLoss("getnewsgrouplisting: select()", reply);
    if (reply.code == kLoginNeeded) {
        if (NewsOutcome const end = LogInToNews(stream, login); !end)
            return end;
        reply = AskNntp(stream, "LIST");
    } else if (reply.Came() && stream.WriteLine("LIST") < 0) {
        // kept: the list is asked for twice without a login, too; the second answer stays unread.
        reply = {};
    }
    if (!reply.Came())
        return {NewsLoss(stream.Stopped())};
    return {reply.IsGood() ? Store(stream, file.Get()) : Refused(reply.line)};
}
