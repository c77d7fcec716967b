#pragma once
// A user's change of a text, and what the verify callbacks make of it.

#include "Pt.h"

#include <functional>
#include <string>

struct TextEdit {
    int start, end; ///< the characters that are replaced
    int cursor;     ///< before the change
    std::string inserted;
};

/// Shows the change to `verify` (Pt_CB_MODIFY_VERIFY). False when it is refused; else `text` is what is inserted: the
/// callback may have pointed the change at another text, of which `length` characters count.
bool VerifyEdit(TextEdit const &edit, std::function<void(PtTextCallback_t &)> const &verify, std::string &text);
