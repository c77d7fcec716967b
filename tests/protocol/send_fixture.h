#pragma once
// A compose window without a window, and profiles to send from.

#include "compose/compose_state.h"
#include "compose/send_thread.h"
#include "fixtures/scripted_server.h"
#include "protocol/screen.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>

/// What the server says when all goes well, up to the message.
Script SmtpHello(std::vector<std::string> const &recipients);
/// The message, the final answer and the end.
Script SmtpTakes(std::string const &answer = "250 2.0.0 Ok: queued\r\n");

class SendTest : public testing::Test {
  protected:
    SendTest();
    ~SendTest() override;

    /// Starts a scripted server and writes the profile "home" (Ann Other <ann@example.org>) for it.
    void Serve(std::vector<Script> const &scripts);
    void WriteProfile(std::string const &smtpServer, std::string const &signature = "-");

    /// The same for the news profile "home" of Ann Other <ann@example.org>, login ann:secret.
    void ServeNews(std::vector<Script> const &scripts);
    void WriteNewsProfile(std::string const &newsServer, std::string const &signature = "-");

    /// Fills a new window.
    void Compose(std::string const &to, std::string const &text, std::string const &subject = "Hello",
                 std::string const &cc = "");
    /// The same for an article.
    void ComposeArticle(std::string const &groups, std::string const &text, std::string const &subject = "Hello",
                        std::string const &references = "");
    void AddPart(std::string const &name, std::string const &type, std::string const &body);
    /// Presses Send and paints until the thread is gone. False when that takes over 20 s.
    bool SendNow();
    void PressSend();
    bool WaitForEnd();

    /// The window is open, and the fields can be edited.
    bool Editable();
    bool WindowGone() const { return !state->window; }

    std::string Folder() const;
    /// The texts of the Outbox's messages, by index and files; fails the test when the two do not agree.
    std::vector<std::string> Outbox();
    std::vector<std::string> OutboxRows();

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    ComposeState *state = nullptr;
};

/// `text` with the date of a Date field and the boundary made the same for all messages. Fails the test when they
/// have not the form they should have.
std::string Plain(std::string text);
