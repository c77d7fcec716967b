#pragma once
// The page server's loop: one thread, one page at a time.

#include "vserver/files.h"
#include "vserver/worker.h"

#include <memory>
#include <string>
#include <vector>

namespace vserver {

class Server {
  public:
    /// Serves pages below `roots` to the view at the other end of `socket`. Images are only named unless `decodes`.
    Server(int socket, std::vector<Root> roots, bool decodes)
        : socket_(socket), decodes_(decodes), roots_(std::move(roots)) {}

    /// Says hello and serves until the view quits, goes away or breaks the rules, or until a root is not the
    /// directory any more that the sandbox has been made for: a new server can read the new one. Returns the exit
    /// status.
    int Run();

  private:
    bool Take();
    bool Start(Job job, Fd const &input, uint32_t number);
    void Load(uint32_t id, std::string const &url);
    void Abandon();
    void Wait();
    void Fail(std::string const &why, bool tell = false);
    void SendFrame(uint32_t number);
    void PageDone(Worker &worker);
    void ImageDone(Worker &worker);
    void StartImages();

    int socket_;
    bool decodes_;
    bool running_ = true;
    std::vector<Root> roots_;

    // The current page.
    uint32_t id_ = 0;
    Fd directory_;
    std::vector<Fd> images_; ///< opened, waiting for a worker or not there
    std::vector<std::string> names_;
    size_t next_image_ = 0;
    uint64_t pixels_left_ = 0;
    std::vector<std::unique_ptr<Worker>> workers_; ///< one for the page, or some for images
};

} // namespace vserver
