// Opening a folder: from the index to rows, and from the click to the painted list, each in a process of its own.

#include "runs.h"

#include "app/folder_rows.h"
#include "app/start.h"
#include "base/fd.h"
#include "base/paths.h"
#include "core/lock.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "store/folder.h"
#include "ui/links.h"
#include "widgets/header_list.h"

#include <QAbstractTableModel>
#include <QApplication>
#include <QHeaderView>
#include <QMouseEvent>
#include <QTreeView>
#include <QVBoxLayout>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string IndexPath() { return TempHome() + "/.Corvanta/home/Saved/index2"; }

/// A profile whose folder "Saved" has so many messages.
void MakeFolder(int records) {
    std::string const root = TempHome() + "/.Corvanta/";
    fs::create_directories(root + ".tmp");
    std::ofstream(root + "home.dat") << "127.0.0.1:1\nsmtp.example.org\nalice\nc2VjcmV0\nAlice Archer\n"
                                     << "alice@example.org\n300\nLEAVEONSERVER\n\n\n\n";
    for (char const *folder : {"Inbox", "Saved", "Outbox"}) {
        fs::create_directories(root + "home/" + folder);
        fs::remove(root + "home/" + folder + "/index2");
        CreateFolder((root + "home/" + folder).c_str());
    }
    std::ofstream index(IndexPath(), std::ios::app | std::ios::binary);
    for (int number = 1; number <= records; number++) {
        IndexRecord record{.number = number, .flags = 0, .row = {}};
        snprintf(record.row, sizeof record.row,
                 " \t Minutes of meeting %d\t Some Body <some.body@example.org>\t Sat, 21 Nov 2026 05:00:00 +0000\t",
                 number);
        index.write(reinterpret_cast<char const *>(&record), sizeof record);
    }
}

std::vector<char> WholeFile() {
    Fd const file(open(IndexPath().c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<char> bytes(fs::file_size(IndexPath()));
    if (ReadAll(file.Get(), bytes.data(), bytes.size()) < 0)
        bytes.clear();
    return bytes;
}

/// One read of the file and one block for each row: nothing that makes rows can be faster.
void FlatRead() {
    Figures const start = Now();
    std::vector<char> const bytes = WholeFile();
    std::vector<std::unique_ptr<char[]>> rows;
    for (size_t at = 24; at + sizeof(IndexRecord) <= bytes.size(); at += sizeof(IndexRecord)) {
        std::string_view row(bytes.data() + at + 8, kRowWidth);
        row = row.substr(0, row.find('\0'));
        rows.push_back(std::make_unique_for_overwrite<char[]>(row.size() + 1));
        row.copy(rows.back().get(), row.size());
        rows.back()[row.size()] = 0;
    }
    Report(Since(start));
    _exit(0);
}

/// Lets a second pass: what has been begun is painted, and the home page is there with its images.
void Settle() {
    PtLockPause const pause;
    for (int i = 0; i < 250; i++) {
        QCoreApplication::processEvents();
        usleep(4000);
    }
}

/// The program with its window up and its page shown.
void Start() {
    static char name[] = "Corvanta";
    static char *arguments[] = {name, nullptr};
    if (StartCorvanta(1, arguments, AbContext) != 0)
        _exit(1);
    Settle();
}

void Rows() {
    Start();
    malloc_trim(0);
    double const before = ResidentBytes();
    Figures const start = Now();
    bool const read = AddFolderRows("home", "Saved");
    Figures figures = Since(start);
    figures.memory -= before;
    if (!read)
        _exit(1);
    Report(figures);
    _exit(0);
}

/// Notes the rows that a list has at each of its paints.
class PaintWatch : public QObject {
  public:
    explicit PaintWatch(QTreeView &list) : list_(list) { list.viewport()->installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint)
            painted = list_.model() ? list_.model()->rowCount() : 0;
        return false;
    }
    int painted = 0;

  private:
    QTreeView &list_;
};

void Click(QWidget *receiver, QPoint place) {
    QPointF const global = receiver->mapToGlobal(place);
    for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        QMouseEvent event(type, place, global, Qt::LeftButton,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, {});
        QCoreApplication::sendEvent(receiver, &event);
    }
}

