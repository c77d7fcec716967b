#include <process.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

/// What a child gets: no input (one that asks something on the terminal would keep a caller that waits for it), the
/// descriptors 1 and 2, no blocked signals and the default SIGPIPE, whatever this program set.
class Setup {
  public:
    Setup() {
        posix_spawn_file_actions_init(&files_);
        posix_spawnattr_init(&attributes_);
        sigset_t none, defaults;
        sigemptyset(&none);
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &defaults);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Setup() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    Setup(Setup const &) = delete;
    Setup &operator=(Setup const &) = delete;

    int Run(pid_t &child, char const *path, char *const *arguments) {
        int error = posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (!error)
            error = posix_spawn_file_actions_addclosefrom_np(&files_, STDERR_FILENO + 1);
        if (error)
            return error;
        return posix_spawn(&child, path, &files_, &attributes_, arguments, environ);
    }

  private:
    posix_spawn_file_actions_t files_;
    posix_spawnattr_t attributes_;
};

} // namespace

int spawnl(int mode, char const *path, char const *arg0, ...) {
    std::vector<char *> arguments;
    va_list list;
    va_start(list, arg0);
    for (char const *argument = arg0; argument; argument = va_arg(list, char const *))
        arguments.push_back(const_cast<char *>(argument)); // posix_spawn leaves them alone
    va_end(list);
    arguments.push_back(nullptr);

    pid_t child = 0;
    if (mode != P_WAIT && mode != P_NOWAIT) {
        errno = EINVAL;
        return -1;
    }
    if (int const error = Setup().Run(child, path, arguments.data())) {
        errno = error;
        return -1;
    }
    if (mode == P_NOWAIT)
        return child;
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return status;
}
