#pragma once
// Printing.

#include "Pt.h"

typedef struct PpPrintContext PpPrintContext_t;

/// A new print context, null on failure; to be released.
PpPrintContext_t *PpCreatePC(void);
int PpReleasePC(PpPrintContext_t *pc);

enum { Pt_PRINTSEL_PRINT = 1, Pt_PRINTSEL_PREVIEW = 2, Pt_PRINTSEL_CANCEL = 3 };

/// Lets the user choose printer, pages and copies, or a PDF file. Returns Pt_PRINTSEL_...
int PtPrintSelection(PtWidget_t *parent, PhPoint_t const *position, char const *title, PpPrintContext_t *pc,
                     unsigned flags);
