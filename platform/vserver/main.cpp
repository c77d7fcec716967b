// vserver: opens, cleans and decodes the pages that a web view shows, in processes that hold nothing worth stealing.
//
//   vserver -n NAME [-r DIRECTORY]...
//
// NAME is the view's name for the pair, DIRECTORY a place that pages may come from (it may come to be later). The
// view starts it with their connection as descriptor 3 (protocol.h); it ends when that is closed.

#include "sandbox/sandbox.h"
#include "vserver/decode.h"
#include "vserver/server.h"

#include <QtGlobal>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// What image formats have to say about bad images is of no use to anybody.
void DropMessage(QtMsgType, QMessageLogContext const &, QString const &) {}

bool IsViewSocket(int descriptor) {
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET &&
           fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0;
}

} // namespace

int main(int argc, char **argv) {
    std::vector<std::string> roots;
    for (int option; (option = getopt(argc, argv, "n:r:")) != -1;) {
        if (option == 'r')
            roots.emplace_back(optarg);
        else if (option != 'n')
            return 2;
    }
    if (!IsViewSocket(vserver::kServerSocket)) {
        fputs("vserver: shows pages to a web view and is started by it\n", stderr);
        return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(DropMessage);
    vserver::LoadImageFormats();
    std::vector<vserver::Root> opened = vserver::OpenRoots(roots);
    sandbox::Shut const shut = sandbox::EnterServerSandbox(roots);
    if (shut == sandbox::Shut::Failed)
        return 1;
    return vserver::Server(vserver::kServerSocket, std::move(opened), shut == sandbox::Shut::Fully).Run();
}
