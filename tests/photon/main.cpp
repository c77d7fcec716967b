#include "Ap.h"
#include "Pt.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

ApContext_t AbContext{};

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    char config[] = "/tmp/photon-test-XXXXXX"; // nothing is to be written there
    setenv("XDG_CONFIG_HOME", mkdtemp(config), 1);
    static char const *const names[] = {nullptr};
    static PtWidget_t *widgets[1];
    AbContext.widget_names = names;
    AbContext.widgets = widgets;
    AbContext.widget_count = 1;
    if (ApInitialize(1, argv, &AbContext) != 0)
        return 1;
    int const result = RUN_ALL_TESTS();
    rmdir(config);
#ifdef __SANITIZE_ADDRESS__
    __lsan_do_leak_check(); // PtExit leaves without
#endif
    PtExit(result);
}
