#include "app/printing.h"

#include "Pp.h"
#include "names/widgets.h"
#include "photon/PtWebClient.h"
#include "widgets/toolkit.h"

#include <memory>

int OnPrint(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    constexpr unsigned kAllPanels = 7;
    std::unique_ptr<PpPrintContext_t, int (*)(PpPrintContext_t *)> const context(PpCreatePC(), PpReleasePC);
    PhPoint_t const position{50, 50};
    if (!context)
        SetStatus("Printing is not possible now");
    else if (PtPrintSelection(ABW_base, &position, "print", context.get(), kAllPanels) != Pt_PRINTSEL_CANCEL)
        PtSetResource(ABW_webEmailMessage, Pt_ARG_WEB_PRINT, context.get(), 0);
    return Pt_CONTINUE;
}
