#include "qt/views/marked_label.h"

#include "qt/views/text_codec.h"
#include "qt/views/view.h"

QString PlainLabel(QString text) {
    for (qsizetype at = text.indexOf(QLatin1Char('&')); at >= 0; at = text.indexOf(QLatin1Char('&'), at + 1))
        text.remove(at, 1);
    return text;
}

QString MarkedLabel(PtWidget &widget) {
    QString text = ShownLabel(StoredText(widget, Pt_ARG_TEXT_STRING), TextShape::Row);
    QString const key = ShownText(StoredText(widget, Pt_ARG_ACCEL_KEY), TextShape::Line);
    qsizetype const at = key.isEmpty() ? -1 : text.indexOf(key.at(0), 0, Qt::CaseInsensitive);
    if (at >= 0 && key.at(0) != QLatin1Char('&'))
        text.insert(at, QLatin1Char('&'));
    return text;
}
