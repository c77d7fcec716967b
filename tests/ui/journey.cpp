#include "ui/journey.h"

#include "fixtures/dialogue.h"
#include "fixtures/mode.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "news/header_download.h"
#include "pop/check_mail.h"
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
#include <sstream>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Step = std::function<void(Journey &, std::string const &)>;

QString Q(std::string const &text) { return QString::fromStdString(text); }

/// The first word, which is taken away.
std::string Word(std::string &text) {
    size_t const blank = text.find(' ');
    std::string const word = text.substr(0, blank);
    text.erase(0, blank == text.npos ? text.size() : blank + 1);
    return word;
}

std::vector<std::string> Parts(std::string const &text, std::string const &separator) {
    std::vector<std::string> parts;
    size_t at = 0;
    for (size_t end; (end = text.find(separator, at)) != text.npos; at = end + separator.size())
        parts.push_back(text.substr(at, end - at));
    parts.push_back(text.substr(at));
    return parts;
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

/// A step "ABOUT = TEXT": what `look` finds must become the text. Without `one` there is nothing that it is about.
Step Expected(std::function<std::string(Journey &, std::string const &)> const &look, bool one = true) {
    return [=](Journey &journey, std::string const &rest) {
        std::string text = rest;
        std::string const about = one ? journey.Text(Word(text)) : "", how = Word(text), wanted = journey.Text(text);
        std::string found;
        bool const came = Comes([&] {
            found = look(journey, about);
            return how == "="   ? found == wanted
                   : how == "^" ? found.starts_with(wanted)
                                : (found.find(wanted) != found.npos) == (how == "~");
        });
        EXPECT_TRUE(came) << "found: " << found;
    };
}
/// A step that must become true of what it names.
Step Holds(std::function<bool(Journey &, std::string const &)> const &test) {
    return [=](Journey &journey, std::string const &rest) {
        EXPECT_TRUE(Comes([&] { return test(journey, journey.Text(rest)); }));
    };
}
/// A step of a name and a text, of a text alone.
Step OfTwo(std::function<void(char const *, std::string const &)> const &act) {
    return [=](Journey &journey, std::string const &rest) {
        std::string text = rest;
        std::string const name = journey.Text(Word(text));
        act(name.c_str(), journey.Text(text));
    };
}
Step OfOne(std::function<void(std::string const &)> const &act) {
    return [=](Journey &journey, std::string const &rest) { act(journey.Text(rest)); };
}

std::map<std::string, std::function<void()>> &OwnSteps() {
    static std::map<std::string, std::function<void()>> steps;
    return steps;
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

std::map<std::string, Step> Servers() {
    return {
        {"dovecot",
         [](Journey &journey, std::string const &) {
             journey.pop = std::make_unique<DovecotServer>();
             ASSERT_GT(journey.pop->Port(), 0);
             journey.Tell("POP", journey.pop->Address());
         }},
        {"postfix",
         [](Journey &journey, std::string const &) {
             journey.smtp = std::make_unique<PostfixServer>(journey.pop->WorkDirectory() + "/mail");
             ASSERT_GT(journey.smtp->Port(), 0);
             journey.Tell("SMTP", journey.smtp->Address());
         }},
        {"inn",
         [](Journey &journey, std::string const &options) {
             journey.news =
                 std::make_unique<InnServer>(options.empty() ? std::vector<std::string>{} : Parts(options, " "));
             if (journey.news->MayNotRun())
                 GTEST_SKIP() << "the news server switches users, which takes root";
             ASSERT_GT(journey.news->Port(), 0);
             journey.Tell("NEWS", journey.news->Address());
         }},
        {"within",
         [](Journey &journey, std::string const &seconds) {
             EXPECT_LT(std::chrono::steady_clock::now() - journey.start, std::chrono::seconds(std::stoi(seconds)));
         }},
        {"serve",
         [](Journey &journey, std::string const &rest) {
             std::string name = rest;
             std::string const file = Word(name);
             journey.server = std::make_unique<ScriptedServer>(ReadDialogue(file, journey.Text(name)));
             journey.Tell("SERVER", journey.server->Address());
         }},
        {"needs-root",
         [](Journey &, std::string const &) {
             if (geteuid() != 0)
                 GTEST_SKIP() << "the servers switch users, which takes root";
         }},
        {"deliver",
         [](Journey &journey, std::string const &rest) {
             std::string what = rest;
             std::string const user = Word(what);
             journey.pop->Put(user, Message(journey.Text(what)));
         }},
        {"post",
         [](Journey &journey, std::string const &text) { EXPECT_TRUE(journey.news->Put(journey.Text(text))); }},
        {"articles", [](Journey &journey,
                        std::string const &count) { EXPECT_TRUE(journey.news->Put(Articles(std::stoi(count)))); }},
        {"kick", [](Journey &journey, std::string const &user) { journey.pop->Kick(user); }},
        {"log",
         [](Journey &journey, std::string const &rest) {
             std::string text = rest;
             int const times = std::stoi(Word(text));
             EXPECT_TRUE(Comes([&] { return Q(journey.pop->Log()).count(Q(text)) >= times; }));
         }},
        {"logged", Expected([](Journey &journey, std::string const &text) {
             return std::to_string(Q(journey.pop->Log()).count(Q(text)));
         })},
        {"mailbox", Expected([](Journey &journey, std::string const &user) {
             return std::to_string(journey.pop->Count(user));
         })},
        {"served",
         [](Journey &journey, std::string const &rest) {
             std::string text = rest;
             int const times = std::stoi(Word(text));
             EXPECT_TRUE(Comes([&] { return Q(journey.server->Log()).count(Q(text)) >= times; }));
         }},
    };
}

std::map<std::string, Step> Things() {
    return {
        {"mail-profile",
         [](Journey &journey, std::string const &rest) {
             std::vector<std::string> const words = Parts(journey.Text(rest), " ");
             MakeProfile(words.at(1), words.at(2) == "leave", words.size() > 3 ? std::stoi(words[3]) : 300, words[0]);
         }},
        {"news-profile",
         [](Journey &journey, std::string const &rest) {
             std::string groups = rest;
             std::string const server = journey.Text(Word(groups));
             std::vector<std::string> names;
             while (!groups.empty())
                 names.push_back(journey.Text(Word(groups)));
             MakeNewsProfile(server, names);
         }},
        {"send-through", OfTwo([](char const *name, std::string const &server) { SendThrough(server, name); })},
        {"put", OfTwo([](char const *path, std::string const &text) {
             Put(path, text.substr(std::min<size_t>(2, text.size())));
         })},
        {"sparse", OfTwo([](char const *path, std::string const &bytes) {
             Put(path, "");
             fs::resize_file(path, std::stoull(bytes));
         })},
        {"remove", OfOne([](std::string const &path) { fs::remove_all(path); })},
        {"directory", OfOne([](std::string const &path) { fs::create_directories(path); })},
        {"tool", OfTwo([](char const *name, std::string const &script) {
             Put(TempHome() + "/tools/" + name, "#!/bin/sh\n" + script.substr(2));
             fs::permissions(TempHome() + "/tools/" + name, fs::perms::owner_all);
             setenv("PATH", (TempHome() + "/tools:" + getenv("PATH")).c_str(), 1);
         })},
        {"store", OfTwo([](char const *folder, std::string const &what) {
             EXPECT_GT(AppendMessage((Root() + folder + "/").c_str(), Message(what)), 0);
         })},
        {"content", Expected([](Journey &, std::string const &path) { return FileText(path); })},
        {"files", Expected([](Journey &, std::string const &path) {
             std::vector<std::string> names;
             for (auto const &entry : fs::directory_iterator(path))
                 names.push_back(entry.path().filename());
             std::sort(names.begin(), names.end());
             std::string all;
             for (std::string const &name : names)
                 all += (all.empty() ? "" : "\n") + name;
             return all;
         })},
        {"bytes", Expected([](Journey &, std::string const &path) { return std::to_string(FileText(path).size()); })},
        {"mode", Expected([](Journey &, std::string const &path) {
             std::ostringstream text;
             text << std::oct << ModeOf(path);
             return text.str();
         })},
        {"exists", Holds([](Journey &, std::string const &path) { return fs::exists(path); })},
        {"missing", Holds([](Journey &, std::string const &path) { return !fs::exists(path); })},
        {"shell", OfOne([](std::string const &command) {
             EXPECT_EQ(RunProgram({"sh", "-c", command}), 0);
         })},
        {"do", OfOne([](std::string const &name) { OwnSteps().at(name)(); })},
    };
}

std::map<std::string, Step> Actions() {
    return {
        {"click", OfOne([](std::string const &name) { Click(name.c_str()); })},
        {"type", OfTwo([](char const *name, std::string const &text) { Type(name, Q(text)); })},
        {"add", OfTwo([](char const *name, std::string const &text) { TypeMore(name, Q(text)); })},
        {"paste", OfTwo([](char const *name, std::string const &text) {
             QApplication::clipboard()->setText(Q(text));
             Press(name, Qt::Key_V, Qt::ControlModifier);
         })},
        {"choose", OfTwo(Choose)},
        {"press", OfTwo([](char const *name, std::string const &keys) {
             QKeyCombination const key = QKeySequence(Q(keys))[0];
             Press(name, key.key(), key.keyboardModifiers());
         })},
        {"close", OfOne([](std::string const &name) { Find(name.c_str())->window()->close(); })},
        {"attach", OfOne(Attach)},
        {"observe", OfOne([](std::string const &time) { Wait(std::stoi(time)); })},
        {"activate", OfOne([](std::string const &name) {
             Find(name.c_str())->window()->activateWindow();
             EXPECT_TRUE(WaitFor([&] { return Find(name.c_str())->window()->isActiveWindow(); }));
         })},
        {"key", OfOne([](std::string const &keys) { PressKey(Focus(), keys); })},
        {"keys", OfOne([](std::string const &text) { QTest::keyClicks(QApplication::focusWidget(), Q(text)); })},
        {"tab-to", OfOne([](std::string const &name) {
             for (int i = 0; i < 40 && !HasFocus(name); i++)
                 PressKey(Focus(), "Tab");
             EXPECT_TRUE(HasFocus(name)) << "not reached with the Tab key";
         })},
        {"menu", OfOne([](std::string const &entry) { ChooseFromMenuBar(entry.c_str()); })},
        {"rowmenu", OfTwo([](char const *list, std::string const &text) {
             std::vector<std::string> const parts = Parts(text, " > ");
             QStringList entries;
             for (size_t i = 1; i < parts.size(); i++)
                 entries << Q(parts[i]);
             ChooseFromRowMenu(list, Q(parts[0]), entries);
         })},
        {"row", OfTwo([](char const *list, std::string const &text) { ClickRow(list, Q(text)); })},
        {"double", OfTwo([](char const *list, std::string const &text) { DoubleClickRow(list, Q(text)); })},
        {"timer", OfTwo([](char const *name, std::string const &time) { SetTimer(name, std::stoi(time)); })},
        {"picture", OfTwo([](char const *name, std::string const &file) { TakePicture(name, file.c_str()); })},
        {"answer", OfOne([](std::string const &button) { WhenAsked(Q(button)); })},
        {"say", OfOne([](std::string const &text) {
             std::vector<std::string> const parts = Parts(text, " > ");
             WhenAskedForText(Q(parts.at(0)), Q(parts.at(1)));
         })},
        {"file", OfOne([](std::string const &path) { WhenAskedForFile(Q(path)); })},
        {"print", OfOne([](std::string const &path) { WhenAskedToPrint(Q(path)); })},
    };
}

std::map<std::string, Step> Looks() {
    return {
        {"text", Expected([](Journey &, std::string const &name) { return Text(name.c_str()).toStdString(); })},
        {"title", Expected([](Journey &, std::string const &name) {
             return Find(name.c_str())->window()->windowTitle().toStdString();
         })},
        {"size", Expected([](Journey &, std::string const &name) {
             QSize const size = Find(name.c_str())->window()->size();
             return std::to_string(size.width()) + "x" + std::to_string(size.height());
         })},
        {"page",
         Expected([](Journey &, std::string const &) { return Text("webEmailMessage").trimmed().toStdString(); },
                  false)},
        {"shown", Holds([](Journey &, std::string const &name) { return IsShown(name.c_str()); })},
        {"hidden", Holds([](Journey &, std::string const &name) { return !IsShown(name.c_str()); })},
        {"focus", Holds([](Journey &, std::string const &name) { return HasFocus(name); })},
        {"rows",
         Expected([](Journey &, std::string const &list) { return Rows(list.c_str()).join('\n').toStdString(); })},
        {"sorted", Expected([](Journey &, std::string const &list) {
             QStringList rows = Rows(list.c_str());
             rows.sort();
             return rows.join('\n').toStdString();
         })},
        {"rows-with",
         [](Journey &journey, std::string const &rest) {
             std::string text = rest;
             QString const part = Q(journey.Text(Word(text)));
             Expected([=](Journey &, std::string const &list) {
                 return Rows(list.c_str()).filter(part).join('\n').toStdString();
             })(journey, text);
         }},
        {"count", Expected([](Journey &, std::string const &list) {
             auto const *const box = qobject_cast<QComboBox *>(Find(list.c_str()));
             return std::to_string(box ? box->count() : Rows(list.c_str()).size());
         })},
        {"subjects",
         Expected([](Journey &, std::string const &) { return Subjects().join('\n').toStdString(); }, false)},
        {"chosen", Expected([](Journey &, std::string const &list) { return Chosen(list.c_str()); })},
        {"father", Expected([](Journey &, std::string const &subject) { return FatherOf(subject); })},
        {"box", Expected([](Journey &,
                            std::string const &) { return Boxes().isEmpty() ? "" : Boxes().last().toStdString(); },
                         false)},
        {"boxes", Expected([](Journey &, std::string const &) { return std::to_string(Boxes().size()); }, false)},
        {"downloads",
         Expected([](Journey &, std::string const &) { return std::to_string(RunningDownloads()); }, false)},
        {"proposed", Expected([](Journey &, std::string const &) { return ProposedFile().toStdString(); }, false)},
        {"quiet",
         Holds([](Journey &, std::string const &) { return RunningChecks() == 0 && RunningDownloads() == 0; })},
    };
}

std::map<std::string, Step> const &Steps() {
    static std::map<std::string, Step> const steps = [] {
        std::map<std::string, Step> all = Servers();
        for (std::map<std::string, Step> more : {Things(), Actions(), Looks()})
            all.merge(more);
        return all;
    }();
    return steps;
}

} // namespace

void Journey::AddStep(std::string const &name, std::function<void()> const &step) { OwnSteps()[name] = step; }

void Journey::Do(CaseLine const &line) {
    if (testing::Test::HasFailure() || testing::Test::IsSkipped())
        return;
    SCOPED_TRACE(file_ + ".txt:" + std::to_string(line.number) + ": " + line.first + " " + line.rest);
    try {
        Steps().at(line.first)(*this, line.rest);
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
