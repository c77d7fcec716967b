// A message that never ends: it is given up at the largest size that is taken, and told, and what it took is free
// again.

#include "hostile/mailbox_server.h"
#include "pop/mailbox.h"
#include "protocol/mail_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr size_t kGigabyte = size_t{1} << 30;

/// The most memory that was resident since ForgetPeak.
size_t Peak() {
    constexpr std::string_view kName = "VmHWM:";
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(kName))
            return strtoul(line.c_str() + kName.size(), nullptr, 10) * 1024;
    return SIZE_MAX;
}
void ForgetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

TEST(Endless, MessageIsGivenUpAndTold) {
    std::string lines;
    while (lines.size() < 1 << 20)
        lines += "A line of a message that has no end, and no dot alone.\r\n";
    for (bool const sized : {true, false}) {
        SCOPED_TRACE(sized ? "with a size" : "without");
        Fault const fault{
            .reply = 3,
            .bytes = [&](std::string const &) { return (sized ? "+OK 5000 octets\r\n" : "+OK\r\n") + lines; },
            .times = 1500};
        MailboxServer server({"Subject: x\r\n\r\ntext\r\n"}, fault);
        AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), true);
        ForgetPeak();
        EXPECT_EQ(Said(FetchMessage(*profile, 1).outcome), "lost Lost the connection to the mail server");
        EXPECT_EQ(profile->serverSocket.load(), -1);
        EXPECT_LT(Peak(), sized ? kGigabyte * 5 / 4 : kGigabyte / 8) << "the second still has what the first took";
        EXPECT_FALSE(std::filesystem::exists("/tmp/Corvanta-" + std::to_string(getpid())));
    }
}

} // namespace
