// The system logger and spawnl.

#include <gtest/gtest.h>
#include <process.h>
#include <sys/slog.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <string>
#include <sys/time.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

namespace {

std::string logged;
int logged_priority;

void Capture(int priority, char const *format, va_list arguments) {
    char line[50'000];
    vsnprintf(line, sizeof line, format, arguments);
    logged = line;
    logged_priority = priority;
}

} // namespace

// In the place of the C library's, so that what would reach the system's log is seen here.
extern "C" {
void syslog(int priority, char const *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Capture(priority, format, arguments);
    va_end(arguments);
}
void __syslog_chk(int priority, int, char const *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Capture(priority, format, arguments);
    va_end(arguments);
}
}

TEST(Logger, WritesOneEscapedLine) {
    slogf(_SLOG_SETCODE(3, 10000), _SLOG_WARNING, "%s", "-ERR no\r\nroot: su \x1B[2J\x7F \xC2\x9B 100%s\n");
    EXPECT_EQ(logged, "[3:10000] -ERR no\\x0d\\x0aroot: su \\x1b[2J\\x7f \\xc2\\x9b 100%s");
    EXPECT_EQ(logged_priority & LOG_PRIMASK, LOG_WARNING);
    slogf(10000, _SLOG_DEBUG2, "%s", "Gr\xC3\xBC\xDF");
    EXPECT_EQ(logged, "[0:10000] Gr\xC3\xBC\xDF");
    EXPECT_EQ(logged_priority & LOG_PRIMASK, LOG_DEBUG);
    EXPECT_EQ(slogf(0, _SLOG_ERROR, "%s", std::string(100000, 'x').c_str()), 10500);
    EXPECT_EQ(slogf(0, _SLOG_ERROR, "%s", std::string(10500, '\n').c_str()), 4 * 10499);
    EXPECT_EQ(logged.size(), sizeof "[0:0] " - 1 + 4 * 10499);
}

TEST(Spawn, StartsOrSaysWhyNot) {
    EXPECT_EQ(spawnl(P_WAIT, "/nowhere/at/all", "x", nullptr), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(spawnl(9, "/bin/true", "true", nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    int const child = spawnl(P_NOWAIT, "/bin/sh", "sh", "-c", "exit 3", nullptr);
    ASSERT_GT(child, 0);
    int child_status = 0;
    EXPECT_EQ(waitpid(child, &child_status, 0), child);
    EXPECT_EQ(WEXITSTATUS(child_status), 3);
}

TEST(Spawn, WithoutADisplayTheProgramEndsAndSaysSo) {
    setenv("QT_QPA_PLATFORM", "no-such-plugin", 1);
    int const status = spawnl(P_WAIT, "/proc/self/exe", "corvanta", "--gtest_filter=none", nullptr);
    unsetenv("QT_QPA_PLATFORM");
    ASSERT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST(Spawn, GivesTheChildNoInputAndNoOtherDescriptors) {
    int terminal[2];
    ASSERT_EQ(pipe(terminal), 0);
    int const own = dup(STDIN_FILENO);
    dup2(terminal[0], STDIN_FILENO);
    int const kept = fcntl(terminal[0], F_DUPFD, 77); // not close-on-exec
    ASSERT_GE(kept, 77);
    int const status = spawnl(P_WAIT, "/bin/sh", "sh", "-c",
                              "test ! -p /dev/stdin || exit 2\n"
                              "for fd in /proc/$$/fd/*; do case $fd in */77) exit 1;; esac; done",
                              nullptr);
    EXPECT_EQ(status, 0);
    dup2(own, STDIN_FILENO);
    for (int const descriptor : {own, kept, terminal[0], terminal[1]})
        close(descriptor);
}

TEST(Spawn, GoesOnWaitingAfterASignal) {
    struct sigaction action {
    }, old;
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &old); // without SA_RESTART
    itimerval const soon{{0, 20000}, {0, 20000}}, never{};
    setitimer(ITIMER_REAL, &soon, nullptr);
    int const status = spawnl(P_WAIT, "/bin/sh", "sh", "-c", "sleep 0.2; exit 4", nullptr);
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &old, nullptr);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 4);
}
