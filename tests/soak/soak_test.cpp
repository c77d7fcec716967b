// The program for a while in front of real servers: checking, reading, sending, posting, switching folders and
// groups, while the servers are stopped and started again. CORVANTA_SOAK_SECONDS=n makes it longer, CORVANTA_SEED=n
// repeats a run; tests/soak/run is the long form.

#include "fixtures/temp_home.h"
#include "soak/soak.h"
#include "ui/person.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

long FromEnvironment(char const *name, long otherwise) {
    char const *const text = getenv(name);
    return text ? strtol(text, nullptr, 10) : otherwise;
}

TEST(Soaking, NothingIsLostAndNothingGrows) {
    if (geteuid() != 0)
        GTEST_SKIP() << "the servers switch users, which takes root";
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    auto const seed = static_cast<unsigned>(FromEnvironment("CORVANTA_SEED", now.count() / 1000 % 1000000));
    int const seconds = static_cast<int>(FromEnvironment("CORVANTA_SOAK_SECONDS", 60));
    printf("CORVANTA_SEED=%u CORVANTA_SOAK_SECONDS=%d\n", seed, seconds);
    ClearTempHome();
    Soak soak(seed);
    ASSERT_TRUE(soak.Ready());
    Sitting([&] {
        soak.Work(seconds, std::min(60, seconds / 3));
        soak.Verify();
        soak.StopServers();
    });
}

} // namespace
