#pragma once
// The look of all widgets.

#include <QProxyStyle>

/// The desktop's style, but for what makes the start slow.
class Style final : public QProxyStyle {
  public:
    /// Takes over `base`.
    explicit Style(QStyle *base) : QProxyStyle(base) {}

    /// The mark of a menu bar that is too narrow is drawn here. The style's own is a file, and to find out what kind
    /// of file it is, Qt loads every image format that is installed, with each menu bar, whether the mark is needed
    /// or not.
    QIcon standardIcon(StandardPixmap which, QStyleOption const *option, QWidget const *widget) const override;
};
