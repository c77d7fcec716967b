#include "widgets/server_calls.h"

#include "net/connection.h"
#include "widgets/toolkit.h"

namespace {

int Shown(OpenedSocket opened) {
    if (!opened.outcome.text.empty())
        SetStatus(opened.outcome.text);
    return opened.socket.Release();
}

} // namespace

int OpenMailConnection(MailProfile &profile, void *, int kind) { return Shown(OpenSocket(profile.popServer, kind)); }

int OpenServerConnection(char const *text, int kind, int, std::atomic<bool> const *cancelled) {
    return Shown(OpenSocket(text, kind, [cancelled] { return cancelled && *cancelled; }));
}
