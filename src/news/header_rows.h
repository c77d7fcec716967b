#pragma once
// The overview of a download on its way into the header list, and how far it is.

#include "news/session/headers.h"
#include "widgets/toolkit.h"

#include <chrono>
#include <optional>

/// Adds the lines to the header list that is there when this is made, under the library lock, which a worker holds
/// only between Start and Pause. Once the list was freed no more are wanted.
class HeaderRows : public OverviewSink {
  public:
    /// `total` is what "rcvd n of m" shows last.
    explicit HeaderRows(int32_t total);

    bool Start() override;
    /// kStopped when the list was freed; kFailed, after an alert, when out of memory.
    Outcome Take(OverviewLine const &line, int32_t number) override;
    void Pause() override { library_.reset(); }

    /// Shows the end of the list when anything has come. To be called at the end of a complete download.
    void ShowLast();

  private:
    bool IsWanted() const;
    void ShowProgress();

    int32_t total_;
    unsigned listAge_;
    int64_t counted_ = 1; ///< lines; kept: the status line is one
    bool started_ = false;
    std::optional<ToolkitGuard> library_;
    std::chrono::steady_clock::time_point painted_{};
};
