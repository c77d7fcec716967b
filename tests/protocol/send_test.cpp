// Mails over SMTP and articles over NNTP: every byte on the wire and in the copy, what is shown, and where the text
// stays.

#include "base/fd.h"
#include "base/paths.h"
#include "compose/plain_text.h"
#include "compose/references.h"
#include "compose/send/classic/outgoing_message.h"
#include "compose/send/classic/smtp_dialogue.h"
#include "fixtures/mode.h"
#include "fixtures/process.h"
#include "fixtures/temp_home.h"
#include "protocol/send_fixture.h"
#include "widgets/toolkit.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

/// The alerts as a file of dialogues has them; they are forgotten.
std::string TakeAlerts() {
    std::string all;
    for (std::string const &alert : std::exchange(shownAlerts, {}))
        all += alert + "\n";
    return all;
}

/// The text of a copy whose wire is known: dots at the start of lines are single there.
std::string Undotted(std::string text) {
    for (size_t at = 0; (at = text.find("\n..", at)) != text.npos; at++)
        text.erase(at + 1, 1);
    return text;
}

class Sending : public SendTest {
  protected:
    void ComposeCase(bool news, Dialogue const &one) {
        Compose(news, one["to"], one["text"], one["subject"], one["cc"], one["references"]);
        std::string const parts = one["parts"];
        for (size_t at = 0; at < parts.size(); at = parts.find('\x1e', at) + 1) {
            size_t const type = parts.find('|', at) + 1, body = parts.find('|', type) + 1;
            AddPart(parts.substr(at, type - 1 - at), parts.substr(type, body - 1 - type),
                    parts.substr(body, parts.find('\x1e', body) - body));
        }
        std::string const signature = TempHome() + "/signature";
        std::ofstream(signature, std::ios::binary) << one["signature"];
        Serve(news, one, one.Has("signature") ? signature : "-");
    }

    /// The case's message goes as it says, and leaves nothing behind but what it should.
    void Play(bool news, Dialogue const &one) {
        SCOPED_TRACE(one.name);
        size_t const copies = news ? 0 : Outbox().size() + 1;
        ComposeCase(news, one);
        int const descriptors = CountDescriptors();
        std::string const wire = Plain(Wire());
        EXPECT_TRUE(screen.PaintUntil([&] { return CountDescriptors() <= descriptors + 1; })) << "the server's own";
        EXPECT_EQ(TakeAlerts(), one["alerts"]);
        bool const sent = one.Has("wire"), closed = sent || one.Has("unsent");
        EXPECT_EQ(state->sent, closed);
        EXPECT_EQ(IsClosed() || !Editable(), closed);
        EXPECT_TRUE(!sent || wire == one["wire"]) << wire;
        EXPECT_EQ(FileText(UnsentPath()), one["unsent"]);
        if (!news) {
            ASSERT_EQ(Outbox().size(), copies) << "kept whole whatever fails";
            std::string const copy = Plain(Outbox().back());
            EXPECT_TRUE(sent ? copy == Undotted(one["wire"]) : copy.ends_with("Subject: Hello\r\n\n\ntext")) << copy;
        }
        CloseWindow();
        server.reset();
    }
};

TEST_F(Sending, Mails) {
    WriteProfile(false, "");
    for (Dialogue const &one : ReadDialogues(DialoguesFor(false)))
        Play(false, one);
    std::string const row = OutboxRows()[0];
    EXPECT_EQ(row.substr(0, row.find("ann@") + 18), " \t Hello\t \"Ann Other\" <ann@example.org>\t ");
    EXPECT_EQ(ModeOf(Folder() + "1"), 0600u);
}

TEST_F(Sending, Articles) {
    for (Dialogue const &one : ReadDialogues(DialoguesFor(true)))
        Play(true, one);
    EXPECT_EQ(screen.Status(), "The article was not posted, its text is in " + UnsentPath());
    EXPECT_FALSE(fs::exists(ConfigRoot() + "home")) << "there is no copy";
}

