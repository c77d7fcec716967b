#include "news/session/group.h"

#include "base/fd.h"
#include "base/text.h"
#include "news/session/answer_copy.h"
#include "news/session/news_files.h"

#include <algorithm>
#include <fcntl.h>

namespace {

/// Takes the next number of a status line off. False when none stands there.
bool TakeNumber(std::string_view &text, std::atomic<int32_t> &number) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::string_view const word = text.substr(0, text.find(' '));
    if (!LeadingNumber(word))
        return false;
    number = std::max(0, *LeadingNumber(word)); // numbers of articles and of counts are never negative
    text.remove_prefix(word.size());
    return true;
}

/// Asks for the numbers of the selected group's articles.
Outcome StoreNumbers(NewsSession &session, std::string const &path) {
    NntpReply const reply = session.Ask("LISTGROUP");
    if (!reply.Came())
        return session.Loss();
    Fd const file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    session.Profile().noNumbers = reply.IsGood() ? "" : reply.line;
    Outcome const end = reply.IsGood() ? CopyNumbers(*session.Wire(), file.Get()) : Outcome();
    if (!end)
        session.Close();
    return end;
}

/// Where the download stands in its group. Selecting the group again, on a new connection, would send it back to the
/// first article.
class KeepPlace {
  public:
    explicit KeepPlace(NewsProfile &profile)
        : profile_(profile), cursor_(profile.articleCursor), done_(profile.headersDone), batch_(profile.batchSize) {}
    ~KeepPlace() {
        profile_.articleCursor = std::max<int32_t>(profile_.articleCursor, cursor_);
        profile_.headersDone = done_;
        profile_.batchSize = batch_;
    }
    KeepPlace(KeepPlace const &) = delete;
    KeepPlace &operator=(KeepPlace const &) = delete;

  private:
    NewsProfile &profile_;
    int32_t cursor_, done_, batch_;
};

} // namespace

NewsOutcome SelectGroup(NewsSession &session, std::string const &group, NewsLogin const &login) {
    if (!IsGroupName(group))
        return {Failed("This is not the name of a newsgroup")};
    std::string const command = "GROUP " + group;
    NntpReply reply = session.Ask(command);
    if (!reply.Came() && !session.Stopped())
        PrintLoss("selectnewsgroup: select()", reply);
    if (reply.code == kLoginNeeded) {
        if (NewsOutcome const end = LogInToNews(*session.Wire(), login); !end) {
            if (end.ending != Ending::kRefused)
                session.Close();
            return end;
        }
        reply = session.Ask(command);
    }
    if (!reply.Came())
        return {session.Loss()};
    NewsProfile &profile = session.Profile();
    profile.headersDone = 0; // kept: for a refusal, too
    if (reply.code != kGroupSelected)
        return {Refused(reply.line)};
    std::string_view rest = reply.line;
    rest.remove_prefix(std::min(rest.find(' '), rest.size()));
    // kept: numbers that the answer lacks stay as they were.
    static_cast<void>(TakeNumber(rest, profile.articleCount) && TakeNumber(rest, profile.articleCursor) &&
                      TakeNumber(rest, profile.lastArticle));
    profile.batchSize = 0;
    return {StoreNumbers(session, NumberListPath(profile.name, group))};
}

NewsOutcome OpenGroup(NewsSession &session, std::string const &group, NewsStep const &step) {
    NewsProfile &profile = session.Profile();
    if (!session.Wire()) {
        step("Connecting to news server");
        if (Outcome const end = session.Connect(); !end)
            return {end};
    }
    step("opening group");
    CopyText(profile.currentGroup, "");
    NewsOutcome end = SelectGroup(session, group, session.Login());
    if (!end && session.WasIdle()) {
        if (Outcome const connected = session.Connect(); !connected)
            return {connected};
        end = SelectGroup(session, group, session.Login());
    }
    if (end)
        CopyText(profile.currentGroup, group);
    return end;
}

NewsOutcome ReopenGroup(NewsSession &session) {
    if (Outcome const end = session.Connect(); !end)
        return {end};
    KeepPlace const place(session.Profile());
    NewsOutcome end = SelectGroup(session, session.Profile().currentGroup, session.Login());
    // Nothing may take this connection for one that has the group selected.
    if (!end)
        session.Close();
    return end;
}
