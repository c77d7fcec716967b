// no_seccomp PROGRAM [ARGUMENT]...: runs a program as on a kernel without seccomp.

#include "vserver/take_seccomp.h"

#include <cstdio>
#include <unistd.h>

int main(int argc, char **argv) {
    if (argc < 2 || !TakeSeccompAway()) {
        fputs("no_seccomp: cannot take seccomp away\n", stderr);
        return 125;
    }
    execvp(argv[1], argv + 1);
    perror(argv[1]);
    return 126;
}
