#pragma once
// What a print context holds.

#include "Pp.h"

#include <QPrinter>

#include <memory>

struct PpPrintContext {
    std::unique_ptr<QPrinter> printer; ///< set up by the print selection; a PDF file, or a printer of the system
};
