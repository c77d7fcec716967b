#pragma once
// A label whose text never widens its window: it is cut with an ellipsis instead.

#include <QLabel>

class Label : public QLabel {
  public:
    explicit Label(QWidget *parent) : QLabel(parent) { setTextFormat(Qt::PlainText); }

    /// A text that the program set; it may be of any length, from anywhere.
    void SetProgramText(QString const &text);
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    bool Elides() const {
        return program_text_ && !wordWrap() && pixmap().isNull() && !text().contains(QLatin1Char('\n'));
    }
    bool program_text_ = false;
    int designed_width_ = 0;
};

/// A font by the toolkit's name ("helv12b"): its style on top of `base`; the size stays the desktop's.
QFont FontByName(std::string const &name, QFont base);
