#include "names/widgets.h"

PtWidget_t *AbWidgets[ABN_count];

char const *const AbNames[ABN_count] = {nullptr,
#define CORVANTA_NAME(name) #name,
                                        CORVANTA_WIDGETS(CORVANTA_NAME)
#undef CORVANTA_NAME
};

#define CORVANTA_MODULE(name, kind) ApEventLink_t ABM_##name = {#name, kind};
CORVANTA_MODULES(CORVANTA_MODULE)
#undef CORVANTA_MODULE
