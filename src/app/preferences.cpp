#include "app/preferences.h"

#include "base/settings.h"
#include "base/way.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

#include <cerrno>
#include <cstring>

int OnPreferencesRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    Settings const &settings = ProgramSettings();
    bool const classic = settings.Bool(kClassicKey, Classic());
    PtSetResource(ABW_tlgPreferences_Classic, Pt_ARG_FLAGS, classic ? Pt_TRUE : Pt_FALSE, Pt_SET);
    SetWidgetText(ABW_lblPreferencesProblem, settings.Problem().c_str());
    SetBlocked(ABW_btnSavePreferences, !settings.Problem().empty());
    return Pt_CONTINUE;
}

int OnSavePreferences(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    bool const classic = PtWidgetFlags(ABW_tlgPreferences_Classic) & Pt_SET;
    ProgramSettings().Set(kClassicKey, classic);
    if (!ProgramSettings().Save())
        SetStatus(std::string("The preferences cannot be written: ") + strerror(errno));
    else if (classic != Classic())
        SetStatus(classic ? "Corvanta works the classic way from the next start on"
                          : "Corvanta works the standard way from the next start on");
    return Pt_CONTINUE;
}