TEST_F(Sending, AConnectionThatIsLostAtAnyAnswerGivesTheWindowBack) {
    WriteProfile(false, "");
    for (bool const news : {false, true}) {
        Dialogue const taken = ReadDialogue(DialoguesFor(news), "taken");
        for (Script const &before : BeforeEachAnswer(taken.connections[0])) {
            Dialogue lost = taken;
            lost.facts.erase("wire");
            lost.facts["alerts"] = kLost + "\n";
            for (auto const &[name, last] : std::map<std::string, Script>{{"closes", {}},
                                                                          {"resets", {Reset()}},
                                                                          {"half an answer", {Send("2")}},
                                                                          {"no line end", {Flood("2", 40 << 20)}}}) {
                if (before.empty() && name == "resets")
                    continue; // such a connection may count as none
                lost.name = name + ", step " + std::to_string(before.size());
                lost.connections = {before + last};
                Play(news, lost);
            }
        }
    }
}

TEST_F(Sending, TheSameWindowCanSendInTheEnd) {
    for (bool const news : {false, true}) {
        { WriteProfile(news, ScriptedServer(Script{}).Address()); }
        Dialogue const taken = ReadDialogue(DialoguesFor(news), "taken");
        Compose(news, taken["to"]);
        AddPart("a.txt", "TEXT/PLAIN", "QUJD\n");
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(TakeAlerts(), kLost + "\n");
        EXPECT_EQ(screen.Status(),
                  news ? "Could not connect to the news server" : "Could not connect to mail server");
        EXPECT_TRUE(Editable());
        EXPECT_FALSE(fs::exists(UnsentPath()));
        Serve(news, taken);
        EXPECT_NE(Wire().find("\r\n\nQUJD\n\r\n\r\n----Corvanta-"), std::string::npos) << "with its attachment";
        EXPECT_TRUE(IsClosed());
        CloseWindow();
    }
    EXPECT_EQ(Outbox().size(), 2u);
}

TEST_F(Sending, WithNobodyToSendToNothingHappens) {
    WriteProfile(false, "127.0.0.1:1");
    for (bool const news : {false, true}) {
        Compose(news, "");
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(TakeAlerts(), "");
        screen.RunCallback([&] { SetWidgetText(state->toField, news ? "  " : " , x;"); });
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(TakeAlerts(),
                  news ? "Error|There is no group in the Group field that the message could be posted to\n"
                       : "Error|There is no recipient in the To field that the message could be sent to\n");
        EXPECT_FALSE(IsClosed());
        CloseWindow();
    }
    EXPECT_EQ(Outbox(), Strings{});
}

TEST_F(Sending, OddSignatureFiles) {
    std::ofstream(TempHome() + "/dots") << ".\n.\n";
    std::ofstream(TempHome() + "/large");
    ASSERT_EQ(truncate((TempHome() + "/large").c_str(), 100 << 20), 0);
    mkfifo((TempHome() + "/pipe").c_str(), 0600);
    std::string const large(1 << 20, 'x');
    std::string const tooLarge =
        "Error|The signature file " + TempHome() + "/large is larger than 1 MB, the message goes without it\n";
    struct {
        std::string text;
        char const *signature;
        std::string body, alerts;
    } const cases[] = {{"x", "/missing", "x", ""},
                       {"x", "/large", "x", tooLarge},
                       {"x", "/pipe", "x", ""},
                       {large, "/dots", large + "\n\n..\n..\n", ""}};
    for (auto const &each : cases) {
        SCOPED_TRACE(each.signature);
        Serve(false, {TakenDialogue(false)}, TempHome() + each.signature);
        Compose(false, "bob@example.org", each.text);
        EXPECT_TRUE(Wire().ends_with("\r\nSubject: Hello\r\n\n\n" + each.body));
        EXPECT_EQ(TakeAlerts(), each.alerts);
        CloseWindow();
    }
}

