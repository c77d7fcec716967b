#pragma once
// The link tables: which callback of which widget does what. AbContext is the program as the application-builder
// runtime sees it; one per program.

#include "Ap.h"

extern ApContext_t AbContext;
