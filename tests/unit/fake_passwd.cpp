#include "fake_passwd.h"

#include <pwd.h>

FakePasswd gPasswd;

extern "C" int getpwuid_r(uid_t, passwd *entry, char *, size_t, passwd **result) {
    *entry = passwd{};
    entry->pw_dir = gPasswd.home.data();
    *result = gPasswd.present ? entry : nullptr;
    return 0;
}
