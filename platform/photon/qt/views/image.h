#pragma once
// A picture of a module.

#include <QIcon>
#include <QString>

class QWidget;

/// The picture's resource path is found on any thread; its pixels are read on the GUI thread, at the screen's scale.
struct PhImage {
    QString path;
    QIcon icon;    ///< filled at the first use
    QSize natural; ///< size without scaling, likewise
};

/// The picture at any size. GUI thread.
QIcon const &IconFor(PhImage &image);
/// The pixels for `widget`'s screen. GUI thread.
QPixmap PixmapFor(PhImage &image, QWidget const &widget);
