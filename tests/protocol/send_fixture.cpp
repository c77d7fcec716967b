#include "protocol/send_fixture.h"
#include "mime/part_content.h"

#include "base/paths.h"
#include "store/folder.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

std::string const kLost = "Error|Failed to get a socket, verify server information";

std::string DialoguesFor(bool news) { return news ? "nntp/posting" : "smtp/sending"; }

Script TakenDialogue(bool news) { return ReadDialogue(DialoguesFor(news), "taken").connections[0]; }

Script UpTo(Script dialogue, std::string const &text) {
    auto const step =
        std::find_if(dialogue.begin(), dialogue.end(), [&](Step const &one) { return one.text == text; });
    EXPECT_NE(step, dialogue.end()) << text;
    dialogue.erase(step + 1, dialogue.end());
    return dialogue;
}

std::vector<Script> BeforeEachAnswer(Script const &dialogue) {
    std::vector<Script> scripts;
    for (auto step = dialogue.begin(); step != dialogue.end(); ++step)
        if (step->kind == Step::kSend)
            scripts.emplace_back(dialogue.begin(), step);
    return scripts;
}

namespace fs = std::filesystem;

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

void SendTest::WriteProfile(bool news, std::string const &address, std::string const &signature) {
    std::string const profile = ConfigRoot() + (news ? "news/home" : "home");
    fs::create_directories(profile);
    if (!news)
        CreateFolder(Folder().c_str());
    std::ofstream(profile + ".dat") << (news ? "" : "127.0.0.1:1\n") << address << "\nann\nc2VjcmV0\nAnn Other\n"
                                    << "ann@example.org\n"
                                    << (news ? "" : "300\nLEAVEONSERVER\n") << signature << "\n\n\n\n\n\n";
}

void SendTest::Serve(bool news, std::vector<Script> const &scripts, std::string const &signature) {
    server = std::make_unique<ScriptedServer>(scripts);
    WriteProfile(news, server->Address(), signature);
}

void SendTest::Compose(bool news, std::string const &to, std::string const &text, std::string const &subject,
                       std::string const &cc, std::string const &references) {
    screen.RunCallback([&] {
        state = new ComposeState;
        state->kind = news ? kComposeNews : kComposeMail;
        state->references = references;
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

std::string SendTest::Wire() {
    std::string const start = state->kind == kComposeNews ? "POST\r\n" : "DATA\r\n", end = "\r\n.\r\n\r\nQUIT\r\n";
    EXPECT_TRUE(SendNow());
    EXPECT_EQ(server->Problems(), "");
    std::string const all = server->Received();
    size_t const at = all.rfind(start);
    if (at == all.npos || !all.ends_with(end))
        return "?" + all;
    return all.substr(at + start.size(), all.size() - end.size() - at - start.size());
}

void SendTest::CloseWindow() {
    screen.RunCallback([&] {
        if (state->window)
            PtDestroyWidget(state->window);
        ReleaseCompose(std::exchange(state, nullptr));
    });
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
    static std::regex const boundary("----Corvanta-" + std::to_string(getpid()) + ":[0-9]+");
    text = std::regex_replace(text, date, "Date: DATE\r\n", std::regex_constants::format_first_only);
    return std::regex_replace(text, boundary, "BOUNDARY");
}
