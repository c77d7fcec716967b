#include "qt/web/web_browser.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPainter>
#include <QPrinter>
#include <QPushButton>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextTable>
#include <QUrlQuery>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kFramePixels = 4'000'000; // of all frames with names in a page
constexpr QColor kFrameColor(0xB0, 0xB0, 0xB0);

/// Pages are made for black on white; on a dark desktop the text would vanish otherwise.
QPalette PagePalette(QPalette palette) {
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    palette.setColor(QPalette::WindowText, Qt::black);
    palette.setColor(QPalette::PlaceholderText, Qt::darkGray);
    palette.setColor(QPalette::Link, QColor(0, 0, 0xCC));
    palette.setColor(QPalette::LinkVisited, QColor(0, 0, 0xCC));
    return palette;
}

QVariant FlatPlaceholder() {
    QPixmap pixmap(1, 1);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

/// What a column must be wide to show its longest cell of a single short word; Qt would break the word where other
/// browsers widen the column.
qreal WidthOfWords(QTextTable &table, int column) {
    constexpr int kMostRows = 50, kLongestWord = 24;
    qreal width = 0;
    for (int row = 0; row < std::min(table.rows(), kMostRows); row++) {
        QTextBlock const block = table.cellAt(row, column).firstCursorPosition().block();
        QString const text = block.text();
        if (text.isEmpty() || text.size() > kLongestWord || text.contains(QLatin1Char(' ')))
            continue;
        QFontMetricsF const metrics(block.begin().fragment().charFormat().font());
        width = std::max(width, std::ceil(metrics.horizontalAdvance(text)));
    }
    return width > 0 ? width + 2 * table.format().cellPadding() : 0;
}

/// Widens the fixed columns of the page's tables to their words.
void KeepWordsWhole(QTextDocument &document) {
    for (QTextFrame *frame : document.rootFrame()->childFrames()) {
        auto *const table = qobject_cast<QTextTable *>(frame);
        if (!table)
            continue;
        QTextTableFormat format = table->format();
        QList<QTextLength> widths = format.columnWidthConstraints();
        bool changed = false;
        for (int column = 0; column < widths.size(); column++) {
            qreal const wanted = widths[column].type() == QTextLength::FixedLength ? WidthOfWords(*table, column) : 0;
            if (wanted <= widths[column].rawValue())
                continue;
            widths[column] = QTextLength(QTextLength::FixedLength, wanted);
            changed = true;
        }
        if (changed) {
            format.setColumnWidthConstraints(widths);
            table->setFormat(format);
        }
    }
}

/// Makes images that are wider than `width` as wide.
void LimitImages(QTextDocument &document, qreal width) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        // The formats are changed afterwards: a change ends the iterator's life.
        std::vector<std::pair<int, QTextImageFormat>> wide;
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            QTextImageFormat format = part.fragment().charFormat().toImageFormat();
            if (!format.isValid())
                continue;
            QVariant const image = document.resource(QTextDocument::ImageResource, QUrl(format.name()));
            qreal const natural = format.width() > 0 ? format.width() : image.value<QPixmap>().width();
            if (natural <= width)
                continue;
            if (format.height() > 0)
                format.setHeight(format.height() * width / natural);
            format.setWidth(width);
            wide.emplace_back(part.fragment().position(), format);
        }
        for (auto const &[position, format] : wide) {
            QTextCursor cursor(&document);
            cursor.setPosition(position);
            cursor.setPosition(position + 1, QTextCursor::KeepAnchor);
            cursor.setCharFormat(format);
        }
    }
}

} // namespace

WebBrowser::WebBrowser(QWidget *parent) : QTextBrowser(parent) {
    setPalette(PagePalette(palette()));
    setOpenLinks(false);
    setOpenExternalLinks(false);
    setAcceptDrops(false);
    setUndoRedoEnabled(false);
    document()->setDefaultStyleSheet(QStringLiteral("body { color: #000000; } a { color: #0000cc; }"));
    layout_timer_.setSingleShot(true);
    layout_timer_.setInterval(50);
    connect(&layout_timer_, &QTimer::timeout, this, [this] { LayOutAgain(); });
    connect(this, &QTextBrowser::anchorClicked, this, [this](QUrl const &link) { AskAboutLink(link); });
    connect(this, &QTextBrowser::highlighted, this, [this](QUrl const &link) {
        if (on_link)
            on_link(IsOpenableLink(link) ? link.toString(QUrl::FullyEncoded) : QString());
    });
}

