#include "state/waiting.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/settings.h"
#include "base/text.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace {

constexpr size_t kLargestNote = 65536;
constexpr char kSendingWord[] = "sending", kWaitingWord[] = "waiting";

std::string DirectoryOf(std::string const &profile) { return StateDirectory() + "waiting/" + profile + "/"; }
std::string PathOf(std::string const &profile, int32_t number) {
    return DirectoryOf(profile) + std::to_string(number);
}

} // namespace

bool NoteWaiting(std::string const &profile, WaitingMessage const &message) {
    std::string const path = PathOf(profile, message.number);
    MakeDirectories(path);
    // A line with the state, and the reason after it.
    return ReplaceFile(path, path + ".new",
                       std::string(message.state == WaitingState::kSending ? kSendingWord : kWaitingWord) + "\n" +
                           message.reason);
}

void ForgetWaiting(std::string const &profile, int32_t number) { unlink(PathOf(profile, number).c_str()); }

std::vector<WaitingMessage> WaitingMessages(std::string const &profile) {
    std::vector<WaitingMessage> messages;
    std::error_code error;
    for (auto const &entry : std::filesystem::directory_iterator(DirectoryOf(profile), error)) {
        std::string const name = entry.path().filename().string();
        int32_t const number = DecimalPrefix(name);
        std::optional<std::string> const text = ReadRegularFile(entry.path().string(), kLargestNote);
        if (number <= 0 || name != std::to_string(number) || !text)
            continue;
        std::string const state(FirstLine(*text));
        messages.push_back({number, state == kSendingWord ? WaitingState::kSending : WaitingState::kWaiting,
                            text->substr(std::min(text->size(), state.size() + 1))});
    }
    std::sort(messages.begin(), messages.end(),
              [](auto const &left, auto const &right) { return left.number < right.number; });
    return messages;
}
