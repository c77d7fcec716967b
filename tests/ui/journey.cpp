#include "ui/journey.h"

#include "app/check_thread.h"
#include "fixtures/dialogue.h"
#include "fixtures/mode.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "news/header_download.h"
#include "store/folder.h"
#include "ui/letter.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/toolkit.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>
#include <QTreeView>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

QString Q(std::string const &text) { return QString::fromStdString(text); }
std::string S(QString const &text) { return text.toStdString(); }

/// The first word, which is taken away.
std::string Word(std::string &text) {
    size_t const blank = text.find(' ');
    std::string const word = text.substr(0, blank);
    text.erase(0, blank == text.npos ? text.size() : blank + 1);
    return word;
}

QStringList Parts(std::string const &text, char const *separator) {
    return Q(text).split(QLatin1String(separator), Qt::SkipEmptyParts);
}

/// Waits for it, in front of the windows or without any.
bool Comes(std::function<bool()> const &what) {
    if (qApp)
        return WaitFor(what, 30'000);
    for (int i = 0; i < 1500; i++, std::this_thread::sleep_for(std::chrono::milliseconds(20)))
        if (what())
            return true;
    return what();
}

/// What stands behind the step's word: all of it, its first word, what follows that.
struct Line {
    Journey &journey;
    std::string raw, all = journey.Text(raw), rest = raw, first = journey.Text(Word(rest)), text = journey.Text(rest);
    char const *Name() const { return first.c_str(); }
};
using L = Line const &;
std::map<std::string, void (*)(L)> acts;          ///< steps that do something
std::map<std::string, bool (*)(L)> facts;         ///< what must become true
std::map<std::string, std::string (*)(L)> looks;  ///< what must become equal to the text of "NAME = TEXT"
std::map<std::string, std::string (*)(L)> wholes; ///< the same of "= TEXT"
std::map<std::string, std::function<void()>> own;

void Expect(std::string (*look)(L), L line, std::string text) {
    std::string const how = Word(text), wanted = line.journey.Text(text);
    std::string found;
    bool const came = Comes([&] {
        found = look(line);
        return how == "="   ? found == wanted
               : how == "^" ? found.starts_with(wanted)
                            : (found.find(wanted) != found.npos) == (how == "~");
    });
    EXPECT_TRUE(came) << "found: " << found;
}

/// What is delivered or stored: "plain SUBJECT", "demo NAME" or the text itself.
std::string Message(std::string const &what) {
    std::string text = what;
    std::string const kind = Word(text);
    return kind == "plain" ? PlainMail(text) : kind == "demo" ? DemoMail(text) : what;
}

void Put(std::string const &path, std::string const &text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

void PressKey(QWidget *widget, std::string const &keys) {
    ASSERT_TRUE(widget) << "no window is active";
    QKeyCombination const key = QKeySequence(Q(keys))[0];
    QTest::keyClick(widget, key.key(), key.keyboardModifiers());
    Wait(10);
}

QWidget *Focus() {
    return QApplication::activePopupWidget() ? QApplication::activePopupWidget()
           : QApplication::focusWidget()     ? QApplication::focusWidget()
                                             : QApplication::activeWindow();
}
bool HasFocus(std::string const &name) {
    for (QWidget *widget = QApplication::focusWidget(); widget; widget = widget->parentWidget())
        if (widget->objectName() == Q(name))
            return true;
    return false;
}

void Choose(char const *name, std::string const &text) {
    auto *const box = qobject_cast<QComboBox *>(Find(name));
    for (Qt::Key const key : {Qt::Key_Down, Qt::Key_Up})
        for (int left = box->count(); box->currentText() != Q(text) && left > 0; left--)
            QTest::keyClick(box, key);
    EXPECT_EQ(box->currentText(), Q(text));
}

std::string Chosen(char const *name) {
    auto *const tree = qobject_cast<QTreeView *>(Find(name));
    QModelIndex const row = tree->currentIndex();
    QModelIndexList const selected = tree->selectionModel()->selectedRows();
    bool const seen = row.isValid() && tree->viewport()->rect().contains(tree->visualRect(row).center());
    if (!seen || selected.size() != 1 || selected.first().row() != row.row())
        return "";
    return row.siblingAtColumn(1).data().toString().trimmed().toStdString();
}

std::string FatherOf(std::string const &subject) {
    auto *const tree = qobject_cast<QTreeView *>(Find("treeMessageHeaders"));
    QModelIndexList const found = tree->model()->match(tree->model()->index(0, 1), Qt::DisplayRole, Q(subject), 1,
                                                       Qt::MatchContains | Qt::MatchRecursive);
    return found.isEmpty() ? "no row"
                           : found[0].parent().siblingAtColumn(1).data().toString().trimmed().toStdString();
}

void SetTimer(std::string const &name, int milliseconds) {
    ToolkitGuard const guard;
    for (int i = 1; i < ABN_count; i++)
        if (name == AbNames[i]) {
            PtSetResource(AbWidgets[i], Pt_ARG_TIMER_REPEAT, milliseconds, 0);
            PtSetResource(AbWidgets[i], Pt_ARG_TIMER_INITIAL, milliseconds, 0);
        }
}

/// Articles 1 to `count` as one batch: those with even numbers answer the ones before.
std::string Articles(int count) {
    std::string batch;
    for (int number = 1; number <= count; number++) {
        bool const answer = number % 2 == 0;
        std::string const id = std::to_string(number), before = std::to_string(number - 1);
        std::string const article = "From: Writer " + id +
                                    " <writer@example.org>\nNewsgroups: test.general\nSubject: " +
                                    (answer ? "Re: Matter " + before : "Matter " + id) +
                                    "\nDate: Mon, 02 Nov 2026 10:00:00 +0000\nMessage-ID: <" + id +
                                    "@example.org>\n" + (answer ? "References: <" + before + "@example.org>\n" : "") +
                                    "\nThe words of " + id + ".\n.profile is a file.\n..\nThe end of " + id + ".\n";
        batch += "#! rnews " + std::to_string(article.size()) + "\n" + article;
    }
    return batch;
}

std::string Lines(QStringList const &rows) { return S(rows.join('\n')); }

/// Starts a server and tells its address as the word; a case whose server may not run here is skipped.
template <class Server>
void Start(Journey &journey, std::unique_ptr<Server> &server, char const *word, Server *made) {
    server.reset(made);
    if constexpr (std::is_base_of_v<RealServer, Server>) {
        if (server->Port() == 0 && geteuid() != 0)
            GTEST_SKIP() << "the server switches users, which takes root";
        journey.Tell(std::string(word) + "WORK", server->WorkDirectory());
    }
    ASSERT_GT(server->Port(), 0);
    journey.Tell(word, server->Address());
}

std::vector<std::string> Options(std::string const &text, char const *separator) {
    std::vector<std::string> options;
    for (QString const &option : Parts(text, separator))
        options.push_back(S(option));
    return options;
}

void AddServers() {
    acts["dovecot"] = [](L l) { Start(l.journey, l.journey.pop, "POP", new DovecotServer); };
    acts["postfix"] = [](L l) {
        Start(l.journey, l.journey.smtp, "SMTP",
              new PostfixServer(l.journey.pop->WorkDirectory() + "/mail", Options(l.all, "|")));
    };
    acts["inn"] = [](L l) { Start(l.journey, l.journey.news, "NEWS", new InnServer(Options(l.all, " "))); };
    acts["serve"] = [](L l) {
        Start(l.journey, l.journey.server, "SERVER", new ScriptedServer(ReadDialogue(l.first, l.text)));
    };
    acts["needs-root"] = [](L) {
        if (geteuid() != 0)
            GTEST_SKIP() << "the servers switch users, which takes root";
    };
    acts["within"] = [](L l) {
        EXPECT_LT(std::chrono::steady_clock::now() - l.journey.start, std::chrono::seconds(std::stoi(l.all)));
    };
    acts["deliver"] = [](L l) { l.journey.pop->Put(l.first, Message(l.text)); };
    acts["post"] = [](L l) { EXPECT_TRUE(l.journey.news->Put(l.all)); };
    acts["post-file"] = [](L l) { EXPECT_TRUE(l.journey.news->Put(FileText(l.all))); };
    acts["articles"] = [](L l) { EXPECT_TRUE(l.journey.news->Put(Articles(std::stoi(l.all)))); };
    acts["kick"] = [](L l) { l.journey.pop->Kick(l.all); };
    facts["log"] = [](L l) { return Q(l.journey.pop->Log()).count(Q(l.text)) >= std::stoi(l.first); };
    facts["served"] = [](L l) { return Q(l.journey.server->Log()).count(Q(l.text)) >= std::stoi(l.first); };
    looks["logged"] = [](L l) { return std::to_string(Q(l.journey.pop->Log()).count(Q(l.first))); };
    looks["mailbox"] = [](L l) { return std::to_string(l.journey.pop->Count(l.first)); };
}

void AddThings() {
    acts["mail-profile"] = [](L l) {
        QStringList const words = Parts(l.all, " ");
        MakeProfile(S(words[1]), words[2] == "leave", words.value(3, "300").toInt(), S(words[0]));
    };
    acts["news-profile"] = [](L l) {
        std::vector<std::string> groups;
        for (std::string rest = l.rest; !rest.empty();)
            groups.push_back(l.journey.Text(Word(rest)));
        MakeNewsProfile(l.first, groups);
    };
    acts["send-through"] = [](L l) { SendThrough(l.text, l.first); };
    acts["put"] = [](L l) { Put(l.first, l.text.substr(std::min<size_t>(2, l.text.size()))); };
    acts["sparse"] = [](L l) {
        Put(l.first, "");
        fs::resize_file(l.first, std::stoull(l.text));
    };
    acts["remove"] = [](L l) { fs::remove_all(l.all); };
    acts["directory"] = [](L l) { fs::create_directories(l.all); };
    acts["tool"] = [](L l) {
        std::string const tools = TempHome() + "/tools";
        Put(tools + "/" + l.first, "#!/bin/sh\n" + l.text.substr(2));
        fs::permissions(tools + "/" + l.first, fs::perms::owner_all);
        setenv("PATH", (tools + ":" + getenv("PATH")).c_str(), 1);
    };
    acts["store"] = [](L l) { EXPECT_GT(AppendMessage((Root() + l.first + "/").c_str(), Message(l.text)), 0); };
    acts["shell"] = [](L l) { EXPECT_EQ(RunProgram({"sh", "-c", l.all}), 0); };
    acts["do"] = [](L l) { own.at(l.all)(); };
    facts["exists"] = [](L l) { return fs::exists(l.all); };
    facts["missing"] = [](L l) { return !fs::exists(l.all); };
    looks["content"] = [](L l) { return FileText(l.first); };
    looks["bytes"] = [](L l) { return std::to_string(FileText(l.first).size()); };
    looks["mode"] = [](L l) { return S(QString::number(ModeOf(l.first), 8)); };
    looks["files"] = [](L l) {
        std::set<std::string> names;
        for (auto const &entry : fs::directory_iterator(l.first))
            names.insert(entry.path().filename());
        std::string all;
        for (std::string const &name : names)
            all += (all.empty() ? "" : "\n") + name;
        return all;
    };
}

void AddActions() {
    acts["click"] = [](L l) { Click(l.Name()); };
    acts["type"] = [](L l) { Type(l.Name(), Q(l.text)); };
    acts["add"] = [](L l) { TypeMore(l.Name(), Q(l.text)); };
    acts["paste"] = [](L l) {
        QApplication::clipboard()->setText(Q(l.text));
        Press(l.Name(), Qt::Key_V, Qt::ControlModifier);
    };
    acts["press"] = [](L l) {
        QKeyCombination const key = QKeySequence(Q(l.text))[0];
        Press(l.Name(), key.key(), key.keyboardModifiers());
    };
    acts["choose"] = [](L l) { Choose(l.Name(), l.text); };
    acts["close"] = [](L l) { Find(l.Name())->window()->close(); };
    acts["attach"] = [](L l) { Attach(l.all); };
    acts["observe"] = [](L l) { Wait(std::stoi(l.all)); };
    acts["activate"] = [](L l) {
        Find(l.Name())->window()->activateWindow();
        EXPECT_TRUE(WaitFor([&] { return Find(l.Name())->window()->isActiveWindow(); }));
    };
    acts["key"] = [](L l) { PressKey(Focus(), l.all); };
    acts["keys"] = [](L l) { QTest::keyClicks(QApplication::focusWidget(), Q(l.all)); };
    acts["tab-to"] = [](L l) {
        for (int i = 0; i < 40 && !HasFocus(l.all); i++)
            PressKey(Focus(), "Tab");
        EXPECT_TRUE(HasFocus(l.all)) << "not reached with the Tab key";
    };
    acts["menu"] = [](L l) { ChooseFromMenuBar(l.Name()); };
    acts["rowmenu"] = [](L l) {
        QStringList const parts = Parts(l.text, " > ");
        ChooseFromRowMenu(l.Name(), parts[0], parts.mid(1));
    };
    acts["row"] = [](L l) { ClickRow(l.Name(), Q(l.text)); };
    acts["double"] = [](L l) { DoubleClickRow(l.Name(), Q(l.text)); };
    acts["timer"] = [](L l) { SetTimer(l.first, std::stoi(l.text)); };
    acts["picture"] = [](L l) { TakePicture(l.Name(), l.text.c_str()); };
    acts["answer"] = [](L l) { WhenAsked(Q(l.all)); };
    acts["say"] = [](L l) { WhenAskedForText(Parts(l.all, " > ")[0], Parts(l.all, " > ")[1]); };
    acts["file"] = [](L l) { WhenAskedForFile(Q(l.all)); };
    acts["print"] = [](L l) { WhenAskedToPrint(Q(l.all)); };
}

void AddLooks() {
    looks["text"] = [](L l) { return S(Text(l.Name())); };
    looks["title"] = [](L l) { return S(Find(l.Name())->window()->windowTitle()); };
    looks["size"] = [](L l) {
        QSize const size = Find(l.Name())->window()->size();
        return S(QString("%1x%2").arg(size.width()).arg(size.height()));
    };
    looks["rows"] = [](L l) { return Lines(Rows(l.Name())); };
    looks["sorted"] = [](L l) {
        QStringList rows = Rows(l.Name());
        rows.sort();
        return Lines(rows);
    };
    looks["count"] = [](L l) {
        auto const *const box = qobject_cast<QComboBox *>(Find(l.Name()));
        return std::to_string(box ? box->count() : Rows(l.Name()).size());
    };
    looks["chosen"] = [](L l) { return Chosen(l.Name()); };
    looks["father"] = [](L l) { return FatherOf(l.first); };
    acts["rows-with"] = [](L l) {
        auto const look = [](L list) { return Lines(Rows(list.Name()).filter(Q(list.all))); };
        std::string rest = l.rest;
        std::string const list = l.journey.Text(Word(rest));
        Expect(look, {.journey = l.journey, .raw = "", .all = l.first, .rest = "", .first = list}, rest);
    };
    wholes["page"] = [](L) { return S(Text("webEmailMessage").trimmed()); };
    wholes["subjects"] = [](L) { return Lines(Subjects()); };
    wholes["box"] = [](L) { return Boxes().isEmpty() ? "" : S(Boxes().last()); };
    wholes["boxes"] = [](L) { return std::to_string(Boxes().size()); };
    wholes["downloads"] = [](L) { return std::to_string(RunningDownloads()); };
    wholes["proposed"] = [](L) { return S(ProposedFile()); };
    facts["shown"] = [](L l) { return IsShown(l.Name()); };
    facts["hidden"] = [](L l) { return !IsShown(l.Name()); };
    facts["focus"] = [](L l) { return HasFocus(l.first); };
    facts["quiet"] = [](L) { return RunningChecks() == 0 && RunningDownloads() == 0; };
}

} // namespace

void Journey::AddStep(std::string const &name, std::function<void()> const &step) { own[name] = step; }

void Journey::Do(CaseLine const &line) {
    if (testing::Test::HasFailure() || testing::Test::IsSkipped())
        return;
    SCOPED_TRACE(file_ + ".txt:" + std::to_string(line.number) + ": " + line.first + " " + line.rest);
    try {
        Line const words{*this, line.rest};
        if (acts.contains(line.first))
            acts[line.first](words);
        else if (facts.contains(line.first))
            EXPECT_TRUE(Comes([&] { return facts[line.first](words); }));
        else if (wholes.contains(line.first))
            Expect(wholes[line.first], words, words.raw);
        else
            Expect(looks.at(line.first), words, words.rest);
    } catch (std::exception const &wrong) {
        ADD_FAILURE() << wrong.what();
    }
}

void Journey::Play(Case const &journey) {
    ClearTempHome();
    words_ = {{"HOME", TempHome()}, {"ROOT", Root()}};
    for (size_t at = 0; at < journey.lines.size(); at++) {
        if (journey.lines[at].first != "sitting") {
            Do(journey.lines[at]);
            continue;
        }
        size_t const start = at + 1;
        while (at < journey.lines.size() && journey.lines[at].first != "end")
            at++;
        if (testing::Test::HasFailure() || testing::Test::IsSkipped())
            return;
        Sitting(
            [&] {
                for (size_t i = start; i < at; i++)
                    Do(journey.lines[i]);
            },
            Q(journey.lines[start - 1].rest).split(' ', Qt::SkipEmptyParts));
    }
    if (server && !testing::Test::HasFailure()) {
        EXPECT_EQ(server->Problems(), "");
    }
}

void RegisterJourneys(std::string const &file) {
    for (auto add : {AddServers, AddThings, AddActions, AddLooks})
        add();
    class Test : public testing::Test {
      public:
        Test(std::string file, Case journey) : file_(std::move(file)), journey_(std::move(journey)) {}
        void TestBody() override { Journey("journeys/" + file_).Play(journey_); }

      private:
        std::string const file_;
        Case const journey_;
    };
    for (Case const &one : ReadCases("journeys/" + file)) {
        std::string name = one.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        testing::RegisterTest(file.c_str(), name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [=]() -> testing::Test * { return new Test(file, one); });
    }
}
