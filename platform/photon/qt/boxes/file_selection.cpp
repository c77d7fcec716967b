// Choosing a file: PtFileSelection.

#include "qt/boxes/modal.h"
#include "qt/views/text_codec.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

#include <cstring>

namespace {

/// The longest existing directory of a path, and the rest of it as a proposed name.
void Split(QString const &path, QString &directory, QString &name) {
    QString here = path.isEmpty() ? QStringLiteral("/") : QDir::cleanPath(path);
    QString rest;
    while (!QFileInfo(here).isDir()) {
        QFileInfo const info(here);
        rest = rest.isEmpty() ? info.fileName() : info.fileName() + QLatin1Char('/') + rest;
        if (here == info.path())
            break;
        here = info.path();
    }
    directory = here;
    name = rest;
}

/// "*.txt,*.text" as Qt's filters; everything when there is none.
QStringList Filters(char const *patterns) {
    QString const all = patterns && *patterns ? ShownText(patterns, TextShape::Row) : QStringLiteral("*");
    return {all.split(QLatin1Char(','), Qt::SkipEmptyParts).join(QLatin1Char(' '))};
}

QFileDialog *MakeDialog(char const *title, char const *root, char const *patterns, char const *accept,
                        char const *reject, int flags) {
    QString directory, name;
    Split(QFile::decodeName(root ? root : "/"), directory, name);
    auto *dialog = new QFileDialog(nullptr, ShownText(title ? title : "File Selector", TextShape::Row), directory);
    dialog->setObjectName(QStringLiteral("PtFileSelection"));
    // The system's own dialog runs its own loop, which would keep the library locked.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    bool const new_names = flags & Pt_FSR_NO_FCHECK;
    dialog->setAcceptMode(new_names ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(flags & Pt_FSR_SELECT_DIRS ? QFileDialog::Directory
                        : new_names                ? QFileDialog::AnyFile
                                                   : QFileDialog::ExistingFile);
    dialog->setOption(QFileDialog::ShowDirsOnly, flags & Pt_FSR_SELECT_DIRS);
    dialog->setOption(QFileDialog::DontConfirmOverwrite, !(flags & Pt_FSR_CONFIRM_EXISTING));
    dialog->setNameFilters(Filters(patterns));
    dialog->setLabelText(QFileDialog::Accept, ShownText(accept ? accept : "Open", TextShape::Row));
    dialog->setLabelText(QFileDialog::Reject, ShownText(reject ? reject : "Cancel", TextShape::Row));
    if (!name.isEmpty())
        dialog->selectFile(name);
    return dialog;
}

} // namespace

int PtFileSelection(PtWidget_t *parent, PhPoint_t const *position, char const *title, char const *root_dir,
                    char const *file_spec, char const *button1, char const *button2, char const *,
                    PtFileSelectionInfo_t *info, int flags) {
    if (!info)
        return -1;
    QByteArray path;
    bool accepted = false;
    PhDim_t const size = info->dim;
    DialogPlace const place(parent, position);
    bool const shown = RunModal([&](ModalDone done) {
        QFileDialog *dialog = MakeDialog(title, root_dir, file_spec, button1, button2, flags);
        ShowModal(*dialog, place, [&, dialog, done](int code) {
            QStringList const files = dialog->selectedFiles();
            accepted = code == QDialog::Accepted && !files.isEmpty();
            if (accepted)
                path = QFile::encodeName(files.first());
            done();
        });
        if (size.w && size.h)
            dialog->resize(size.w, size.h);
    });
    if (!shown)
        return -1;
    info->ret = accepted ? Pt_FSDIALOG_BTN1 : Pt_FSDIALOG_BTN2;
    if (!accepted)
        return 0;
    if (static_cast<size_t>(path.size()) >= sizeof info->path) {
        info->ret = Pt_FSDIALOG_BTN2;
        return -1;
    }
    memcpy(info->path, path.constData(), static_cast<size_t>(path.size()) + 1);
    return 0;
}
