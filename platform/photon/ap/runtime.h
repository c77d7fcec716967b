#pragma once
// What the files of the runtime share.

#include "Ap.h"
#include "core/display.h"

#include <string>

/// Makes ApInitialize's context known. Null before.
ApContext_t *ApContext();
void ApSetContext(ApContext_t *context);

/// The number of a widget name, 0 for one that the program does not know.
int ApNumberOf(std::string const &name);

/// Gives a new widget what its module file says: number, flags and resources.
void ApApply(PtWidget_t &widget, PtModuleWidget const &from);
