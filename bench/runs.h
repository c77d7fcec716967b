#pragma once
// Whole runs in processes of their own, taken in turn with what they are compared with.

#include <string>
#include <vector>

/// What one run took.
struct Figures {
    double wall = 0;      ///< seconds
    double processor = 0; ///< seconds, all threads
    double memory = 0;    ///< bytes
};

/// The clocks of this process.
Figures Now();
/// What has passed since `start`; the memory is what is resident now.
Figures Since(Figures const &start);
/// Resident memory of this process in bytes.
double ResidentBytes();

/// Writes the figures of a run to standard output, for the process that started it.
void Report(Figures const &figures);

/// Runs `command` and returns what it has reported; all zero after saying so when it failed.
Figures Run(std::vector<std::string> const &command);
/// This program's path.
std::string ThisProgram();

/// One line of the table: ours and the limit's time or size in `unit`, their ratio and the aim ("" for none).
void PrintRow(std::string const &what, double ours, double limit, char const *unit, char const *aim);

/// The medians of several runs, each figure by itself.
Figures Medians(std::vector<Figures> const &runs);

/// Ours and the limit, medians of `times` runs in turn.
struct Pair {
    Figures ours, limit;
};
template <class Ours, class Limit> Pair InTurn(int times, Ours ours, Limit limit) {
    std::vector<Figures> first, second;
    for (int i = 0; i < times; i++) {
        second.push_back(limit());
        first.push_back(ours());
    }
    return {Medians(first), Medians(second)};
}
