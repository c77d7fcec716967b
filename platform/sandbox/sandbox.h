#pragma once
// The two places where the server's processes give up what they do not need: Landlock, seccomp, limits and
// privileges. docs/page-server.md says what is left to whom. Built with CORVANTA_NO_SANDBOX (the sanitizers need more
// than any sandbox leaves) both give up privileges only and count as shut in fully.

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sandbox {

constexpr uint64_t kWorkerMemory = 1024u << 20; ///< bytes of addresses, some 70 MB of code among them
constexpr uint64_t kWorkerSeconds = 5;          ///< of processor time
constexpr uint64_t kServerSeconds = 600;        ///< some 100,000 pages; the view starts another one then
constexpr uint64_t kLargestFile = 160'000'000;  ///< bytes that a process writes into one file
constexpr uint64_t kServerFiles = 512;          ///< descriptors: a page's images, its workers and some

/// How far a process could be shut in.
enum class Shut {
    Failed, ///< not even privileges and limits: it must not go on
    Partly, ///< without seccomp: it must not run the decoder of an image
    Fully,
};

/// The parent, once its image plugins are loaded and before the first page. What it can do from then on is to open
/// files below `roots` for reading (those that exist now), to fork, to make memory files and to use the sockets that
/// it has. A kernel without Landlock is told on standard error, in one line; the server's own checks stand then.
Shut EnterServerSandbox(std::vector<std::string> const &roots);

/// A worker, before it looks at its input. What it can do from then on is to read and write the descriptors `first`
/// to `last`, all others being closed, to map memory and to exit; any other call is its death by SIGSYS. Dies with
/// `parent`. False when it must not go on. Without seccomp only where the parent is without it too.
bool EnterWorkerSandbox(int first, int last, pid_t parent);

} // namespace sandbox
