#include "hostile/mailbox_server.h"

#include "fixtures/scripted_server.h"

#include <algorithm>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kTick = 2; ///< milliseconds until a waiting server looks whether it is to end

bool Readable(int descriptor) {
    pollfd wanted{descriptor, POLLIN, 0};
    return poll(&wanted, 1, kTick) > 0;
}

size_t NumberIn(std::string const &line) {
    size_t const blank = line.find(' ');
    return blank == std::string::npos ? 0 : strtoul(line.c_str() + blank, nullptr, 10);
}

auto Instead(std::string bytes) {
    return [bytes](std::string const &) { return bytes; };
}
/// What belongs to a message follows as it should.
auto FirstLineInstead(std::string line) {
    return [line](std::string const &reply) { return line + reply.substr(reply.find('\n') + 1); };
}
std::string Half(std::string const &reply) { return reply.substr(0, reply.size() / 2); }

/// 20 MB of it, then the end.
Fault Endless(std::string const &part) {
    std::string bytes;
    while (bytes.size() < 1 << 20)
        bytes += part;
    return {.bytes = Instead(bytes), .times = 20, .then = Fault::kClose};
}

} // namespace

std::vector<Misbehaviour> Misbehaviours() {
    return {
        {"Close", {.bytes = Instead(""), .then = Fault::kClose}, Misbehaviour::kLosing},
        {"Torn", {.bytes = Half, .then = Fault::kClose}, Misbehaviour::kLosing},
        {"Reset", {.bytes = Half, .then = Fault::kReset}, Misbehaviour::kLosing},
        {"Bytewise", {.piece = 1}, Misbehaviour::kHarmless},
        {"Refusal", {.bytes = Instead("-ERR <b>%s%n%n</b>\r\n")}, Misbehaviour::kRefusing},
        {"Eightbit", {.bytes = Instead("\xff\xfe\xe9\xe9 +OK\r\n")}},
        {"EightbitOk", {.bytes = FirstLineInstead("+OK gel\xf6scht \xe4\r\n")}},
        {"Nuls", {.bytes = Instead(std::string("\0\0+OK\0\r\n", 8))}},
        {"EmptyLines", {.bytes = Instead("\r\n\r\n\n\n")}},
        {"LongLine", {.bytes = FirstLineInstead("+OK " + std::string(300'000, 'x') + "\r\n")}},
        {"EndlessLine", Endless("x"), Misbehaviour::kLosing},
        {"EndlessEightbit", Endless("\xe9")},
        {"EndlessNuls", Endless(std::string(1, '\0'))},
        {"EndlessLines", Endless("+OK 12 more\r\n")},
    };
}

MailboxServer::MailboxServer(std::vector<std::string> messages, Fault fault, bool modern, size_t cutAfter)
    : messages_(std::move(messages)), modern_(modern), cutAfter_(cutAfter), fault_(std::move(fault)),
      listener_(ListenOn("127.0.0.1", port_)) {
    for (size_t i = 0; i < messages_.size(); i++)
        uids_.push_back("uid-" + std::to_string(i));
    thread_ = std::thread([this] { Serve(); });
}

MailboxServer::~MailboxServer() {
    stopping_ = true;
    thread_.join();
    close(listener_);
}

std::vector<std::string> MailboxServer::Messages() {
    std::lock_guard const lock(mutex_);
    return messages_;
}

size_t MailboxServer::Sent() {
    std::lock_guard const lock(mutex_);
    return sent_;
}

void MailboxServer::Serve() {
    while (!stopping_) {
        if (!Readable(listener_))
            continue;
        int const socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        int const yes = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        std::lock_guard const lock(mutex_);
        sent_ = 0;
        Session(socket);
        cutAfter_ = SIZE_MAX;
        // A close with unread bytes becomes a reset, which would take the last reply away from the client.
        shutdown(socket, SHUT_WR);
        close(socket);
    }
}

void MailboxServer::Session(int socket) {
    std::vector<bool> marked(messages_.size());
    std::string input;
    std::string reply = "+OK ready\r\n";
    for (int number = 0; Reply(socket, reply, number); number++) {
        size_t end;
        while ((end = input.find("\r\n")) == std::string::npos) {
            while (!Readable(socket))
                if (stopping_)
                    return;
            char bytes[512];
            ssize_t const got = recv(socket, bytes, sizeof bytes, 0);
            if (got <= 0)
                return;
            input.append(bytes, static_cast<size_t>(got));
        }
        std::string const line = input.substr(0, end);
        input.erase(0, end + 2);
        reply = Answer(line, marked);
        if (line != "QUIT")
            continue;
        for (size_t i = messages_.size(); i-- > 0;)
            if (marked[i])
                messages_.erase(messages_.begin() + static_cast<long>(i)),
                    uids_.erase(uids_.begin() + static_cast<long>(i));
        Reply(socket, reply, number + 1);
        return;
    }
}

bool MailboxServer::Reply(int socket, std::string const &reply, int number) {
    bool const faulty = number == fault_.reply;
    std::string const bytes = faulty && fault_.bytes ? fault_.bytes(reply) : reply;
    size_t const piece = faulty && fault_.piece ? fault_.piece : bytes.size();
    for (size_t i = 0; i < (faulty ? fault_.times : 1); i++)
        for (size_t at = 0; at < bytes.size(); at += piece) {
            size_t const now = std::min({piece, bytes.size() - at, cutAfter_ - sent_});
            if (send(socket, bytes.data() + at, now, MSG_NOSIGNAL) < 0 || (sent_ += now) == cutAfter_)
                return false;
        }
    if (faulty && fault_.then == Fault::kReset)
        ResetAtClose(socket);
    return !faulty || fault_.then == Fault::kGoOn;
}

std::string MailboxServer::Answer(std::string const &line, std::vector<bool> &marked) {
    size_t const number = NumberIn(line);
    bool const there = number >= 1 && number <= messages_.size() && !marked[number - 1];
    std::string list;
    for (size_t i = 0; i < messages_.size(); i++)
        list +=
            std::to_string(i + 1) + " " + (line == "UIDL" ? uids_[i] : std::to_string(messages_[i].size())) + "\r\n";
    if (modern_ && line == "CAPA")
        return "+OK\r\nUSER\r\nUIDL\r\nPIPELINING\r\n.\r\n";
    if (modern_ && (line == "LIST" || line == "UIDL"))
        return "+OK\r\n" + list + ".\r\n";
    if (line == "STAT")
        return "+OK " + std::to_string(messages_.size()) + " 1\r\n";
    if (line.starts_with("RETR ") && there)
        return "+OK " + std::to_string(messages_[number - 1].size()) + " octets\r\n" + messages_[number - 1] +
               ".\r\n";
    if (line.starts_with("TOP ") && there)
        return "+OK\r\n" + messages_[number - 1].substr(0, messages_[number - 1].find("\r\n\r\n")) + "\r\n\r\n.\r\n";
    if (line.starts_with("DELE ") && there) {
        marked[number - 1] = true;
        return "+OK\r\n";
    }
    return line.starts_with("USER ") || line.starts_with("PASS ") || line == "QUIT" ? "+OK\r\n" : "-ERR\r\n";
}
