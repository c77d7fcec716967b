#include "app/start.h"

int main(int argc, char *argv[]) { return RunCorvanta(argc, argv, AbContext); }
