#pragma once
// Start-up and end of the program.

#include "Ap.h"

/// Prints what --help or --version asks for. False when the arguments have neither: then the program is to run.
bool TellUsage(int argc, char **argv);

/// Initialises the toolkit, reads the options and opens the main window `base`. Returns 0, -1 when the toolkit or the
/// window cannot be had. Call PtMainLoop afterwards.
int StartCorvanta(int argc, char **argv, ApContext_t &context);

/// The whole run: StartCorvanta, the main loop, PtExit. Returns 1 when the start failed, and 0 after --help or
/// --version, whose text is printed without a display. The process leaves no core dump.
int RunCorvanta(int argc, char **argv, ApContext_t &context);

/// Reads the program's own options: -v raises VerboseLevel; an unknown one is logged and skipped. Returns 0.
int init(int argc, char *argv[]);

/// Setup function of `base`: the alerts' font, the open folder.
int SetUpBase(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// `base` appears and disappears.
int OnBaseRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnBaseUnrealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// The message view goes, and the page server with it.
int OnPageViewDestroyed(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
