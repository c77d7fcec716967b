#pragma once
// Modules from Designer files.

#include "core/display.h"

/// Builds the Qt widgets of a module, unseen, and lists them. False when there is no such module.
bool LoadModule(std::string const &module, PtModuleInstance &instance);
/// Makes the views of a loaded module's widgets.
void BindModule(PtModuleInstance &instance, std::vector<PtWidget_t *> const &widgets);
