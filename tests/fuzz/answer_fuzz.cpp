// sources: src/news/nntp_read.cpp src/news/answer_copy.cpp src/net/line_io.cpp src/net/library_pause.cpp
// Any bytes as a news server's answer: the group list, an article and a list of numbers keep exactly what they
// should.

#include "fuzz_input.h"

#include "base/fd.h"
#include "news/answer_copy.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr size_t kMostBytes = 65536; // what a socket takes at once

/// What `copy` writes for an answer of these bytes, behind which the connection ends.
template <class Copy> std::string Written(std::string_view answer, Copy copy) {
    int ends[2];
    Require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
    Fd const ours(ends[0]);
    Fd server(ends[1]);
    Require(WriteAll(server.Get(), answer));
    server.Reset();
    Fd const file(memfd_create("answer", 0));
    NntpReader reader(ours.Get());
    copy(reader, file.Get());
    std::string text(static_cast<size_t>(lseek(file.Get(), 0, SEEK_CUR)), 0);
    Require(pread(file.Get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    return text;
}

void CheckBody(std::string_view answer, size_t piece, size_t cut) {
    AnswerEnd end{};
    std::string const text =
        Written(answer, [&](NntpReader &reader, int file) { end = CopyBody(reader, file, piece, cut); });
    std::string const whole = "\r\n" + std::string(answer);
    size_t const mark = whole.find("\r\n.\r\n");
    Require((end == AnswerEnd::kMark) == (mark != std::string::npos));
    size_t last = answer.size();
    if (end == AnswerEnd::kMark) {
        size_t const after = mark + 3; // in `answer`
        last = std::min((after + piece - 1) / piece * piece, last);
        last -= std::min(cut, last);
    }
    Require(text == answer.substr(0, last));
}

void CheckNumbers(std::string_view answer) {
    AnswerEnd end{};
    std::string const text = Written(answer, [&](NntpReader &reader, int file) { end = CopyNumbers(reader, file); });
    size_t lines = 0;
    bool marked = false;
    while (!marked) {
        size_t const at = answer.find('\n');
        if (at == std::string_view::npos)
            break;
        std::string_view const line = answer.substr(0, at);
        marked = line == "." || line == ".\r";
        lines += marked ? 0 : 1;
        answer.remove_prefix(at + 1);
    }
    Require((end == AnswerEnd::kMark) == marked);
    Require(text.size() == (marked ? 4 * lines : 0)); // small lists are written whole, at their mark
}

} // namespace

FUZZ(answer) {
    std::string_view const answer(reinterpret_cast<char const *>(data), std::min(size, kMostBytes));
    CheckBody(answer, 500, 5);
    CheckBody(answer, 5000, 0);
    CheckNumbers(answer);
}
