#include "vserver/server.h"

#include "vserver/clean.h"
#include "vserver/decode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>

namespace vserver {
namespace {

constexpr size_t kMaxWorkers = 3;
constexpr char kNotCleaned[] = "This page could not be shown.";
constexpr uint32_t kPageWorker = ~0u; ///< the number of a page's worker; images have their own

/// A worker's job: input a page, output the clean page, info the names of its images, each followed by a NUL.
bool CleanPageJob() {
    std::string bytes;
    if (!ReadFile(kWorkerInput, kMaxPageBytes, bytes))
        return false;
    CleanPage const page = CleanHtml(bytes);
    std::string names;
    for (std::string const &name : page.images)
        names.append(name).push_back('\0');
    return WriteAll(kWorkerOutput, page.html) && WriteAll(kWorkerInfo, names);
}

/// The names that a worker wrote, empty when they are not what CleanPageJob writes.
std::vector<std::string> SplitNames(std::string_view names) {
    std::vector<std::string> list;
    while (!names.empty()) {
        size_t const end = names.find('\0');
        if (end == std::string_view::npos || list.size() == kMaxImages)
            return {};
        list.emplace_back(names.substr(0, end));
        names.remove_prefix(end + 1);
    }
    return list;
}

} // namespace

int Server::Run() {
    if (Send(socket_, Kind::Hello, 0, {kVersion, decodes_ ? 0u : 1u, 0}) != 0)
        return 1;
    while (running_)
        Wait();
    return 0;
}

/// Waits for the view or for a worker, or until a worker has had its time, and deals with it.
void Server::Wait() {
    std::vector<pollfd> waiting{{socket_, POLLIN, 0}};
    int timeout = -1;
    for (auto const &worker : workers_) {
        waiting.push_back({worker->Process(), POLLIN, 0});
        auto const left =
            std::chrono::ceil<std::chrono::milliseconds>(worker->Deadline() - std::chrono::steady_clock::now());
        int const milliseconds = static_cast<int>(std::max<int64_t>(left.count(), 0));
        timeout = timeout < 0 ? milliseconds : std::min(timeout, milliseconds);
    }
    if (poll(waiting.data(), waiting.size(), timeout) < 0) {
        running_ = running_ && errno == EINTR;
        return;
    }
    if (waiting[0].revents != 0) {
        running_ = Take();
        return; // the workers may be others now
    }
    auto const now = std::chrono::steady_clock::now();
    for (size_t i = workers_.size(); i-- > 0;) {
        if (waiting[i + 1].revents == 0 && workers_[i]->Deadline() > now)
            continue;
        std::unique_ptr<Worker> const worker = std::move(workers_[i]);
        workers_.erase(workers_.begin() + static_cast<ptrdiff_t>(i));
        if (worker->Number() == kPageWorker)
            PageDone(*worker);
        else
            ImageDone(*worker);
    }
    StartImages();
}

/// Takes a message of the view. False when it is the last.
bool Server::Take() {
    Packet packet;
    switch (Receive(socket_, packet)) {
    case Received::Nothing:
        return true;
    case Received::Message:
        break;
    default:
        return false;
    }
    if (packet.header.kind != Kind::Load)
        return false;
    Load(packet.header.id, packet.text);
    return running_;
}

bool Server::Start(Job job, Fd const &input, uint32_t number) {
    auto worker = std::make_unique<Worker>(job, input, number);
    if (!worker->Running())
        return false;
    workers_.push_back(std::move(worker));
    return true;
}

/// Forgets the current page; its workers are killed.
void Server::Abandon() {
    workers_.clear();
    images_.clear();
    names_.clear();
    next_image_ = 0;
    directory_.Reset();
}

/// Says why there is no page; `tell`: to the reader too.
void Server::Fail(std::string const &why, bool tell) {
    if (Send(socket_, Kind::Error, id_, {tell ? 1u : 0u, 0, 0}, why) != 0)
        running_ = false;
}

/// An image that is not shown but named.
void Server::SendFrame(uint32_t number) {
    if (Send(socket_, Kind::Image, id_, {number, 0, 0}, names_[number]) != 0)
        running_ = false;
}

void Server::Load(uint32_t id, std::string const &url) {
    Abandon();
    id_ = id;
    pixels_left_ = kMaxPageImagePixels;
    OpenedPage page = OpenPage(roots_, url);
    if (page.root_changed) {
        running_ = false;
        return;
    }
    if (!page.file.Valid())
        return Fail(page.error);
    directory_ = std::move(page.directory);
    if (!Start(CleanPageJob, page.file, kPageWorker))
        Fail(kNotCleaned, true);
}

void Server::PageDone(Worker &worker) {
    constexpr size_t kNameBytes = kMaxImages * 256;
    std::string names;
    size_t size;
    if (!worker.Finish(kNameBytes, names, size) || size > kMaxCleanBytes)
        return Fail(kNotCleaned, true);
    // All images are opened before the view hears of the page: their files may be removed a moment later.
    names_ = SplitNames(names);
    for (std::string const &name : names_)
        images_.push_back(decodes_ ? OpenImage(directory_, name) : Fd());
    directory_.Reset();
    if (Send(socket_, Kind::Page, id_, {static_cast<uint32_t>(images_.size()), static_cast<uint32_t>(size), 0}, {},
             worker.Output().Get()) != 0)
        running_ = false;
}

void Server::StartImages() {
    while (running_ && next_image_ < images_.size() && workers_.size() < kMaxWorkers) {
        auto const number = static_cast<uint32_t>(next_image_++);
        Fd const file = std::move(images_[number]);
        if (!file.Valid() || !Start(DecodeImageJob, file, number))
            SendFrame(number);
    }
}

void Server::ImageDone(Worker &worker) {
    uint32_t side[2] = {0, 0};
    std::string info;
    size_t size;
    bool good = worker.Finish(sizeof side, info, size) && info.size() == sizeof side;
    if (good) {
        memcpy(side, info.data(), sizeof side);
        uint64_t const pixels = uint64_t{side[0]} * side[1];
        good = side[0] >= 1 && side[1] >= 1 && side[0] <= kMaxImageSide && side[1] <= kMaxImageSide &&
               pixels <= std::min(kMaxImagePixels, pixels_left_) && size == pixels * 4;
        if (good)
            pixels_left_ -= pixels;
    }
    if (!good)
        return SendFrame(worker.Number());
    if (Send(socket_, Kind::Image, id_, {worker.Number(), side[0], side[1]}, {}, worker.Output().Get()) != 0)
        running_ = false;
}

} // namespace vserver
