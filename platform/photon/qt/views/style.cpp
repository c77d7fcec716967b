#include "qt/views/style.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>

namespace {

constexpr int kMark = 10; // pixels

/// Two angles that point to the right, or down.
QIcon MakeMark(bool down) {
    QPixmap picture(kMark, kMark);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QGuiApplication::palette().color(QPalette::ButtonText), 1.5));
    if (down)
        painter.setTransform(QTransform(0, 1, 1, 0, 0, 0)); // mirrored at the diagonal
    for (int const left : {1, 5})
        painter.drawPolyline(QPolygon({{left, 1}, {left + 3, kMark / 2}, {left, kMark - 1}}));
    return picture;
}

} // namespace

QIcon Style::standardIcon(StandardPixmap which, QStyleOption const *option, QWidget const *widget) const {
    if (which == SP_ToolBarHorizontalExtensionButton)
        return MakeMark(false);
    if (which == SP_ToolBarVerticalExtensionButton)
        return MakeMark(true);
    return QProxyStyle::standardIcon(which, option, widget);
}