void WebBrowser::ShowPage(QString const &html, unsigned images) {
    layout_timer_.stop();
    frames_.clear();
    sizes_known_ = false;
    frame_pixels_left_ = kFramePixels;
    awaited_ = images;
    // setHtml alone would keep the images of the page before, whose names are the same.
    document()->clear();
    setHtml(html);
    KeepWordsWhole(*document());
    moveCursor(QTextCursor::Start);
}

void WebBrowser::ShowImage(unsigned number, QPixmap const &image) {
    if (awaited_ > 0)
        --awaited_;
    document()->addResource(QTextDocument::ImageResource, QUrl(QStringLiteral("img:%1").arg(number)), image);
    if (awaited_ == 0)
        LayOutAgain();
    else if (!layout_timer_.isActive())
        layout_timer_.start();
}

void WebBrowser::ShowImageName(unsigned number, QString const &name) {
    constexpr int kMargin = 4, kWidest = 240, kLargest = 1000;
    QFontMetrics const metrics(font());
    QString const shown = metrics.elidedText(name, Qt::ElideMiddle, kWidest);
    QSize const natural(metrics.horizontalAdvance(shown) + 2 * kMargin, metrics.height() + 2 * kMargin);
    // As large as the page wants it, or the text would be stretched; but a page of large frames costs memory.
    QSize size = SizeInPage(QStringLiteral("img:%1").arg(number));
    size =
        QSize(size.width() > 0 ? size.width() : natural.width(), size.height() > 0 ? size.height() : natural.height())
            .boundedTo({kLargest, kLargest});
    if (size.width() * size.height() > frame_pixels_left_)
        size = natural;
    frame_pixels_left_ -= size.width() * size.height();
    QPixmap pixmap(size);
    pixmap.fill(Qt::white);
    QPainter painter(&pixmap);
    painter.setPen(kFrameColor);
    painter.drawRect(0, 0, pixmap.width() - 1, pixmap.height() - 1);
    painter.setPen(Qt::black);
    painter.setFont(font());
    if (int const room = size.width() - 2 * kMargin; room > 0)
        painter.drawText(pixmap.rect(), Qt::AlignCenter | Qt::TextSingleLine,
                         size.width() == natural.width() ? shown : metrics.elidedText(name, Qt::ElideMiddle, room));
    painter.end();
    ShowImage(number, pixmap);
}

/// The size that the page wants an image to have, the largest where it shows it more than once; sides it does not
/// name are 0 or less.
QSize WebBrowser::SizeInPage(QString const &image) {
    if (!sizes_known_) {
        sizes_known_ = true;
        sizes_.clear();
        for (QTextBlock block = document()->begin(); block.isValid(); block = block.next())
            for (auto part = block.begin(); !part.atEnd(); ++part)
                if (QTextImageFormat const format = part.fragment().charFormat().toImageFormat(); format.isValid())
                    sizes_[format.name()] =
                        sizes_[format.name()].expandedTo({qRound(format.width()), qRound(format.height())});
    }
    return sizes_.value(image);
}

void WebBrowser::LayOutAgain() {
    layout_timer_.stop();
    document()->markContentsDirty(0, document()->characterCount());
}

bool WebBrowser::Print(QPrinter &printer) {
    std::unique_ptr<QTextDocument> const copy(document()->clone(document()));
    constexpr qreal kMargins = 2 * 2 / 2.54; // inches; QTextDocument leaves 2 cm at each side
    qreal const width = (printer.pageRect(QPrinter::Inch).width() - kMargins) * logicalDpiX();
    LimitImages(*copy, std::max(width, 100.0));
    copy->print(&printer);
    return printer.printerState() != QPrinter::Error;
}

void WebBrowser::doSetSource(QUrl const &, QTextDocument::ResourceType) {}

