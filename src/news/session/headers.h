#pragma once
// The overview of a group's articles (RFC 3977 8.3), for the rows that it makes.

#include "news/session/connection.h"
#include "news/session/overview.h"

#include <cstdint>

/// Who takes the lines.
class OverviewSink {
  public:
    virtual ~OverviewSink() = default;

    /// Lines have arrived, and Take comes for each of them. False when they are no longer wanted.
    virtual bool Start() = 0;
    /// One line, with its number. Anything but kDone ends the download so.
    virtual Outcome Take(OverviewLine const &line, int32_t number) = 0;
    /// The session waits for the server, or is at its end. Comes after each Start, whatever it said.
    virtual void Pause() = 0;
};

/// Fetches the overview of `count` articles from the account's current one on (below 1: of all the rest) and moves
/// articleCursor and headersDone with each line. Nothing is asked for a count of 0 and of a group without articles. A
/// connection that the server has ended in between is made again once, with its group selected. Outcomes: kDone, also
/// when there are no more articles; kRefused in the server's words, also when it has refused the numbers of the
/// group's articles; kLost; kStopped, also when the sink wants no more; what the sink says; kFailed: no connection,
/// too many lines, or the numbers could not be read. A connection with half an answer on it is closed.
NewsOutcome FetchHeaders(NewsSession &session, int32_t count, OverviewSink &sink);
