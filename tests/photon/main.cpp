#include "Ap.h"
#include "Pt.h"

#include <gtest/gtest.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

ApContext_t AbContext{};

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    static char const *const names[] = {nullptr};
    static PtWidget_t *widgets[1];
    AbContext.widget_names = names;
    AbContext.widgets = widgets;
    AbContext.widget_count = 1;
    if (ApInitialize(1, argv, &AbContext) != 0)
        return 1;
    int const result = RUN_ALL_TESTS();
#ifdef __SANITIZE_ADDRESS__
    __lsan_do_leak_check(); // PtExit leaves without
#endif
    PtExit(result);
}
