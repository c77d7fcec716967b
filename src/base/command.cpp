#include "base/command.h"

#include "base/fd.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace {

constexpr char kShellCharacters[] = "'\"\\$`*?[]{}()<>|&;~#";
constexpr size_t kLongestLine = 65536;

std::vector<std::string> WordsOf(std::string const &command) {
    if (command.find_first_of(kShellCharacters) != std::string::npos)
        return {"/bin/sh", "-c", command};
    std::istringstream text(command);
    std::vector<std::string> words;
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

/// Starts the command in a process group of its own with its output in a pipe. Returns the process, -1 with errno.
pid_t Start(std::vector<std::string> &words, Fd &output) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    output.Reset(ends[0]);
    Fd const input(ends[1]);
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, input.Get(), 1);
    posix_spawnattr_init(&attributes);
    sigset_t none, usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE); // ignored here
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t process = -1;
    errno = posix_spawnp(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
    int const error = errno;
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    errno = error;
    return error == 0 ? process : -1;
}

enum class Read { kLine, kLate, kStopped };

Read ReadLine(int file, std::string &line, std::function<bool()> const &stopped) {
    using Clock = std::chrono::steady_clock;
    auto const latest = Clock::now() + std::chrono::seconds(kCommandSeconds);
    while (Clock::now() < latest) {
        if (stopped && stopped())
            return Read::kStopped;
        pollfd wanted{file, POLLIN, 0};
        if (poll(&wanted, 1, 100) <= 0)
            continue;
        char bytes[4096];
        ssize_t const got = read(file, bytes, sizeof bytes);
        if (got < 0 && errno == EINTR)
            continue;
        if (got > 0)
            line.append(bytes, static_cast<size_t>(got));
        explicit_bzero(bytes, sizeof bytes);
        if (got <= 0 || line.find('\n') != std::string::npos || line.size() > kLongestLine)
            return Read::kLine;
    }
    return Read::kLate;
}

/// Waits for the end of a command that has told its line: a moment, then it is killed with all that it started.
int EndOf(pid_t process, bool patient) {
    int status = 0;
    for (int i = 0; patient && i < 200; i++) {
        if (waitpid(process, &status, WNOHANG) == process)
            return status;
        poll(nullptr, 0, 10);
    }
    kill(-process, SIGKILL);
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return patient ? 0 : status;
}

} // namespace

Outcome FirstLineOfCommand(std::string const &command, std::string &line, std::function<bool()> const &stopped) {
    std::vector<std::string> words = WordsOf(command);
    if (words.empty())
        return Failed("The command for the password is empty");
    Fd output;
    pid_t const process = Start(words, output);
    if (process < 0)
        return Failed("The command \"" + command + "\" cannot be run: " + strerror(errno));
    line.clear();
    Read const end = ReadLine(output.Get(), line, stopped);
    int const status = EndOf(process, end == Read::kLine);
    if (end == Read::kStopped)
        return Stopped();
    if (end == Read::kLate)
        return Failed("The command \"" + command + "\" printed no line within " + std::to_string(kCommandSeconds) +
                      " seconds");
    line.resize(std::min(line.find('\n'), line.size()));
    if (line.ends_with('\r'))
        line.pop_back();
    if (line.empty() || (WIFEXITED(status) && WEXITSTATUS(status) != 0))
        return Failed("The command \"" + command + "\" failed" +
                      (WIFEXITED(status) ? " with status " + std::to_string(WEXITSTATUS(status)) : ""));
    return {};
}
