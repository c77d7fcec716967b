#pragma once
// A compose window without a window, and profiles to send from.

#include "compose/compose_state.h"
#include "compose/send/send_thread.h"
#include "fixtures/scripted_server.h"
#include "protocol/screen.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>

using Strings = std::vector<std::string>;

extern std::string const kLost; ///< the alert of a connection that failed

/// What the server says when all goes well, up to the message.
Script SmtpHello(Strings const &recipients);
/// The message, the final answer and the end.
Script SmtpTakes(std::string const &answer = "250 2.0.0 Ok: queued\r\n");

/// Posting without and with a login: what is said up to the article; the article, the final answer and the end.
extern Script const kMayPost, kMayPostAfterLogin;
Script NewsTakes(std::string const &answer = "240 got it\r\n");

/// A dialogue up to each of the server's answers, which it does not give any more.
std::vector<Script> BeforeEachAnswer(Script const &dialogue);

/// A dialogue that the server spoils, and what the person is then told.
struct Spoiled {
    std::string name;
    Script script;
    Strings alerts;
};
/// The connection is lost in several ways at each of the server's answers.
std::vector<Spoiled> LostAtEachAnswer(Script const &dialogue);

class SendTest : public testing::Test {
  protected:
    SendTest();
    ~SendTest() override;

    /// Starts a scripted server and writes the profile "home" (Ann Other <ann@example.org>) for it.
    void Serve(std::vector<Script> const &scripts, std::string const &signature = "-");
    void WriteProfile(std::string const &smtpServer, std::string const &signature = "-");

    /// The same for the news profile "home" of Ann Other <ann@example.org>, login ann:secret.
    void ServeNews(std::vector<Script> const &scripts, std::string const &signature = "-");
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
    /// Sends to a server that takes it and goes along with its script: the window closes. Returns what went over the
    /// wire from DATA or POST up to the final dot.
    std::string Deliver(Strings const &alerts = {});
    /// Closes the window, unless it has gone already, and forgets it.
    void CloseWindow();
    /// Sends the text of the window to each server in turn; each time it is given back, and `check` holds.
    void ExpectGivenBack(std::vector<Spoiled> const &dialogues, std::function<void()> const &check);

    /// The window is open, and the fields can be edited; nothing is on its way.
    bool Editable();
    int Progress() const;
    bool WindowGone() const { return !state->window; }

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

/// `text` with the date of a Date field and the boundary made the same for all messages. Fails the test when they
/// have not the form they should have.
std::string Plain(std::string text);
