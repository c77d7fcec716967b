#include "pop/standard/fetch.h"

#include "net/dots.h"

#include <algorithm>
#include <cstring>

namespace {

/// Asked for ahead: enough to keep a fast line busy over a long way, and little to throw away when stopped.
constexpr int64_t kWindowBytes = 1 << 20;
constexpr size_t kWindowMessages = 200;
/// Commands go out together when so many can: one system call for all of them.
constexpr size_t kTogether = 50;
/// A larger message is not taken: it has no end, or is none for a desk.
constexpr size_t kLargestMessage = size_t{2} << 30;

constexpr std::string_view kMark = "\r\n.\r\n";

} // namespace

Outcome Fetch::AskAhead() {
    size_t const most = session_.MayPipeline() ? kWindowMessages : 1;
    bool const low = asked_ == taken_ || asked_ - taken_ + kTogether <= most;
    std::string commands;
    while (low && asked_ < messages_.size() && asked_ - taken_ < most &&
           (ahead_ < kWindowBytes || asked_ == taken_)) {
        commands += "RETR " + std::to_string(messages_[asked_].number) + "\r\n";
        ahead_ += messages_[asked_].size;
        asked_++;
    }
    if (commands.empty())
        return {};
    session_.Connection().StartWaiting();
    return session_.Connection().Write(commands) ? Outcome() : session_.EndOfConnection();
}

Outcome Fetch::ReadBody(std::string &text) {
    Stream &stream = session_.Connection();
    text.clear();
    for (size_t searched = 0;;) {
        std::string_view const held = stream.Peek(1);
        if (held.empty())
            return session_.EndOfConnection();
        size_t const before = text.size();
        text += held;
        // An empty message is the end mark's own line alone.
        size_t const end = text.starts_with(kMark.substr(2)) ? 0 : text.find(kMark, searched);
        if (end != std::string::npos) {
            size_t const whole = end == 0 && text.starts_with(kMark.substr(2)) ? 3 : end + kMark.size();
            stream.Take(whole - before);
            text.resize(whole - 3);
            text.resize(UndoDots(text.data(), text.size()));
            return {};
        }
        stream.Take(held.size());
        searched = text.size() - std::min(text.size(), kMark.size() - 1);
        if (text.size() > kLargestMessage)
            return Failed("A message is larger than 2 GiB and stays on the server");
    }
}

Outcome Fetch::Next(std::string &text) {
    if (Outcome const asked = AskAhead(); !asked)
        return asked;
    ahead_ -= messages_[taken_++].size;
    std::string words;
    if (Outcome const reply = session_.ReadReply(words); !reply)
        return reply;
    return ReadBody(text);
}
