#pragma once
// One run of the header download. Private to this folder.

#include "base/account.h"

#include <cstdint>
#include <string>

/// What a download was started for. It ends when any of it is no longer so.
struct DownloadStart {
    uint32_t ticket;  ///< the account's downloadTicket
    unsigned listAge; ///< the header list's
};

/// Now. Under the library lock.
DownloadStart StartOfDownload(NewsProfile const &profile);

/// getnewsheaders for what was started then. `problem` gets what the person shall know when the server has refused
/// the overview or the connection was lost; it stays empty when there are no more articles.
int DownloadHeaders(int socket, NewsProfile &profile, int32_t count, int32_t total, DownloadStart const &start,
                    std::string &problem);