TEST_F(Sending, WhatCannotBeKeptIsGivenBackAndLeavesNoHalf) {
    WriteProfile(false, "127.0.0.1:1");
    fs::remove_all(Folder());
    Compose(false, "bob@example.org");
    ASSERT_TRUE(SendNow());
    EXPECT_TRUE(Editable());
    EXPECT_EQ(screen.Status(), "The message could not be copied into the Outbox");
    CloseWindow();

    Script const refused = ReadDialogue(DialoguesFor(true), "a server that lets no one post").connections[0];
    Serve(true, {refused, refused});
    Compose(true, "test.general");
    auto const expectGivenBack = [&] {
        ASSERT_TRUE(SendNow());
        EXPECT_TRUE(Editable());
        EXPECT_EQ(screen.Status(), "The article was not posted, and its text could not be saved");
    };
    std::ofstream(UnsentPath()) << "earlier";
    {
        // A file that cannot grow beyond 20 bytes stands for a full disk.
        FileSizeLimit const full(20);
        expectGivenBack();
    }
    EXPECT_EQ(FileText(UnsentPath()), "earlier");
    fs::remove(UnsentPath());
    mkfifo(UnsentPath().c_str(), 0600);
    expectGivenBack();
}

/// The body of a text without attachments, as it goes into the copy.
std::string Body(std::string const &text, std::vector<int> *percents = nullptr) {
    StopPredicate const goOn = [] { return false; };
    std::string const path = TempHome() + "/body";
    Fd const copy(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    MessageSink sink(nullptr, copy.Get(), goOn);
    OutgoingMessage message;
    message.text = text;
    WriteMessageBody(message, sink, [&](int percent) {
        if (percents)
            percents->push_back(percent);
    });
    sink.Flush();
    EXPECT_FALSE(sink.CopyFailed());
    return FileText(path);
}

TEST(MessageText, EachTextBecomesWhatIsStated) {
    for (Dialogue const &one : ReadTable("sent")) {
        SCOPED_TRACE(one.name);
        std::string recipients;
        for (std::string const &each : RecipientsOf(one["text"]))
            recipients += each + "|";
        EXPECT_TRUE(one.Has("body") || one.Has("recipients") || one.Has("line"));
        EXPECT_TRUE(!one.Has("body") || Body(one["text"]) == "\n\n" + one["body"]) << Body(one["text"]);
        EXPECT_TRUE(!one.Has("recipients") || recipients == one["recipients"]) << recipients;
        EXPECT_TRUE(!one.Has("line") || PlainLine(one["text"]) == one["line"]) << PlainLine(one["text"]);
    }
}

TEST(MessageText, ProgressFollowsWrapsAndChunks) {
    std::vector<int> percents;
    EXPECT_EQ(Body("", &percents), "\n\n");
    EXPECT_EQ(percents, std::vector<int>{100});
    percents.clear();
    Body(std::string(79, 'x') + " " + std::string(20, 'x'), &percents);
    EXPECT_EQ(percents, (std::vector<int>{10 + 80 * 90 / 100, 100}));
    percents.clear();
    Body(std::string(2 * 10240, 'x'), &percents);
    EXPECT_EQ(percents, (std::vector<int>{55, 100}));
}

TEST(References, OfALongThread) {
    // The first and the newest of a long thread, in a line of at most 998 bytes.
    std::string article = "References:";
    for (int i = 0; i < 5000; i++)
        article += " <" + std::to_string(i) + "@example.org>\r\n";
    std::string const trimmed = ReplyReferences(article + "Message-ID: <last@example.org>\r\n\r\n");
    EXPECT_LE(trimmed.size(), 998u - 12);
    EXPECT_GT(trimmed.size(), 950u);
    EXPECT_TRUE(trimmed.starts_with("<0@example.org> <49")) << trimmed;
    EXPECT_TRUE(trimmed.ends_with(" <4999@example.org> <last@example.org>"));
}

} // namespace
