#include "qt/views/image.h"

#include <QWidget>

QIcon const &IconFor(PhImage &image) {
    if (image.icon.isNull())
        image.icon = QIcon(image.path);
    return image.icon;
}

QPixmap PixmapFor(PhImage &image, QWidget const &widget) {
    if (!image.natural.isValid())
        image.natural = QPixmap(image.path).size();
    return IconFor(image).pixmap(image.natural, widget.devicePixelRatioF());
}
