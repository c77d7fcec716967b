#include "news/alerts.h"

#include "names/widgets.h"
#include "widgets/toolkit.h"

void ShowAlerts(NewsOutcome const &outcome) {
    ToolkitGuard const guard;
    for (std::string const &alert : outcome.alerts)
        ShowError(ABW_base, "Error", alert.c_str());
}
