// From the start of the process to the first painted window, against an empty Qt window with as many views.

#include "first_paint.h"

#include "app/start.h"
#include "fixtures/temp_home.h"
#include "ui/links.h"

#include <cstdio>

namespace {

constexpr int kTimes = 15;

Figures Timed(std::string const &program, std::string const &argument) {
    char text[40];
    snprintf(text, sizeof text, "%.9f", Now().wall);
    setenv("BENCH_START", text, 1);
    return Run({program, argument});
}

void Compare() {
    std::string const ours = ThisProgram();
    std::string const empty = ours.substr(0, ours.rfind('/')) + "/empty_window";
    auto const [program, limit] = InTurn(
        kTimes, [&] { return Timed(ours, "start"); }, [&] { return Timed(empty, ""); });
    std::string const title = std::string("start to painted window, ") + getenv("QT_QPA_PLATFORM");
    PrintRow(title + ", processor", program.processor, limit.processor, "s", "2");
    PrintRow(title + ", wall", program.wall, limit.wall, "s", "2");
    PrintRow(title + ", resident", program.memory / 1e6, limit.memory / 1e6, "MB", "2");
}

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    if (argc < 2) {
        Compare();
        return LeaveTempHome(0);
    }
    if (StartCorvanta(1, argv, AbContext) != 0)
        return 1;
    FirstPaint const watch;
    PtMainLoop();
    return 1;
}
