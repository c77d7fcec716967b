#include "app/start.h"

#include "Pf.h"
#include "Pg.h"
#include "app/context_menus.h"
#include "app/folder_view.h"
#include "app/home_page.h"
#include "app/message_commands.h"
#include "app/timers.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/scratch.h"
#include "base/settings.h"
#include "base/text.h"
#include "base/way.h"
#include "names/widgets.h"
#include "photon/PtWebClient.h"
#include "profiles/profile_tree.h"
#include "store/folder.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

int WebNumber(long resource) {
    int *number = nullptr;
    PtGetResource(ABW_webEmailMessage, resource, &number, 0);
    return number ? *number : 0;
}

int WebStartError() { return WebNumber(Pt_ARG_WEB_STARTUP_ERRNO); }

/// Starts the page server of the message view, from the path or else from its usual place. Without one the program
/// runs on, shows no pages and says so.
void StartPageServer() {
    PtWidget_t *const web = ABW_webEmailMessage;
    char const *roots[] = {TempDir, HomePageDirectory().c_str()};
    bool const scratch = TempDir[0] != 0;
    PtSetResource(web, Pt_ARG_WEB_ROOTS, scratch ? roots : roots + 1, scratch ? 2 : 1);
    PtSetResource(web, Pt_ARG_WEB_OPTION, "10000", "main_cache_kb_size");
    PtSetResource(web, Pt_ARG_WEB_OPTION, "10000", "Image_Cache_Size_KB");
    PtSetResource(web, Pt_ARG_WEB_COMMAND, nullptr, Pt_WEB_COMMAND_13);
    PtSetResource(web, Pt_ARG_CLIENT_NAME, "Corvanta", 0);
    PtSetResource(web, Pt_ARG_WEB_SERVER, "vserver -n Corvanta", 0);
    if (WebStartError() == 0)
        return;
    PtSetResource(web, Pt_ARG_WEB_SERVER, "/usr/photon/bin/vserver", 0);
    if (int const error = WebStartError()) {
        errno = error;
        perror("Error setting up vserver\n");
        SetStatus(std::string("Messages cannot be shown: the page server could not be started: ") + strerror(error));
    }
}

/// A program that was killed while it sent has left a row without words and an empty file.
void TakeBackUnsent() {
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeProfiles); item; item = BrotherOf(item))
        if (ServerAccount const *const account = ProfileOf(item); account && account->profileKind == kMailProfile)
            TakeBackReserved(FolderDirectory(account->name, kOutbox).c_str());
}

/// Once, at the start: each image of a message says its name from then on.
void TellIfImagesAreNotShown() {
    if (WebNumber(Pt_ARG_WEB_NAMES_IMAGES))
        SetStatus("Images are shown by name only: this system has no seccomp to decode them safely");
}

/// The page server takes longer to start than the window to appear: it is started once the window is there.
int ShowFirstPage(void *) {
    if (!ABW_webEmailMessage)
        return Pt_END;
    StartPageServer();
    TellIfImagesAreNotShown();
    ShowHomePage();
    return Pt_END;
}

/// "%C" stands for the command's name.
constexpr std::string_view kUsage = R"(%C - This is a QNX/Photon Application.

%C [options]

Options:
 -s server      Photon server node or device
 -x x[%][r]     initial position, in pixels or in percent of the screen;
 -y y[%][r]     with "r" relative to the current console
 -h h[%]        initial height, in pixels or in percent of the screen
 -w w[%]        initial width, likewise
 -S i|m|n       initial window state: iconified, maximised or normal
 -v             debug messages to the system log; given twice, more of them
 --help         this text
 --version      the version

Examples:
 %C -s4
 %C -s//4/dev/photon
 %C -x10 -y10 -h200 -w300
)";

void PrintUsage() {
    constexpr std::string_view kName = "%C";
    size_t from = 0;
    for (size_t at; (at = kUsage.find(kName, from)) != kUsage.npos; from = at + kName.size())
        printf("%.*s%s", static_cast<int>(at - from), kUsage.data() + from, program_invocation_short_name);
    fputs(kUsage.data() + from, stdout);
}

