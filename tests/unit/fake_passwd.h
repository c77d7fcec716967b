#pragma once
// The password entry that the code under test sees: this program's getpwuid_r stands before the C library's.

#include <string>

/// The home directory of the entry; with `present` false there is no entry.
struct FakePasswd {
    std::string home;
    bool present = false;
};
extern FakePasswd gPasswd;
