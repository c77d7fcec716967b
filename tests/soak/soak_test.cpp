// The program for a while in front of real servers: checking, reading, sending, posting, switching folders and
// groups, while the servers are stopped and started again. CORVANTA_SOAK_SECONDS=n makes it longer, CORVANTA_SEED=n
// repeats a run; tests/soak/run is the long form.

#include "fixtures/temp_home.h"
#include "soak/soak.h"
#include "threads/walk.h"
#include "ui/person.h"

#include <algorithm>
#include <unistd.h>

namespace {

TEST(Soaking, NothingIsLostAndNothingGrows) {
    if (geteuid() != 0)
        GTEST_SKIP() << "the servers switch users, which takes root";
    unsigned const seed = RandomSeed();
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