QVariant WebBrowser::loadResource(int type, QUrl const &name) {
    if (type != QTextDocument::ImageResource)
        return QByteArray("");
    return name.scheme() == QLatin1String("frame") ? Frame(name) : FlatPlaceholder();
}

/// An empty frame of the size that its name tells. Only so many sizes, since each costs memory.
QVariant WebBrowser::Frame(QUrl const &name) {
    constexpr size_t kMostSizes = 32;
    QStringList const sides = name.path().split(QLatin1Char('x'));
    int const width = sides.value(0).toInt(), height = sides.value(1).toInt();
    if (width < 3 || height < 3 || width > 1000 || height > 1000)
        return FlatPlaceholder();
    if (frames_.size() >= kMostSizes && !frames_.contains(name.path()))
        return FlatPlaceholder();
    frames_.insert(name.path());
    QPixmap pixmap(width, height);
    pixmap.fill(Qt::white);
    QPainter painter(&pixmap);
    painter.setPen(kFrameColor);
    painter.drawRect(0, 0, width - 1, height - 1);
    painter.end();
    return pixmap;
}

bool IsOpenableLink(QUrl const &link) {
    if (!link.isValid())
        return false;
    if (link.scheme() == QLatin1String("mailto"))
        return !link.path().isEmpty();
    return (link.scheme() == QLatin1String("http") || link.scheme() == QLatin1String("https")) &&
           !link.host().isEmpty();
}

QUrl PlainLink(QUrl const &link) {
    if (link.scheme() != QLatin1String("mailto"))
        return link;
    auto const plain = [](QString text, bool lines) {
        text.removeIf(
            [lines](QChar each) { return each.category() == QChar::Other_Control && !(lines && each == u'\n'); });
        return QString::fromLatin1(QUrl::toPercentEncoding(text, lines ? "" : "@,"));
    };
    QString fields;
    for (auto const &[name, value] : QUrlQuery(link).queryItems(QUrl::FullyDecoded)) {
        QString const field = name.toLower();
        bool const body = field == QLatin1String("body");
        if (body || field == QLatin1String("to") || field == QLatin1String("cc") || field == QLatin1String("subject"))
            fields += (fields.isEmpty() ? QStringLiteral("?") : QStringLiteral("&")) + field + QStringLiteral("=") +
                      plain(value, body);
    }
    return QUrl(QStringLiteral("mailto:") + plain(link.path(QUrl::FullyDecoded), false) + fields);
}

QString LinkQuestion(QUrl const &link) {
    constexpr int kLine = 80, kLines = 8;
    // Whose server it is stands at the end of its name.
    QString host = link.host(QUrl::FullyEncoded);
    if (host.size() > kLine)
        host = QStringLiteral("...") + host.right(kLine);
    QString question = link.scheme() == QLatin1String("mailto")
                           ? QStringLiteral("Write to this address?\n\n")
                           : QStringLiteral("Open this page in your web browser?\n\nServer: %1\n\n").arg(host);
    QString const address = link.toString(QUrl::FullyEncoded);
    for (int line = 0; line * kLine < address.size(); ++line) {
        if (line == kLines)
            return question + QStringLiteral("...");
        question += address.mid(line * kLine, kLine) + QLatin1Char('\n');
    }
    return question;
}

void WebBrowser::AskAboutLink(QUrl const &address) {
    QUrl const link = PlainLink(address);
    if (!IsOpenableLink(link))
        return;
    auto *const box = new QMessageBox(window());
    box->setObjectName(QStringLiteral("linkQuestion"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Question);
    box->setWindowTitle(QStringLiteral("Open Link"));
    box->setTextFormat(Qt::PlainText);
    box->setText(LinkQuestion(link));
    QPushButton *const open = box->addButton(QStringLiteral("&Open"), QMessageBox::AcceptRole);
    open->setObjectName(QStringLiteral("linkQuestion_open"));
    QPushButton *const cancel = box->addButton(QMessageBox::Cancel);
    cancel->setObjectName(QStringLiteral("linkQuestion_cancel"));
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    // The program goes on: nothing waits here.
    connect(open, &QPushButton::clicked, box, [link] { QDesktopServices::openUrl(link); });
    box->open();
}
