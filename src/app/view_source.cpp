#include "app/view_source.h"

#include "base/fd.h"
#include "base/paths.h"
#include "profiles/profile_tree.h"
#include "ui/widgets.h"
#include "widgets/toolkit.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>

#ifndef CORVANTA_VERSION
#define CORVANTA_VERSION "0"
#endif

int OnViewSourceRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (!TempDir[0] || !SelectedItem(ABW_treeMessageHeaders))
        return Pt_CONTINUE;
    Fd const file(open((std::string(TempDir) + "originalmsg").c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (!file.Valid() || fstat(file.Get(), &status) != 0)
        return Pt_CONTINUE;
    std::string text(static_cast<size_t>(status.st_size), '\0');
    long const length = ReadAll(file.Get(), text.data(), text.size());
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    SetWidgetText(ABW_txtViewSource, text.c_str());
    return Pt_CONTINUE;
}

int OnAboutRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    SetWidgetText(ABW_lblAboutName, "Corvanta");
    SetWidgetText(ABW_lblAboutVersion, "Version " CORVANTA_VERSION);
    return Pt_CONTINUE;
}
