#pragma once
// The main window's widgets without a window: what the mail side writes into them can be read back.

#include "Pt.h"
#include "protocol/mail_fixture.h"
#include "widgets/header_list.h"

#include <functional>
#include <string>
#include <vector>

/// What PtAlert was asked to show ("title|message"), in order.
extern std::vector<std::string> shownAlerts;

/// The widgets of the main window that a check uses, and a profile tree. The calling thread becomes the toolkit's
/// main thread; between the calls it is outside the library.
class Screen {
  public:
    Screen();
    ~Screen();
    Screen(Screen const &) = delete;
    Screen &operator=(Screen const &) = delete;

    /// Runs `work` on a thread of its own while this one paints like a main loop, until it is over.
    void RunWorker(std::function<void()> const &work);
    /// Runs `callback` as the main loop would, under the library lock.
    void RunCallback(std::function<void()> const &callback);
    /// Paints until `done` or for 60 s. Returns whether it became true.
    bool PaintUntil(std::function<bool()> const &done);

    std::string Status() const;
    /// The status texts and progress values that were painted, each change once: "Rcv 1 of 2|50".
    std::vector<std::string> const &Painted() const;
    struct Row {
        std::string text;
        HeaderRow data;
    };
    std::vector<Row> Rows() const;
    /// The check's widgets that are blocked now.
    int Blocked() const;

    /// Puts the profile into the tree, and opens it when asked to.
    void AddProfile(ServerAccount &account, bool open);
};
