#include "protocol/send_fixture.h"

#include "base/paths.h"
#include "fixtures/process.h"
#include "mime/headers.h"
#include "mime/render.h"
#include "store/folder.h"
#include "widgets/toolkit.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

std::string const kLost = "Error|Failed to get a socket, verify server information";

namespace {

Script const kPost{Send("200 ready\r\n"), Expect("POST")};
Script const kGoOn{Send("340 go on\r\n")};
Script const kLogin{Send("480 who are you\r\n"),    Expect("AUTHINFO USER ann"), Send("381 password\r\n"),
                    Expect("AUTHINFO PASS secret"), Send("281 welcome\r\n"),     Expect("POST")};

} // namespace

Script const kMayPost = kPost + kGoOn, kMayPostAfterLogin = kPost + kLogin + kGoOn;

Script NewsTakes(std::string const &answer) { return SmtpTakes(answer); }

std::vector<Script> BeforeEachAnswer(Script const &dialogue) {
    std::vector<Script> scripts;
    for (auto step = dialogue.begin(); step != dialogue.end(); ++step)
        if (step->kind == Step::kSend)
            scripts.emplace_back(dialogue.begin(), step);
    return scripts;
}

std::vector<Spoiled> LostAtEachAnswer(Script const &dialogue) {
    std::vector<Spoiled> spoiled;
    for (Script const &before : BeforeEachAnswer(dialogue)) {
        std::string const place = ", step " + std::to_string(before.size());
        spoiled.push_back({"closes" + place, before, {kLost}});
        if (!before.empty()) // a connection that is reset at once may count as none
            spoiled.push_back({"resets" + place, before + Script{Reset()}, {kLost}});
        spoiled.push_back({"half an answer" + place, before + Script{Send("2")}, {kLost}});
        spoiled.push_back({"a line without end" + place, before + Script{Flood("2", 40 << 20)}, {kLost}});
    }
    return spoiled;
}

Script SmtpHello(Strings const &recipients) {
    Script script{Send("220 ready\r\n"), Expect("HELO localhost"), Send("250 hello\r\n"),
                  Expect("MAIL FROM: <ann@example.org>"), Send("250 ok\r\n")};
    for (std::string const &recipient : recipients)
        script = script + Script{Expect("RCPT TO: <" + recipient + ">"), Send("250 ok\r\n")};
    return script + Script{Expect("DATA"), Send("354 go on\r\n")};
}

Script SmtpTakes(std::string const &answer) { return {Until("\r\n.\r\n"), Send(answer), Expect(""), Expect("QUIT")}; }

namespace {

int OnGone(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *const state = static_cast<ComposeState *>(data);
    for (PtTreeItem_t *item = PtTreeRootItem(state->attachmentList); item;
         item = reinterpret_cast<PtTreeItem_t *>(item->gen.brother))
        FreePart(static_cast<PartHeaders *>(item->data));
    for (PtWidget_t **widget : {&state->window, &state->sendButton, &state->cancelButton, &state->attachButton,
                                &state->progressBar, &state->profileChooser, &state->toField, &state->ccField,
                                &state->subjectField, &state->messageText, &state->attachmentList})
        *widget = nullptr;
    return Pt_CONTINUE;
}

bool IsBlocked(PtWidget_t *widget) { return (PtWidgetFlags(widget) & Pt_BLOCKED) != 0; }

} // namespace

SendTest::SendTest() { mkdir(ConfigRoot().c_str(), 0700); }

SendTest::~SendTest() {
    if (state)
        CloseWindow();
}

void SendTest::WriteProfile(std::string const &smtpServer, std::string const &signature) {
    mkdir((ConfigRoot() + "home").c_str(), 0700);
    CreateFolder(Folder().c_str());
    std::ofstream(ConfigRoot() + "home.dat")
        << "127.0.0.1:1\n"
        << smtpServer << "\nann\nc2VjcmV0\nAnn Other\nann@example.org\n300\nLEAVEONSERVER\n"
        << signature << "\n\n\n";
}