/// Processes events until the list has been painted with all its rows.
void WaitForRows(PaintWatch const &watch, int records) {
    while (watch.painted != records)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

QTreeView *List(char const *name) {
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *const list = window->findChild<QTreeView *>(QString::fromLatin1(name)))
            return list;
    _exit(1);
}

/// From the click on the folder to the painted list.
void Visible(int records) {
    Start();
    QTreeView *const folders = List("treeProfiles");
    PaintWatch const watch(*List("treeMessageHeaders"));
    QModelIndex const profile = folders->model()->index(0, 0);
    folders->expand(profile);
    Settle();
    PtLockPause const pause;
    QModelIndex folder;
    for (int row = 0; row < folders->model()->rowCount(profile); row++)
        if (folders->model()->index(row, 0, profile).data().toString() == QLatin1String("Saved"))
            folder = folders->model()->index(row, 0, profile);
    QPoint const place = folders->visualRect(folder).center();
    malloc_trim(0);
    double const before = ResidentBytes();
    Figures const start = Now();
    Click(folders->viewport(), place);
    WaitForRows(watch, records);
    Figures figures = Since(start);
    figures.memory -= before;
    Report(figures);
    _exit(0);
}

/// The rows of a file as they lie in it.
class FlatModel : public QAbstractTableModel {
  public:
    explicit FlatModel(std::vector<char> bytes) : bytes_(std::move(bytes)) {}
    int rowCount(QModelIndex const &parent) const override {
        return parent.isValid() ? 0 : static_cast<int>((bytes_.size() - 24) / sizeof(IndexRecord));
    }
    int columnCount(QModelIndex const &) const override { return 4; }
    QVariant data(QModelIndex const &index, int role) const override {
        if (role != Qt::DisplayRole)
            return {};
        size_t const at = 24 + static_cast<size_t>(index.row()) * sizeof(IndexRecord) + 8;
        std::string_view text(bytes_.data() + at, kRowWidth);
        text = text.substr(0, text.find('\0'));
        for (int column = index.column(); column > 0; column--)
            text.remove_prefix(std::min(text.size(), text.find('\t') + 1));
        text = text.substr(0, text.find('\t'));
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }

  private:
    std::vector<char> bytes_;
};

/// A bare list over the flat file, of the size of the program's.
void Bare(int records) {
    static int count = 1;
    static char name[] = "bare";
    static char *arguments[] = {name, nullptr};
    QApplication application(count, arguments);
    QWidget window;
    QVBoxLayout layout(&window);
    QTreeView list;
    list.setUniformRowHeights(true);
    list.setRootIsDecorated(false);
    layout.addWidget(&list);
    window.resize(900, 400);
    window.show();
    QCoreApplication::processEvents();
    PaintWatch const watch(list);
    double const before = ResidentBytes();
    Figures const start = Now();
    FlatModel model(WholeFile());
    list.setModel(&model);
    WaitForRows(watch, records);
    Figures figures = Since(start);
    figures.memory -= before;
    Report(figures);
    _exit(0);
}

void Compare(int records, int times) {
    MakeFolder(records);
    auto const run = [&](char const *kind) {
        return [=] { return Run({ThisProgram(), kind, std::to_string(records)}); };
    };
    std::string const title = std::to_string(records) + " records, ";
    auto const [rows, flat] = InTurn(times, run("rows"), run("flat"));
    PrintRow(title + "rows made, wall", rows.wall, flat.wall, "s", "2");
    PrintRow(title + "rows made, processor", rows.processor, flat.processor, "s", "2");
    auto const [visible, bare] = InTurn(times, run("visible"), run("bare"));
    PrintRow(title + "click to painted, wall", visible.wall, bare.wall, "s", "1.5");
    PrintRow(title + "click to painted, processor", visible.processor, bare.processor, "s", "1.5");
    PrintRow(title + "memory a row, shown", visible.memory / records, bare.memory / records, "bytes", "400 bytes");
}

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    std::string_view const kind = argc > 2 ? argv[1] : "";
    int const records = argc > 2 ? static_cast<int>(strtol(argv[2], nullptr, 10)) : 0;
    if (kind == "flat")
        FlatRead();
    else if (kind == "rows")
        Rows();
    else if (kind == "visible")
        Visible(records);
    else if (kind == "bare")
        Bare(records);
    Compare(100'000, 9);
    Compare(1'000'000, 5);
    return LeaveTempHome(0);
}
