#pragma once
// Printing.

#include "Pt.h"

typedef struct PpPrintContext PpPrintContext_t;

enum { Pp_PC_NAME = 1, Pp_PC_FILENAME, Pp_PC_ORIENTATION, Pp_PC_COPIES };

/// A new print context, null on failure; to be released.
PpPrintContext_t *PpCreatePC(void);
int PpReleasePC(PpPrintContext_t *pc);

/// Sets a member: Pp_PC_FILENAME takes a path (char const *) that a PDF is written to.
int PpSetPC(PpPrintContext_t *pc, int member, void const *value, int flags);

enum { Pt_PRINTSEL_PRINT = 1, Pt_PRINTSEL_PREVIEW = 2, Pt_PRINTSEL_CANCEL = 3 };

/// Lets the user choose printer, pages and copies, or a PDF file. Returns Pt_PRINTSEL_...
int PtPrintSelection(PtWidget_t *parent, PhPoint_t const *position, char const *title, PpPrintContext_t *pc,
                     unsigned flags);