void SendTest::Serve(std::vector<Script> const &scripts, std::string const &signature) {
    server = std::make_unique<ScriptedServer>(scripts);
    WriteProfile(server->Address(), signature);
}

void SendTest::Compose(std::string const &to, std::string const &text, std::string const &subject,
                       std::string const &cc) {
    screen.RunCallback([&] {
        state = new ComposeState;
        RetainCompose(state);
        state->window = PtCreateWidget(PtWindow, Pt_NO_PARENT, 0, nullptr);
        auto const make = [&](PtWidgetClassRef_t kind, std::string const &content = "") {
            PtWidget_t *const widget = PtCreateWidget(kind, state->window, 0, nullptr);
            if (!content.empty())
                SetWidgetText(widget, content.c_str());
            return widget;
        };
        state->sendButton = make(PtButton);
        state->cancelButton = make(PtButton);
        state->attachButton = make(PtButton);
        state->progressBar = make(PtProgress);
        state->profileChooser = make(PtComboBox, "home");
        state->toField = make(PtText, to);
        state->ccField = make(PtText, cc);
        state->subjectField = make(PtText, subject);
        state->messageText = make(PtMultiText, text);
        state->attachmentList = make(PtTree);
        PtAddCallback(state->window, Pt_CB_UNREALIZED, OnGone, state);
        PtRealizeWidget(state->window);
    });
}

void SendTest::WriteNewsProfile(std::string const &newsServer, std::string const &signature) {
    for (char const *directory : {"news", "news/home"})
        mkdir((ConfigRoot() + directory).c_str(), 0700);
    std::ofstream(ConfigRoot() + "news/home.dat") << newsServer << "\nann\nc2VjcmV0\nAnn Other\nann@example.org\n"
                                                  << signature << "\n\n\n\n\n\n";
}

void SendTest::ServeNews(std::vector<Script> const &scripts, std::string const &signature) {
    server = std::make_unique<ScriptedServer>(scripts);
    WriteNewsProfile(server->Address(), signature);
}

void SendTest::ComposeArticle(std::string const &groups, std::string const &text, std::string const &subject,
                              std::string const &references) {
    Compose(groups, text, subject);
    state->kind = kComposeNews;
    state->references = references;
}

void SendTest::AddPart(std::string const &name, std::string const &type, std::string const &body) {
    screen.RunCallback([&] {
        PartHeaders part{};
        name.copy(part.name, sizeof part.name - 1);
        name.copy(part.fileName, sizeof part.fileName - 1);
        type.copy(part.contentType, sizeof part.contentType - 1);
        part.body = body.c_str();
        part.bodyLength = static_cast<int32_t>(body.size());
        PtTreeItem_t *const item = AddHeaderItem(name.c_str(), state->attachmentList, state->lastAttachment);
        item->data = CopyPart(part);
    });
}

void SendTest::PressSend() {
    screen.RunCallback([&] { OnSend(state->sendButton, state, nullptr); });
}

bool SendTest::WaitForEnd() {
    return screen.PaintUntil([&] { return !state->sending && state->holders == 1; });
}

bool SendTest::SendNow() {
    PressSend();
    return WaitForEnd();
}

std::string SendTest::Deliver(Strings const &alerts) {
    std::string const begin = state->kind == kComposeNews ? "POST\r\n" : "DATA\r\n", end = "\r\n.\r\n\r\nQUIT\r\n";
    shownAlerts.clear();
    EXPECT_TRUE(SendNow());
    EXPECT_EQ(server->Problems(), "");
    EXPECT_EQ(shownAlerts, alerts);
    EXPECT_TRUE(WindowGone() && state->sent);
    CloseWindow();
    std::string const all = server->Received();
    size_t const at = all.find(begin);
    if (at == all.npos || !all.ends_with(end))
        return "?" + all;
    return all.substr(at + begin.size(), all.size() - end.size() - at - begin.size());
}

