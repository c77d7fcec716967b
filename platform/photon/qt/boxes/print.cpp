#include "qt/boxes/print.h"

#include "core/lock.h"
#include "qt/boxes/modal.h"
#include "qt/views/text_codec.h"
#include "qt/views/view.h"

#include <QDir>
#include <QFile>
#include <QPrintDialog>
#include <QPrinterInfo>

PpPrintContext_t *PpCreatePC(void) {
    if (!PtOnGuiThread())
        return nullptr;
    auto context = std::make_unique<PpPrintContext>();
    context->printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    return context.release(); // PpReleasePC takes it back
}

int PpReleasePC(PpPrintContext_t *pc) {
    if (!pc)
        return -1;
    std::unique_ptr<PpPrintContext> const context(pc);
    return 0;
}

int PtPrintSelection(PtWidget_t *parent, PhPoint_t const *position, char const *title, PpPrintContext_t *pc,
                     unsigned) {
    if (!pc)
        return Pt_PRINTSEL_CANCEL;
    int result = Pt_PRINTSEL_CANCEL;
    QString const heading = title ? ShownText(title, TextShape::Row) : QStringLiteral("Print");
    DialogPlace const place(parent, position);
    RunModal([&](ModalDone done) {
        // Without a printer on the system there is still the file.
        if (pc->printer->outputFileName().isEmpty() && QPrinterInfo::availablePrinters().isEmpty()) {
            pc->printer->setOutputFormat(QPrinter::PdfFormat);
            pc->printer->setOutputFileName(QDir::home().filePath(QStringLiteral("print.pdf")));
        }
        auto *dialog = new QPrintDialog(pc->printer.get());
        dialog->setObjectName(QStringLiteral("PtPrintSelection"));
        dialog->setWindowTitle(heading);
        dialog->setOption(QAbstractPrintDialog::PrintPageRange);
        dialog->setMinimumWidth(460); // room for the name of the file
        ShowModal(*dialog, place, [&result, done](int code) {
            if (code == QDialog::Accepted)
                result = Pt_PRINTSEL_PRINT;
            done();
        });
    });
    return result;
}
