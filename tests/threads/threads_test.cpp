// Everything at once: checks that overlap with reading, filing, deleting, other folders and profiles, newsgroups,
// mail and articles on their way out, profiles saved and deleted, mail arriving, a server that comes and goes, timers
// at their shortest, and the end in the middle of it.

#include "fixtures/temp_home.h"
#include "threads/hurry.h"
#include "threads/walk.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr unsigned kSecondsToEnd = 120;
/// Each profile's connection, a directory or file in passing, a socket that a check is about to close.
constexpr int kSpareDescriptors = 8;

/// One run of the program at random.
void RunInAHurry(unsigned seed) {
    SCOPED_TRACE("CORVANTA_SEED=" + std::to_string(seed));
    printf("seed %u\n", seed);
    ClearTempHome();
    World world;
    ASSERT_GT(world.server.Port(), 0);
    MakeProfile(world.server.Address(), seed % 2, 5, "home", "alice");
    MakeProfile(world.server.Address(), seed % 3, 10, "work", "bob");
    for (char const *user : {"alice", "bob", "carol"})
        for (int i = 0; i < 6; i++)
            world.Put(user);
    // Not everything in each run: half of them have news, others send mail.
    if (seed % 2)
        world.AddNews();
    if (seed % 4 == 0)
        world.AddSending();
    SittingToTheEnd([&] {
        ClickRow("treeProfiles", "Inbox");
        Hurry person(world, seed);
        person.ComeToRest();
        int const descriptors = CountDescriptors();
        person.Work(static_cast<int>(FromEnvironment("CORVANTA_SECONDS", 4)) * 1000);
        if (seed % 2) {
            person.ComeToRest();
            EXPECT_LE(CountDescriptors(), descriptors + kSpareDescriptors);
        }
        alarm(kSecondsToEnd); // what hangs from here on ends by the signal, which is a failure
        world.Put("alice");
        person.PressCheck();
    });
    world.Verify();
}

TEST(Threads, EverythingAtOnceLosesNothing) {
    if (FromEnvironment("CORVANTA_SEED", -1) >= 0)
        return RunInAHurry(RandomSeed());
    for (unsigned const seed : {1u, 4u, RandomSeed()})
        if (!HasFailure())
            RunInAHurry(seed);
}

} // namespace