void SetModuleFunctions() {
    ABM_base.setup = SetUpBase;
    ABM_mnuProfile.setup = SetUpProfileMenu;
    ABM_mnuFolder.setup = SetUpFolderMenu;
    ABM_mnuHeaders.setup = SetUpHeadersMenu;
}

} // namespace

bool TellUsage(int argc, char **argv) {
    for (int i = 1; i < argc; i++) {
        std::string_view const argument = argv[i];
        if (argument == "--help")
            PrintUsage();
        else if (argument == "--version")
            puts("Corvanta " CORVANTA_VERSION);
        else
            continue;
        return true;
    }
    return false;
}

int init(int argc, char *argv[]) {
    opterr = 0; // the toolkit's own options are unknown here, and right
    for (int option; (option = getopt(argc, argv, "v")) != -1;)
        if (option == 'v')
            VerboseLevel++;
        else
            LogError("%s: unknown option %c", argv[0], option);
    return 0;
}

int StartCorvanta(int argc, char **argv, ApContext_t &context) {
    signal(SIGPIPE, SIG_IGN);
    // Workers make the rows of large lists. A heap of their own would grow by a page at a time, with a system call
    // for each.
    mallopt(M_ARENA_MAX, 1);
    context.state = 0;
    if (ApInitialize(argc, argv, &context) != 0)
        return -1;
    PgSetDrawBufferSize(65535);
    init(argc, argv);
    SetModuleFunctions();
    return ApLinkWindow(nullptr, &ABM_base, nullptr) ? 0 : -1;
}

int RunCorvanta(int argc, char **argv, ApContext_t &context) {
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0); // a core dump would hold passwords
    if (StartCorvanta(argc, argv, context) != 0)
        return 1;
    PtMainLoop();
    PtExit(0);
}

int SetUpBase(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PfGenerateFontName("Helvetica", 0, 12, AlertFont);
    CopyText(currentFolder, kInbox);
    return Pt_CONTINUE;
}

int OnBaseRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    // kept: before the profiles are loaded, which makes the user's directory: the very first session has no scratch
    // directory and shows no messages.
    SetTempDir();
    EmailWidgetsDb = ApOpenDBase(&ABM_picEmailWidgets);
    SetRowPictures(ABW_treeProfiles);
    SetRowPictures(ABW_treeAttachments);
    LoadMailProfiles(ABW_treeProfiles, kWithFolders);
    TakeBackUnsent();
    LoadNewsProfiles(ABW_treeProfiles, kWithFolders);
    PtAppAddWorkProc(nullptr, ShowFirstPage, nullptr);
    for (unsigned const key : {static_cast<unsigned>(Pk_Return), static_cast<unsigned>(' ')})
        PtAddHotkeyHandler(ABW_treeProfiles, key, 0, Pt_HOTKEY_SYM | Pt_HOTKEY_FOCUSED, nullptr, OnProfileKey);
    PtAddHotkeyHandler(ABW_treeMessageHeaders, Pk_Delete, 0, Pt_HOTKEY_SYM | Pt_HOTKEY_FOCUSED, nullptr, OnDeleteKey);
    PtAddHotkeyHandler(ABW_base, Pk_Escape, 0, Pt_HOTKEY_SYM, nullptr, OnStopKey);
    SetBlocked(ABW_mnuFile_SendWaiting, Classic());
    if (std::string const &problem = ProgramSettings().Problem(); !problem.empty())
        SetStatus(problem);
    return Pt_CONTINUE;
}

int OnBaseUnrealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveTempDir();
    return Pt_CONTINUE;
}

int OnPageViewDestroyed(PtWidget_t *web, ApInfo_t *, PtCallbackInfo_t *) {
    char block[1024] = {};
    PtSetResource(web, Pt_ARG_WEB_COMMAND, block, Pt_WEB_COMMAND_EXIT);
    return Pt_CONTINUE;
}
