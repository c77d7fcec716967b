// Sending to a local sink, against a program that writes the same bytes to the same sink and into a file.

#include "reference.h"

#include "base/fd.h"
#include "fixtures/temp_home.h"
#include "mime/base64.h"
#include "net/server.h"
#include "protocol/send_fixture.h"

#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

/// Takes one message after another and keeps none.
class Sink {
  public:
    Sink() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *const plain = reinterpret_cast<sockaddr *>(&address);
        if (bind(listener_.Get(), plain, size) != 0 || listen(listener_.Get(), 16) != 0 ||
            getsockname(listener_.Get(), plain, &size) != 0)
            perror("sink");
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~Sink() {
        shutdown(listener_.Get(), SHUT_RDWR);
        thread_.join();
    }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  private:
    void Serve() {
        for (;;) {
            Fd const client(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!client.Valid())
                return;
            int const yes = 1;
            setsockopt(client.Get(), IPPROTO_TCP, 1, &yes, sizeof yes); // no delay
            Take(client.Get());
        }
    }

    void Take(int client) {
        char line[1000];
        WriteServerLine(client, "220 ready");
        while (ReadServerLine(client, line, sizeof line) > 0) {
            bool const data = std::string_view(line) == "DATA";
            if (!WriteServerLine(client, data ? "354 go on" : "250 ok"))
                return;
            if (data && !TakeText(client))
                return;
        }
    }

    bool TakeText(int client) {
        std::string tail;
        for (;;) {
            ssize_t const got = recv(client, block_.get(), kBlock, 0);
            if (got <= 0)
                return false;
            tail.append(block_.get() + std::max<ssize_t>(0, got - 16),
                        static_cast<size_t>(std::min<ssize_t>(16, got)));
            if (tail.find("\r\n.\r\n") != tail.npos)
                return WriteServerLine(client, "250 ok") > 0;
            tail.erase(0, tail.size() - std::min<size_t>(tail.size(), 4));
        }
    }

    static constexpr size_t kBlock = 1 << 20;
    std::unique_ptr<char[]> block_ = std::make_unique<char[]>(kBlock);
    Fd listener_{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    int port_ = 0;
    std::thread thread_;
};

/// A compose window without a window, used without a test around it.
class Sender : public SendTest {
  public:
    explicit Sender(std::string const &server) { WriteProfile(server); }
    void TestBody() override {}

    /// Sends a message on this thread.
    bool Send(std::string const &text, std::string const &encoded) {
        Compose("bob@example.net", text);
        if (!encoded.empty())
            AddPart("a.bin", "APPLICATION/OCTET-STREAM", encoded);
        double const begin = Now(), busyBegin = ProcessorSeconds();
        SendEmailThread(state);
        seconds = Now() - begin;
        busy = ProcessorSeconds() - busyBegin;
        bool const sent = state->sent;
        screen.RunCallback([&] { ReleaseCompose(std::exchange(state, nullptr)); });
        return sent;
    }
    std::string LastCopy() {
        std::string newest;
        for (int number = 1;; number++) {
            std::string text = FileText(Folder() + std::to_string(number));
            if (text.empty())
                return newest;
            newest = std::move(text);
        }
    }
    static double Now() {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
    double seconds = 0, busy = 0; ///< of the last one: on the wall, of the processor
};

/// The same dialogue with the same bytes, no more than that. Returns the seconds it took.
double SendRaw(std::string const &server, std::string const &message) {
    static int files = 0; // a new one each time, as the Outbox has
    double const begin = Sender::Now();
    std::string const path = TempHome() + "/raw" + std::to_string(files++);
    Fd const file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    Fd const socket(OpenServerConnection(server.c_str(), kSmtp, 1));
    char line[1000];
    ReadServerLine(socket.Get(), line, sizeof line);
    for (char const *command :
         {"HELO localhost", "MAIL FROM: <ann@example.org>", "RCPT TO: <bob@example.net>", "DATA"}) {
        WriteServerLine(socket.Get(), command);
        ReadServerLine(socket.Get(), line, sizeof line);
    }
    WriteServerBytes(socket.Get(), message);
    WriteAll(file.Get(), message);
    WriteServerBytes(socket.Get(), "\r\n.\r\n\r\n");
    ReadServerLine(socket.Get(), line, sizeof line);
    WriteServerLine(socket.Get(), "QUIT");
    return Sender::Now() - begin;
}

std::string Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    char text[32];
    snprintf(text, sizeof text, "%8.3f ms", values[values.size() / 2] * 1e3);
    return text;
}

void Compare(char const *name, std::string const &text, std::string const &encoded, int count) {
    Sink const sink;
    Sender sender(sink.Address());
    std::vector<double> ours, raw, oursBusy, rawBusy;
    std::string message;
    for (int i = 0; i < count; i++) {
        if (!sender.Send(text, encoded)) {
            printf("%s: not sent\n", name);
            return;
        }
        ours.push_back(sender.seconds);
        oursBusy.push_back(sender.busy);
        if (message.empty())
            message = sender.LastCopy();
        double const middle = ProcessorSeconds();
        raw.push_back(SendRaw(sink.Address(), message));
        rawBusy.push_back(ProcessorSeconds() - middle);
    }
    std::sort(ours.begin(), ours.end());
    std::sort(raw.begin(), raw.end());
    size_t const half = ours.size() / 2;
    printf("%-28s %s  raw %s  ratio %.2f  (best %.2f; processor %s, raw %s)\n", name, Median(ours).c_str(),
           Median(raw).c_str(), ours[half] / raw[half], ours[0] / raw[0], Median(oursBusy).c_str(),
           Median(rawBusy).c_str());
}

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    std::string text;
    while (text.size() < 4000)
        text += "The quick brown fox jumps over the lazy dog. And again.\n";
    Compare("message of 4 KB, 1000 times", text, "", 1000);
    std::string bytes(50'000'000, 0);
    unsigned value = 1;
    for (char &byte : bytes)
        byte = static_cast<char>((value = value * 1103515245 + 12345) >> 16);
    std::string encoded(bytes.size() * 4 / 3 + bytes.size() / 45 * 2 + 80, 0);
    Base64Encode(encoded.data(), bytes.data(), static_cast<int32_t>(bytes.size()));
    Compare("attachment of 50 MB, 9 times", text, encoded.c_str(), 9);
    return LeaveTempHome(0);
}
