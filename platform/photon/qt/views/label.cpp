#include "qt/views/label.h"

#include <QPainter>
#include <QStyle>

void Label::SetProgramText(QString const &text) {
    if (!program_text_)
        designed_width_ = QLabel::minimumSizeHint().width();
    program_text_ = true;
    setText(text);
}

QSize Label::minimumSizeHint() const {
    QSize hint = QLabel::minimumSizeHint();
    if (Elides())
        hint.setWidth(std::min(hint.width(), designed_width_));
    return hint;
}

void Label::paintEvent(QPaintEvent *event) {
    QRect const area = contentsRect().marginsRemoved(QMargins(margin(), margin(), margin(), margin()));
    if (!Elides() || fontMetrics().horizontalAdvance(text()) <= area.width()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideRight, area.width()), foregroundRole());
}

QFont FontByName(std::string const &name, QFont base) {
    size_t const style = name.find_last_of("0123456789");
    if (style == std::string::npos)
        return base;
    base.setBold(name.find('b', style) != std::string::npos);
    base.setItalic(name.find('i', style) != std::string::npos);
    return base;
}