void SendTest::CloseWindow() {
    screen.RunCallback([&] {
        if (state->window)
            PtDestroyWidget(state->window);
        ReleaseCompose(std::exchange(state, nullptr));
    });
}

void SendTest::ExpectGivenBack(std::vector<Spoiled> const &dialogues, std::function<void()> const &check) {
    for (Spoiled const &spoiled : dialogues) {
        SCOPED_TRACE(spoiled.name);
        if (state->kind == kComposeNews)
            ServeNews({spoiled.script});
        else
            Serve({spoiled.script});
        shownAlerts.clear();
        int const descriptors = CountDescriptors();
        ASSERT_TRUE(SendNow());
        EXPECT_TRUE(screen.PaintUntil([&] { return CountDescriptors() <= descriptors + 1; })) << "the server's own";
        EXPECT_EQ(shownAlerts, spoiled.alerts);
        EXPECT_TRUE(Editable());
        EXPECT_FALSE(state->sent);
        check();
        server.reset();
    }
}

int SendTest::Progress() const {
    ToolkitGuard const guard;
    int const *progress = nullptr;
    return PtGetResource(state->progressBar, Pt_ARG_GAUGE_VALUE, &progress, 0) == 0 ? *progress : 0;
}

bool SendTest::Editable() {
    ToolkitGuard const guard;
    PhDim_t *size = nullptr;
    if (!state->window || PtGetResource(state->window, Pt_ARG_DIM, &size, 0) != 0)
        return false;
    EXPECT_EQ(Progress(), 0);
    bool const open = !IsBlocked(state->toField) && !IsBlocked(state->messageText) && !IsBlocked(state->sendButton);
    bool const shut = IsBlocked(state->toField) && IsBlocked(state->messageText) && IsBlocked(state->sendButton);
    EXPECT_TRUE(open || shut);
    EXPECT_FALSE(IsBlocked(state->cancelButton));
    EXPECT_EQ(size->h, open ? 400 : 45);
    EXPECT_EQ(size->w, 450);
    return open;
}

std::string SendTest::Folder() const { return FolderDirectory("home", "Outbox"); }

Strings SendTest::Outbox() {
    Strings texts;
    EXPECT_TRUE(ReadFolderIndex(Folder().c_str(), [&](IndexRecord const &record) {
        texts.push_back(FileText(Folder() + std::to_string(record.number)));
    }));
    size_t files = 0;
    for ([[maybe_unused]] auto const &entry : std::filesystem::directory_iterator(Folder()))
        files++;
    EXPECT_EQ(files, texts.size() + 1);
    return texts;
}

Strings SendTest::OutboxRows() {
    Strings rows;
    ReadFolderIndex(Folder().c_str(), [&](IndexRecord const &record) {
        rows.emplace_back(record.row, strnlen(record.row, sizeof record.row));
    });
    return rows;
}

std::string SendTest::UnsentPath() const { return ConfigRoot() + "news/home/unsent"; }

std::string Plain(std::string text) {
    static std::regex const date("Date: (Mon|Tue|Wed|Thu|Fri|Sat|Sun) [A-Z][a-z]{2} [ 0-9][0-9] "
                                 "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}\r\n");
    EXPECT_TRUE(std::regex_search(text.substr(0, text.find("\r\n\n")), date)) << text.substr(0, 200);
    text = std::regex_replace(text, date, "Date: DATE\r\n", std::regex_constants::format_first_only);
    std::string const begin = "----Corvanta-" + std::to_string(getpid()) + ":";
    for (size_t at = 0; (at = text.find(begin, at)) != text.npos;) {
        size_t const digits = at + begin.size();
        text.replace(at, text.find_first_not_of("0123456789", digits) - at, "BOUNDARY");
    }
    return text;
}
