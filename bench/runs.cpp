#include "runs.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double Seconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double Median(std::vector<Figures> const &runs, double Figures::*figure) {
    std::vector<double> values;
    for (Figures const &run : runs)
        values.push_back(run.*figure);
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace

Figures Now() { return {Seconds(CLOCK_MONOTONIC), Seconds(CLOCK_PROCESS_CPUTIME_ID), ResidentBytes()}; }

Figures Since(Figures const &start) {
    Figures const now = Now();
    return {now.wall - start.wall, now.processor - start.processor, now.memory};
}

double ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    long total = 0, resident = 0;
    file >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void Report(Figures const &figures) {
    printf("FIGURES %.9f %.9f %.0f\n", figures.wall, figures.processor, figures.memory);
    fflush(stdout);
}

Figures Run(std::vector<std::string> const &command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    pid_t const child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        std::vector<char *> words;
        for (std::string const &word : command)
            words.push_back(const_cast<char *>(word.c_str()));
        words.push_back(nullptr);
        execvp(words[0], words.data());
        _exit(127);
    }
    close(ends[1]);
    std::string text;
    char piece[4096];
    for (ssize_t got; (got = read(ends[0], piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<size_t>(got));
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    size_t const place = text.find("FIGURES ");
    if (status != 0 || place == std::string::npos) {
        fprintf(stderr, "a run of %s %s failed\n", command[0].c_str(), command.size() > 1 ? command[1].c_str() : "");
        return {};
    }
    char *next = text.data() + place + 8;
    Figures figures;
    figures.wall = strtod(next, &next);
    figures.processor = strtod(next, &next);
    figures.memory = strtod(next, &next);
    return figures;
}

std::string ThisProgram() {
    char path[4096];
    ssize_t const length = readlink("/proc/self/exe", path, sizeof path);
    return std::string(path, length > 0 ? static_cast<size_t>(length) : 0);
}

void PrintRow(std::string const &what, double ours, double limit, char const *unit, char const *aim) {
    printf("%s\t%.4g %s\t%.4g %s\t%.2f\t%s\n", what.c_str(), ours, unit, limit, unit, limit > 0 ? ours / limit : 0,
           aim);
    fflush(stdout);
}

Figures Medians(std::vector<Figures> const &runs) {
    return {Median(runs, &Figures::wall), Median(runs, &Figures::processor), Median(runs, &Figures::memory)};
}
