#include "news/nntp.h"

#include "base/fd.h"
#include "base/text.h"
#include "names/widgets.h"
#include "net/address.h"
#include "net/line_io.h"
#include "news/answer_copy.h"
#include "news/news_files.h"
#include "news/nntp_ask.h"
#include "widgets/server_calls.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// The group list is taken from the server in pieces of this size, and the last one is cut: see CopyBody.
constexpr size_t kListingPiece = 500;
constexpr size_t kListingCut = 5;

/// In place of an answer's number. Lost is what AskNews says, too.
constexpr int32_t kLost = -1, kRefused = -2;
constexpr int32_t kGoodLogin = 281, kLoginNeeded = 480, kGroupSelected = 211;

using Stopped = std::function<bool()>;

bool IsGood(int32_t code) { return code / 100 == 2; }

int MakeFile(std::string const &path) {
    return path.empty() ? -1 : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

/// Sends one half of a login, which shall not stay behind in memory.
int32_t AskSecretly(int socket, char const *command, char const *argument, Stopped const &stopped,
                    std::string &answer) {
    NntpReader reader = AnswerReader(socket, stopped);
    std::string line = std::string(command).append(FirstLine(argument));
    int32_t const code = AskNews(reader, socket, line, answer);
    explicit_bzero(line.data(), line.size());
    return code;
}

int LogIn(int socket, char const *userName, char const *password, Stopped const &stopped) {
    std::string answer;
    if (AskSecretly(socket, "AUTHINFO USER ", userName, stopped, answer) < 0)
        return -1;
    int32_t const code = AskSecretly(socket, "AUTHINFO PASS ", password, stopped, answer);
    if (code >= 0 && code != kGoodLogin) {
        ToolkitGuard const guard;
        ShowError(ABW_base, "Error", answer.c_str());
    }
    return code;
}

/// Returns kGoodLogin, or kLost or kRefused after an alert.
int32_t LogInOrAlert(int socket, char const *userName, char const *password, Stopped const &stopped) {
    int const code = LogIn(socket, userName, password, stopped);
    if (code == kGoodLogin)
        return code;
    ToolkitGuard const guard;
    ShowError(ABW_base, "Error", "Could not authenticate to server");
    return code < 0 ? kLost : kRefused;
}

/// Copies the group list, whose status line was read, into the file. Returns 1, or -1 after saying why.
int StoreListing(NntpReader &reader, int file) {
    AnswerEnd const end = CopyBody(reader, file, kListingPiece, kListingCut);
    if (end == AnswerEnd::kMark || end == AnswerEnd::kLost)
        return 1;
    SetStatus(ReasonOf(end));
    if (ftruncate(file, 0) != 0)
        perror("getnewsgrouplisting: ftruncate()");
    return -1;
}

/// LIST is sent twice in any case; without a login the second answer queues behind the first and stays unread.
/// Returns 1, or -1 after saying why.
int FetchListing(int socket, int file, char const *userName, char const *password, Stopped const &stopped) {
    std::string answer;
    NntpReader first = AnswerReader(socket, stopped);
    int32_t const code = AskNews(first, socket, "LIST", answer);
    if (code == kLoginNeeded) {
        if (LogInOrAlert(socket, userName, password, stopped) != kGoodLogin)
            return -1;
        NntpReader second = AnswerReader(socket, stopped);
        if (IsGood(AskNews(second, socket, "LIST", answer)))
            return StoreListing(second, file);
    } else if (code != kLost && WriteServerLine(socket, "LIST") > 0 && IsGood(code)) {
        return StoreListing(first, file);
    }
    SetStatus(answer);
    return -1;
}

/// The next decimal number of a status line; it is taken off. Numbers of articles and of counts are never negative.
int32_t NextNumber(std::string_view &text) {
    size_t const begin = std::min(text.find_first_not_of(' '), text.size());
    size_t const end = std::min(text.find(' ', begin), text.size());
    int32_t const number = DecimalPrefix(text.substr(begin, end - begin));
    text.remove_prefix(end);
    return std::max(0, number);
}

/// Asks the server to select the group, logging in when it wants that. Returns the answer's number, kLost or
/// kRefused.
int32_t AskForGroup(int socket, std::string const &group, char const *userName, char const *password,
                    Stopped const &stopped, std::string &answer) {
    std::string const command = "GROUP " + group;
    NntpReader first = AnswerReader(socket, stopped);
    int32_t const code = AskNews(first, socket, command, answer);
    if (code != kLoginNeeded)
        return code;
    int32_t const login = LogInOrAlert(socket, userName, password, stopped);
    if (login != kGoodLogin)
        return login;
    NntpReader second = AnswerReader(socket, stopped);
    return AskNews(second, socket, command, answer);
}

/// Asks for the numbers of the selected group's articles. A server that has no such command leaves the file empty.
bool StoreNumbers(int socket, std::string const &path, Stopped const &stopped, std::string &answer) {
    NntpReader reader = AnswerReader(socket, stopped);
    std::string numbers;
    int32_t const code = AskNews(reader, socket, "LISTGROUP", numbers);
    Fd const file(MakeFile(path));
    AnswerEnd const end = code < 0       ? AnswerEnd::kLost
                          : IsGood(code) ? CopyNumbers(reader, file.Get())
                                         : AnswerEnd::kMark;
    if (end != AnswerEnd::kMark)
        answer = ReasonOf(end);
    return end == AnswerEnd::kMark;
}

} // namespace

int httpget(char const *server, std::atomic<bool> const *cancelled) {
    Fd socket(OpenServerConnection(server, kNntp, 1, cancelled));
    if (!socket.Valid())
        return -1;
    NntpReader reader = AnswerReader(socket.Get(), [cancelled] { return cancelled && *cancelled; });
    std::string_view greeting;
    if (reader.ReadLine(greeting, 0))
        return socket.Release();
    if (!reader.Stopped())
        SetStatus("The news server does not answer");
    return -1;
}

int NntpAuthinfo(int socket, char const *userName, char const *password) {
    return LogIn(socket, userName, password, {});
}

int getnewsgrouplisting(int socket, NewsProfile &profile, char const *path, char const *userName,
                        char const *password) {
    Fd const file(MakeFile(path));
    if (!file.Valid())
        return -1;
    Stopped const stopped = WhenStopped(profile);
    int const result = FetchListing(socket, file.Get(), userName, password, stopped);
    // A second list may be queued on the connection, or half of the first.
    DropNewsConnection(profile, socket);
    return result;
}

int32_t selectnewsgroup(int socket, NewsProfile &profile, char const *group, char const *userName,
                        char const *password, std::string *answer) {
    std::string unwanted;
    std::string &reply = answer ? *answer : unwanted;
    if (!IsGroupName(group)) {
        reply = "This is not the name of a newsgroup";
        return -1;
    }
    Stopped const stopped = WhenStopped(profile);
    int32_t const code = AskForGroup(socket, group, userName, password, stopped, reply);
    if (code == kLost)
        DropNewsConnection(profile, socket);
    if (code < 0)
        return -1;
    profile.headersDone = 0;
    if (code != kGroupSelected)
        return -1;
    std::string_view numbers = std::string_view(reply).substr(std::min<size_t>(reply.find(' '), reply.size()));
    profile.articleCount = NextNumber(numbers);
    profile.articleCursor = NextNumber(numbers);
    profile.lastArticle = NextNumber(numbers);
    profile.batchSize = 0;
    if (StoreNumbers(socket, NumberListPath(profile.name, group), stopped, reply))
        return profile.articleCursor;
    DropNewsConnection(profile, socket);
    return -1;
}
