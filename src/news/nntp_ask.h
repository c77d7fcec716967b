#pragma once
// One command to a news server and its status line. Private to this folder.

#include "base/account.h"
#include "news/nntp_read.h"

#include <cstdint>
#include <functional>
#include <string>

/// A reader for one answer of the server. For a thread that holds the library lock it leaves the library during each
/// wait and paints the window after it.
NntpReader AnswerReader(int socket, std::function<bool()> stopped = {});

/// Sends `command` (its first line) and reads the status line of the answer into `answer`. Returns the line's number;
/// -1 when the connection is lost, and `answer` says so.
int32_t AskNews(NntpReader &reader, int socket, std::string const &command, std::string &answer);

/// For the reader: true from when the account's download is stopped.
std::function<bool()> WhenStopped(NewsProfile &profile);

/// Closes the account's connection when `socket` is that: what still comes on it would be taken for the next answer.
/// Which group it had selected stays known.
void DropNewsConnection(NewsProfile &profile, int socket);
