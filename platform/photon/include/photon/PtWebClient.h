#pragma once
// A view on pages that a server program of its own (vserver) loads, cleans and hands over.

#include "Pt.h"

extern PtWidgetClassRef_t PtWebClient;

enum {
    Pt_ARG_CLIENT_NAME = 99004,        ///< name shared with the server
    Pt_ARG_WEB_GET_URL = 100000,       ///< action: loads the URL, also the same one again
    Pt_ARG_WEB_SERVER = 100009,        ///< action: starts the server command
    Pt_ARG_WEB_OPTION = 100012,        ///< value, the option's name in len; accepted and ignored
    Pt_ARG_WEB_PRINT = 100017,         ///< action: prints the shown page to a PpPrintContext_t
    Pt_ARG_WEB_STARTUP_ERRNO = 100018, ///< int, read only: 0 or why the server did not start
    Pt_ARG_WEB_COMMAND = 100019,       ///< action: command code in len, block in value
    Pt_ARG_WEB_ROOTS = 100900,         ///< ours: directories (char **, count) that pages may come from
    Pt_CB_WEB_CONTEXT = 100901,        ///< ours: a link was pointed at; cbdata is its address, or "" (char const *)
    Pt_ARG_WEB_NAMES_IMAGES = 100902   ///< ours: int, read only: 1 when images are frames with their names
};

enum { Pt_WEB_COMMAND_EXIT = 2, Pt_WEB_COMMAND_13 = 13 };
