#include "threads/walk.h"

#include "ui/person.h"

#include <chrono>
#include <cstdlib>

void CloseBy(char const *button, char const *window) {
    EXPECT_TRUE(WaitFor(
        [=] {
            if (IsShown(button))
                Click(button);
            return !IsShown(window);
        },
        60000))
        << window << " does not close";
}

long FromEnvironment(char const *name, long otherwise) {
    char const *const text = getenv(name);
    return text ? strtol(text, nullptr, 10) : otherwise;
}

unsigned RandomSeed() {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<unsigned>(FromEnvironment("CORVANTA_SEED", now.count() / 1000 % 1000000));
}
