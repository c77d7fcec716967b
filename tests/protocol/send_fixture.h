#pragma once
// A compose window without a window, and profiles to send from.

#include "compose/compose_state.h"
#include "compose/send/send_thread.h"
#include "fixtures/dialogue.h"
#include "protocol/screen.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

using Strings = std::vector<std::string>;

extern std::string const kLost; ///< the alert of a connection that failed

/// The file of dialogues for articles, or for mails, and the one of them in which all is well.
std::string DialoguesFor(bool news);
Script TakenDialogue(bool news);

/// A dialogue up to and with the step that has this text.
Script UpTo(Script dialogue, std::string const &text);

/// A dialogue up to each of the server's answers, which it does not give any more.
std::vector<Script> BeforeEachAnswer(Script const &dialogue);

class SendTest : public testing::Test {
  protected:
    SendTest();
    ~SendTest() override;

    /// Writes the profile "home" (Ann Other <ann@example.org>; for news login ann:secret) for a server.
    void WriteProfile(bool news, std::string const &address, std::string const &signature = "-");
    /// Starts a scripted server and writes the profile for it.
    void Serve(bool news, std::vector<Script> const &scripts, std::string const &signature = "-");
    /// Fills a new window.
    void Compose(bool news, std::string const &to, std::string const &text = "text",
                 std::string const &subject = "Hello", std::string const &cc = "",
                 std::string const &references = "");
    void AddPart(std::string const &name, std::string const &type, std::string const &body);
    /// Presses Send and paints until the thread has ended. False when that takes too long.
    bool SendNow();
    void PressSend();
    bool WaitForEnd();
    /// SendNow with a server that was given by Serve. Returns what went over the wire from DATA or POST up to the
    /// final dot.
    std::string Wire();
    /// Closes the window, unless that was done already, and forgets it.
    void CloseWindow();

    /// The window is open, and the fields can be edited; nothing is being sent.
    bool Editable();
    bool IsClosed() const { return !state->window; }
    int Progress() const;

    std::string Folder() const;
    /// The texts of the Outbox's messages, by index and files; fails the test when the two do not agree.
    Strings Outbox();
    Strings OutboxRows();
    /// The file of articles that could not be posted.
    std::string UnsentPath() const;

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    ComposeState *state = nullptr;
};

/// `text` with DATE for the date of a Date field, and BOUNDARY for the boundary. Fails the test when they have not
/// the form they should have.
std::string Plain(std::string text);
