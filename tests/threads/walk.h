#pragma once
// What those who walk through the program at random share: they meet lists and windows as these happen to be.

#include "Pt.h"

#include <gtest/gtest.h>

/// Calls `look` under the library lock.
template <class Look> auto Locked(Look look) {
    EXPECT_EQ(PtEnter(0), 0);
    auto const seen = look();
    PtLeave(0);
    return seen;
}

/// Clicks the button until the window is closed; alerts may come in between and take the click.
void CloseBy(char const *button, char const *window);

/// A number of the environment: CORVANTA_SEED repeats a run, CORVANTA_SECONDS makes it longer.
long FromEnvironment(char const *name, long otherwise);
/// Another number in each run, unless CORVANTA_SEED says which.
unsigned RandomSeed();
