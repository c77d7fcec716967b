// Sending to a local sink, against a program that writes the same bytes to the same sink and into a file.

#include "reference.h"

#include "base/fd.h"
#include "base/paths.h"
#include "fixtures/temp_home.h"
#include "mime/base64.h"
#include "net/address.h"
#include "net/connection.h"
#include "protocol/send_fixture.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

bool SendAll(int socket, std::string_view bytes) { return WriteAll(socket, bytes); }
bool SendLine(int socket, std::string const &line) { return SendAll(socket, line + "\r\n"); }

/// Reads a line without its end, and nothing after it. Returns the bytes read, 0 at the end of the connection.
int ReadLine(int socket, char *line, int size) {
    int length = 0;
    char byte = 0;
    while (byte != '\n' && length < size && recv(socket, &byte, 1, 0) == 1)
        line[length++] = byte == '\r' || byte == '\n' ? '\0' : byte;
    return byte == '\n' ? length : 0;
}

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
        SendLine(client, "220 ready");
        while (ReadLine(client, line, sizeof line) > 0) {
            bool const data = std::string_view(line) == "DATA";
            if (!SendLine(client, data ? "354 go on" : "250 ok"))
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
                return SendLine(client, "250 ok");
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
    explicit Sender(std::string const &server) { WriteProfile(false, server); }
    void TestBody() override {}

    /// Sends a message on this thread.
    bool Send(std::string const &text, std::string const &encoded) {
        Compose(false, "bob@example.org", text);
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
    /// The copy of the last one, which is removed: what piles up would be written back in the middle of later ones.
    std::string TakeCopy() {
        std::string const path = Folder() + std::to_string(++sent_);
        std::string text = FileText(path);
        std::filesystem::remove(path);
        return text;
    }
    static double Now() {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
    double seconds = 0, busy = 0; ///< of the last one: on the wall, of the processor

  private:
    int sent_ = 0;
};

/// The same dialogue with the same bytes, no more than that. Returns the seconds it took.
double SendRaw(std::string const &server, std::string const &message) {
    std::string const path = ConfigRoot() + "raw"; // a new one each time, as the Outbox has
    std::filesystem::remove(path);
    double const begin = Sender::Now();
    Fd const file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    Fd const socket = OpenSocket(server.c_str(), kSmtp).socket;
    char line[1000];
    ReadLine(socket.Get(), line, sizeof line);
    for (char const *command :
         {"HELO localhost", "MAIL FROM: <ann@example.org>", "RCPT TO: <bob@example.org>", "DATA"}) {
        SendLine(socket.Get(), command);
        ReadLine(socket.Get(), line, sizeof line);
    }
    SendAll(socket.Get(), message);
    WriteAll(file.Get(), message);
    SendAll(socket.Get(), "\r\n.\r\n\r\n");
    ReadLine(socket.Get(), line, sizeof line);
    SendLine(socket.Get(), "QUIT");
    return Sender::Now() - begin;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One message of ours and one of the raw writer, turn about: whatever else the machine does meets both.
struct Rounds {
    std::vector<double> ours, raw, ratio, oursBusy, rawBusy;
};

/// The Outbox in memory, where there is room: a disk that is busy with others would be measured instead.
class MemoryFolder {
  public:
    MemoryFolder() {
        if (!mkdtemp(place_) || symlink(place_, (TempHome() + "/.Corvanta").c_str()) != 0)
            perror(place_);
    }
    ~MemoryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(place_, ignored);
    }

  private:
    char place_[32] = "/dev/shm/corvanta-XXXXXX";
};

void Compare(char const *name, std::string const &text, std::string const &encoded, int count) {
    Sink const sink;
    MemoryFolder const folder;
    Sender sender(sink.Address());
    Rounds rounds;
    std::string message;
    for (int i = -1; i < count; i++) { // the first one is for warmth, and to know the bytes
        double raw = 0, rawBusy = 0;
        auto const sendRaw = [&] {
            double const before = ProcessorSeconds();
            raw = SendRaw(sink.Address(), message);
            rawBusy = ProcessorSeconds() - before;
        };
        if (i >= 0 && i % 2)
            sendRaw();
        if (!sender.Send(text, encoded)) {
            printf("%s: not sent\n", name);
            return;
        }
        message = sender.TakeCopy();
        if (i >= 0 && i % 2 == 0)
            sendRaw();
        if (i < 0)
            continue;
        rounds.ours.push_back(sender.seconds);
        rounds.raw.push_back(raw);
        rounds.ratio.push_back(sender.seconds / raw);
        rounds.oursBusy.push_back(sender.busy);
        rounds.rawBusy.push_back(rawBusy);
    }
    auto const best = [](std::vector<double> const &values) {
        return *std::min_element(values.begin(), values.end());
    };
    printf("%-28s %8.3f ms  raw %8.3f ms  ratio %.2f  (best %.2f; processor %.3f ms, raw %.3f ms)\n", name,
           Median(rounds.ours) * 1e3, Median(rounds.raw) * 1e3, Median(rounds.ratio),
           best(rounds.ours) / best(rounds.raw), Median(rounds.oursBusy) * 1e3, Median(rounds.rawBusy) * 1e3);
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
    Compare("attachment of 50 MB, 15 times", text, encoded.c_str(), 15);
    return LeaveTempHome(0);
}
