#include "app/view_source.h"

#include "base/fd.h"
#include "base/paths.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstdint>
#include <fcntl.h>
#include <string>

#ifndef CORVANTA_VERSION
#define CORVANTA_VERSION "0"
#endif

int OnViewSourceRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (!TempDir[0] || !SelectedItem(ABW_treeMessageHeaders))
        return Pt_CONTINUE;
    std::string const path = std::string(TempDir) + "originalmsg";
    if (std::optional<std::string> const text = ReadRegularFile(path, SIZE_MAX, O_NOFOLLOW))
        SetWidgetText(ABW_txtViewSource, text->c_str());
    return Pt_CONTINUE;
}

int OnAboutRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    SetWidgetText(ABW_lblAboutName, "Corvanta");
    SetWidgetText(ABW_lblAboutVersion, "Version " CORVANTA_VERSION);
    return Pt_CONTINUE;
}
