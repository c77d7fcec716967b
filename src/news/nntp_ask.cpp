#include "news/nntp_ask.h"

#include "base/text.h"
#include "net/connection.h"
#include "net/line_io.h"
#include "news/answer_copy.h"
#include "widgets/toolkit.h"

#include <algorithm>

namespace {

/// A status line is kept up to this; RFC 3977 3.1 allows 512 bytes.
constexpr size_t kStatusLineWidth = 1000;

} // namespace

NntpReader AnswerReader(int socket, std::function<bool()> stopped) {
    NntpReader reader(socket, std::move(stopped));
    if (HoldsLibrary()) {
        reader.beforeWait = [] { PtLeave(0); };
        reader.afterWait = [] {
            PtEnter(0);
            PtFlush();
        };
    }
    return reader;
}

int32_t AskNews(NntpReader &reader, int socket, std::string const &command, std::string &answer) {
    std::string_view line;
    if (WriteServerLine(socket, command.c_str()) < 0 || !reader.ReadLine(line, kStatusLineWidth)) {
        answer = ReasonOf(AnswerEnd::kLost);
        return -1;
    }
    answer = line;
    return std::max(0, DecimalPrefix(answer));
}

std::function<bool()> WhenStopped(NewsProfile &profile) {
    return [&profile, ticket = profile.downloadTicket.load()] { return profile.downloadTicket != ticket; };
}

void DropNewsConnection(NewsProfile &profile, int socket) {
    if (socket > 0 && profile.serverSocket == socket)
        CloseConnection(profile);
}
