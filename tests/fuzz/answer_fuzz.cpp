// sources: src/news/session/answer_copy.cpp src/news/session/nntp.cpp src/net/stream.cpp
// Any bytes as a news server's answer, in pieces of any size: the group list, an article and a list of numbers keep
// exactly what they should.

#include "fuzz_input.h"

#include "base/fd.h"
#include "news/session/answer_copy.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

/// A server that has said all it will.
class Said : public Channel {
  public:
    Said(std::string_view bytes, size_t piece) : bytes_(bytes), piece_(piece) {}
    ChannelState Read(char *bytes, size_t size, size_t &moved) override {
        moved = bytes_.copy(bytes, std::min(size, piece_));
        bytes_.remove_prefix(moved);
        return moved > 0 ? ChannelState::kMoved : ChannelState::kEnd;
    }
    ChannelState Write(char const *, size_t, size_t &) override { return ChannelState::kError; }
    int Descriptor() const override { return -1; }

  private:
    std::string_view bytes_;
    size_t piece_;
};

/// What `copy` writes for an answer of these bytes, after which the connection ends.
template <class Copy> std::string Written(std::string_view answer, size_t arriving, Copy copy) {
    Fd const file(memfd_create("answer", 0));
    Stream stream(std::make_unique<Said>(answer, arriving));
    copy(stream, file.Get());
    std::string text(static_cast<size_t>(lseek(file.Get(), 0, SEEK_CUR)), 0);
    Require(pread(file.Get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    return text;
}

void CheckBody(std::string_view answer, size_t piece, size_t cut) {
    Outcome end;
    std::string const text =
        Written(answer, answer.size(), [&](Stream &stream, int file) { end = CopyBody(stream, file, piece, cut); });
    std::string const whole = "\r\n" + std::string(answer);
    size_t const mark = whole.find("\r\n.\r\n");
    Require(static_cast<bool>(end) == (mark != std::string::npos));
    size_t last = answer.size();
    if (end) {
        size_t const after = mark + 3; // in `answer`
        last = std::min((after + piece - 1) / piece * piece, last);
        last -= std::min(cut, last);
    }
    Require(text == answer.substr(0, last));
}

void CheckNumbers(std::string_view answer, size_t arriving) {
    Outcome end;
    std::string const text =
        Written(answer, arriving, [&](Stream &stream, int file) { end = CopyNumbers(stream, file); });
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
    Require(static_cast<bool>(end) == marked);
    Require(text.size() == (marked ? 4 * lines : 0)); // small lists are written whole, at their mark
}

} // namespace

FUZZ(answer) {
    std::string_view const answer(reinterpret_cast<char const *>(data), size);
    CheckBody(answer, 500, 5);
    CheckBody(answer, 5000, 0);
    CheckNumbers(answer, size % 7 + 1);
}
