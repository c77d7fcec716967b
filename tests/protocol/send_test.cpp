// Sending over SMTP against scripted servers: every byte on the wire and in the Outbox copy, and what is shown.

#include "base/fd.h"
#include "compose/send/classic/outgoing_message.h"
#include "compose/send/classic/smtp_dialogue.h"
#include "fixtures/mode.h"
#include "fixtures/temp_home.h"
#include "protocol/send_fixture.h"
#include "widgets/toolkit.h"

#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>

namespace {

std::string const kHeader = "Date: DATE\r\nFrom: \"Ann Other\" <ann@example.org>\r\nTo: bob@example.org\r\n"
                            "Subject: Hello\r\n";

TEST_F(SendTest, PlainMessageByteForByteToASlowServer) {
    Serve({{Send("220 ready\r\n", 1), Expect("HELO localhost"), Send("250 hello\r\n", 2),
            Expect("MAIL FROM: <ann@example.org>"), Send("250 ok\r\n", 1), Expect("RCPT TO: <bob@example.org>"),
            Send("250 ok\r\n"), Expect("DATA"), Send("354 go on\r\n", 1), Until("\r\n.\r\n"), Pause(3300),
            Send("250 ok\r\n", 1), Expect(""), Expect("QUIT")}});
    // Line ends of any kind end lines, and what the editor cannot show is not sent.
    Compose("bob@example.org", "One\u2028.two\r\n\r..th\x1b\x7fr\u0085e\x93"
                               "e\u2029end");
    EXPECT_EQ(Plain(Deliver()), kHeader + "\n\nOne\r\n..two\r\n\r\n...three\r\nend");
    ASSERT_EQ(Outbox().size(), 1u);
    EXPECT_EQ(Plain(Outbox()[0]), kHeader + "\n\nOne\r\n.two\r\n\r\n..three\r\nend");
    std::string const row = OutboxRows()[0];
    EXPECT_EQ(row.substr(0, row.find("ann@") + 18), " \t Hello\t \"Ann Other\" <ann@example.org>\t ");
    EXPECT_EQ(ModeOf(Folder() + "1"), 0600u);
}

TEST_F(SendTest, AttachmentsSignatureAndCcByteForByteWithoutTheLineEndsInFields) {
    std::string const signature = TempHome() + "/signature";
    std::ofstream(signature, std::ios::binary) << std::string("--\n.Ann\n\0.\n", 11);
    Serve({SmtpHello({"b@x.orgX-Evil:1", "c@x.org", "d@x.org"}) + SmtpTakes()}, signature);
    Compose("b@x.org\r\nX-Evil: 1", ".", "one\r\n\r\ntwo\nthree", "Carl <c@x.org>;\n d@x.org");
    AddPart("a\r\n.tgz", "APPLICATION/X-TAR-GZ\t\nX: y", "QUJD\nREVG");
    AddPart("", "unknown", "");
    std::string const wire = Deliver();
    std::string const fields = "Date: DATE\r\nFrom: \"Ann Other\" <ann@example.org>\r\nTo: b@x.orgX-Evil: 1\r\n"
                               "CC: Carl <c@x.org>; d@x.org\r\nSubject: onetwothree\r\n"
                               "MIME-Version: 1.0\nContent-Type: MULTIPART/MIXED; BOUNDARY=\"BOUNDARY\"\r\n\r\n"
                               "BOUNDARY\r\nContent-Type: TEXT/PLAIN; charset=US-ASCII\r\n \n\n";
    std::string const parts = "\r\n\r\nBOUNDARY\r\n"
                              "Content-Type: APPLICATION/X-TAR-GZ\tX: y; name:\"a.tgz\"\n"
                              "Content-Disposition: attachment; filename=\"a.tgz\"\n"
                              "Content-Transfer-Encoding: BASE64\r\n\nQUJD\nREVG\r\n\r\nBOUNDARY\r\n"
                              "Content-Type: unknown\nContent-Transfer-Encoding: BASE64\r\n\n\r\n\r\nBOUNDARY\r\n";
    using namespace std::string_literals;
    EXPECT_EQ(Plain(wire), fields + "..\n\n--\n..Ann\n\0.\n"s + parts);
    ASSERT_EQ(Outbox().size(), 1u);
    EXPECT_EQ(Plain(Outbox()[0]), fields + ".\n\n--\n.Ann\n\0.\n"s + parts);
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

TEST(MessageText, WrapsAtTheFirstBlankFromColumn71On) {
    std::string const word70(70, 'x'), word71(71, 'x'), word200(200, 'y');
    EXPECT_EQ(Body(word200), "\n\n" + word200);
    EXPECT_EQ(Body(word70 + " z"), "\n\n" + word70 + " z");       // the blank stands in column 70
    EXPECT_EQ(Body(word71 + " z"), "\n\n" + word71 + " \r\nz");   // and here in column 71
    EXPECT_EQ(Body(word70 + "  z"), "\n\n" + word70 + "  \r\nz"); // the second of two does
    EXPECT_EQ(Body(word200 + " " + word200 + " z"), "\n\n" + word200 + " \r\n" + word200 + " \r\nz");
    EXPECT_EQ(Body(word71 + "\n z"), "\n\n" + word71 + "\r\n z"); // a line end starts the count anew
    EXPECT_EQ(Body("a\rb\tc\n"), "\n\na\rb\tc\r\n");
    EXPECT_EQ(Body(std::string(144, ' ')), "\n\n" + std::string(72, ' ') + "\r\n" + std::string(72, ' ') + "\r\n");
    // The column is not forgotten where a chunk of 10240 bytes ends.
    std::string const chunk(10239, 'x');
    EXPECT_EQ(Body(chunk + "x z"), "\n\n" + chunk + "x \r\nz");
    std::string const lines(10200, '\n');
    std::string wide;
    for (int i = 0; i < 10200; i++)
        wide += "\r\n";
    EXPECT_EQ(Body(lines + word71 + " z"), "\n\n" + wide + word71 + " \r\nz");
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

TEST(Recipients, EntriesOfAList) {
    EXPECT_EQ(RecipientsOf("Ann <a@x.org>, b@x.org;\"Cc, D\" <c@x.org>"),
              (Strings{"a@x.org", "b@x.org", "Cc", "c@x.org"}))
        << "a quoted comma separates like any other";
    EXPECT_EQ(RecipientsOf(",, ;a@x.org,x,, ' ', b@x.org,;"), (Strings{"a@x.org", "b@x.org"}));
    EXPECT_EQ(RecipientsOf(""), Strings{});
    EXPECT_EQ(RecipientsOf(" ,;\t\"'=,z"), Strings{});
    EXPECT_EQ(RecipientsOf("&lt;a@x.org&gt;,b@x.org"), (Strings{"a@x.org", "b@x.org"}));
    std::string const large(20000, 'l');
    EXPECT_EQ(RecipientsOf(large + "@x.org, b@x.org"), (Strings{large + "@x.org", "b@x.org"}));
}

TEST_F(SendTest, WithNobodyToSendToNothingHappens) {
    WriteProfile("127.0.0.1:1");
    for (bool const news : {false, true}) {
        shownAlerts.clear();
        news ? ComposeArticle("", "text") : Compose("", "text");
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(shownAlerts, Strings{});
        screen.RunCallback([&] { SetWidgetText(state->toField, news ? "  " : " , x;"); });
        ASSERT_TRUE(SendNow());
        EXPECT_EQ(shownAlerts,
                  Strings{news ? "Error|There is no group in the Group field that the message could be posted to"
                               : "Error|There is no recipient in the To field that the message could be sent to"});
        EXPECT_FALSE(WindowGone());
        CloseWindow();
    }
    EXPECT_EQ(Outbox(), Strings{});
}

/// What the server refuses, and how it may say so.
std::vector<Spoiled> Refusals() {
    Script const data = SmtpHello({"bob@example.org"});
    Script const beforeData(data.begin(), data.end() - 1);
    Script const dot = data + Script{Until("\r\n.\r\n")};
    Script const quit{Expect("QUIT")}, end{Expect(""), Expect("QUIT")};
    return {
        {"resets in the message", data + Script{Reset()}, {kLost}},
        {"busy and closes", {Send("421 busy\r\n")}, {kLost}},
        {"closes within the last answer", dot + Script{Send("250-one\r\n250-two\r\n250 thr")}, {kLost}},
        {"answers that never end", dot + Script{Flood("250-more\r\n", 1 << 20)}, {kLost}},
        {"refuses all and goes on",
         Script{Send("554 no\r\n"), Skip(), Send("502 no\r\n"), Skip(), Send("503 no\r\n"), Skip(),
                Send("503 no rcpt\r\n"), Skip(), Send("503 no data\r\n")} +
             quit,
         {"Error|503 no rcpt", "Error|503 no data"}},
        {"DATA refused",
         beforeData + Script{Send("451-later\r\n451 please\r\n")} + quit,
         {"Error|451-later\n451 please"}},
        {"DATA taken as done", beforeData + Script{Send("250 ok\r\n")} + quit, {"Error|250 ok"}},
        {"8-bit refusal", beforeData + Script{Send("550 Zur\xfc 250 ok\r\n")} + quit, {"Error|550 Zur"}},
        {"an empty answer", beforeData + Script{Send("\r\n")} + quit, {"Error|"}},
        {"message refused",
         dot + Script{Send("552 5.3.4 too <b>big</b> %s%n\r\n")} + end,
         {"Error|552 5.3.4 too <b>big</b> %s%n"}},
        {"an answer behind a NUL", dot + Script{Send(std::string(1, 0) + "250 ok\r\n")} + end, {"Error|"}},
    };
}

TEST_F(SendTest, EveryFailureKeepsTheWholeCopyAndGivesTheWindowBack) {
    Compose("bob@example.org", "text");
    size_t copies = 0;
    auto const oneMoreCopy = [&] {
        ASSERT_EQ(Outbox().size(), ++copies);
        EXPECT_EQ(Plain(Outbox().back()), kHeader + "\n\ntext");
        EXPECT_EQ(OutboxRows().back().substr(0, 8), " \t Hello");
    };
    ExpectGivenBack(LostAtEachAnswer(SmtpHello({"bob@example.org"}) + SmtpTakes()), oneMoreCopy);
    ExpectGivenBack(Refusals(), oneMoreCopy);
    // The same window can send in the end.
    Serve({SmtpHello({"bob@example.org"}) + SmtpTakes("240 posted\r\n")});
    Deliver();
}

TEST_F(SendTest, WithoutAServerTheTextIsGivenBack) {
    {
        ScriptedServer gone{Script{}};
        WriteProfile(gone.Address());
    }
    Compose("bob@example.org", "text");
    AddPart("a.txt", "TEXT/PLAIN", "QUJD\n");
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{kLost});
    EXPECT_TRUE(Editable());
    ASSERT_EQ(Outbox().size(), 1u);
    EXPECT_NE(Outbox()[0].find("\n\ntext\r\n\r\n----Corvanta-"), std::string::npos);
    EXPECT_NE(Outbox()[0].find("\r\n\nQUJD\n\r\n\r\n----Corvanta-"), std::string::npos);
    EXPECT_EQ(OutboxRows()[0].substr(0, 8), " \t Hello");
    // Nor is there a place for the copy.
    ASSERT_EQ(rename(Folder().c_str(), (TempHome() + "/away").c_str()), 0);
    ASSERT_TRUE(SendNow());
    EXPECT_TRUE(Editable());
    EXPECT_EQ(screen.Status(), "The message could not be copied into the Outbox");
    screen.RunCallback([&] { EXPECT_NE(PtTreeRootItem(state->attachmentList)->data, nullptr); });
}

TEST_F(SendTest, RefusedAndUnsendableRecipientsAreShownAndTheOthersServed) {
    Serve({Script{Send("220-ready\r\n220-very\r\n220 now\r\n", 3), Expect("HELO localhost"), Send("250-a\r\n250\r\n"),
                  Expect("MAIL FROM: <ann@example.org>"), Send("250 ok\n"), Expect("RCPT TO: <a@x.org>"),
                  Send("550-5.1.1 nobody\r\n550 here\r\n"), Expect("RCPT TO: <b@x.org>"), Send("251 elsewhere\r\n"),
                  Expect("RCPT TO: <c@x.org>"), Send("250 f\xfcr c\r\n"), Expect("RCPT TO: <d@x.org>"),
                  Send("250-1\r\n250 2\r\n"), Expect("DATA"), Send("354-go\r\n354 on\r\n")} +
           SmtpTakes("250-queued\r\n250 as 1\r\n")});
    Compose("A <a@x.org>, b@x.org, ,x,e@x<y.org", "text", "Hello", "\x01z@x.org; c@x.org;;<d@x.org>");
    Deliver({"Error|550-5.1.1 nobody\n550 here", "Error|251 elsewhere",
             "Error|This is no address that mail can be sent to: e@x<y.org",
             "Error|This is no address that mail can be sent to: \x01z@x.org"});
}

TEST_F(SendTest, OddTextsAndSignatures) {
    std::ofstream(TempHome() + "/empty");
    std::ofstream(TempHome() + "/dots") << ".\n.\n";
    std::ofstream(TempHome() + "/large");
    ASSERT_EQ(truncate((TempHome() + "/large").c_str(), 100 << 20), 0);
    mkfifo((TempHome() + "/pipe").c_str(), 0600);
    std::string const large(10 << 20, 'x');
    std::string const tooLarge =
        "Error|The signature file " + TempHome() + "/large is larger than 1 MB, the message goes without it";
    struct {
        std::string text;
        char const *signature;
        std::string body;
        Strings alerts;
    } const cases[] = {
        {"", "/missing", "", {}},         {"   ", "", "   ", {}},  {"x", "/empty", "x\n\n", {}},
        {"x", "/large", "x", {tooLarge}}, {"x", "/pipe", "x", {}}, {large, "/dots", large + "\n\n..\n..\n", {}},
    };
    for (auto const &each : cases) {
        SCOPED_TRACE(each.signature);
        Serve({SmtpHello({"bob@example.org"}) + SmtpTakes()}, TempHome() + each.signature);
        Compose("bob@example.org", each.text);
        EXPECT_TRUE(Deliver(each.alerts).ends_with("\r\nSubject: Hello\r\n\n\n" + each.body));
    }
}

} // namespace
