#include "app/start.h"
#include "ways/choose.h"

int main(int argc, char *argv[]) {
    if (TellUsage(argc, argv))
        return 0;
    ChooseWay();
    return RunCorvanta(argc, argv, AbContext);
}
