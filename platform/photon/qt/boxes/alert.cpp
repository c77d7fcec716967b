// Questions in a box: PtAlert and PtPrompt.

#include "core/utf8.h"
#include "qt/boxes/modal.h"
#include "qt/views/image.h"
#include "qt/views/label.h"
#include "qt/views/marked_label.h"
#include "qt/views/text_codec.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMargin = 16;                    // pixels around and between a box's parts
constexpr int kNarrowest = 280, kWidest = 520; // of the message
constexpr int kMostCharacters = 1500, kMostLines = 20;

/// As much of a message as a box has room for on a small screen: servers' answers are among them.
QString Bounded(QString const &text) {
    qsizetype end = std::min<qsizetype>(text.size(), kMostCharacters);
    for (qsizetype i = 0, lines = 0; i < end; i++)
        if (text[i] == QLatin1Char('\n') && ++lines == kMostLines)
            end = i;
    return end < text.size() ? text.left(end) + QStringLiteral("...") : text;
}

/// A question as it was asked, in copies: the box outlives nothing of the caller's.
struct Question {
    std::string title, message, font;
    PhImage_t *image = nullptr;
    std::vector<std::string> buttons;
    int default_button = 0, escape_button = 0, flags = 0;
    bool has_entry = false;
    std::string entry;
};

/// The box. Its result is the number of a button, from 1.
class Box final : public QDialog {
  public:
    explicit Box(Question const &question);
    QString Entry() const { return entry_ ? entry_->text() : QString(); }

    /// Escape and the frame's close button: the escape button, without one the default button.
    void reject() override {
        if (question_.flags & Pt_ESC_DISABLE)
            return;
        int const button = question_.escape_button > 0 ? question_.escape_button : question_.default_button;
        Press(std::clamp(button, 1, static_cast<int>(question_.buttons.size())));
    }

  protected:
    void keyPressEvent(QKeyEvent *event) override;

  private:
    void AddMessage(QVBoxLayout &column);
    void AddButtons(QVBoxLayout &column);
    bool MayPress(int button) const;
    void Press(int button) {
        if (MayPress(button))
            done(button);
    }

    Question const question_;
    QLineEdit *entry_ = nullptr;
    std::vector<QPushButton *> buttons_;
};

Box::Box(Question const &question) : question_(question) {
    setObjectName(question.has_entry ? QStringLiteral("PtPrompt") : QStringLiteral("PtAlert"));
    setWindowTitle(ShownText(question.title, TextShape::Row));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->setSpacing(kMargin);
    AddMessage(*column);
    if (question.has_entry) {
        entry_ = new QLineEdit(ShownText(question.entry, TextShape::Line), this);
        entry_->setObjectName(QStringLiteral("PtPrompt_text"));
        entry_->setAccessibleName(ShownText(question.message, TextShape::Row));
        if (question.flags & Pt_BLIND)
            entry_->setEchoMode(QLineEdit::Password);
        entry_->selectAll();
        column->addWidget(entry_);
    }
    AddButtons(*column);
    if (entry_)
        entry_->setFocus();
}

void Box::AddMessage(QVBoxLayout &column) {
    auto *row = new QHBoxLayout;
    row->setSpacing(16);
    auto *picture = new QLabel(this);
    if (question_.image) {
        picture->setPixmap(PixmapFor(*question_.image, *this));
    } else {
        QStyle::StandardPixmap const kind =
            question_.buttons.size() > 1 ? QStyle::SP_MessageBoxQuestion : QStyle::SP_MessageBoxWarning;
        int const size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
        picture->setPixmap(style()->standardIcon(kind).pixmap(QSize(size, size), devicePixelRatioF()));
    }
    if (!question_.has_entry)
        row->addWidget(picture, 0, Qt::AlignTop);
    else
        picture->hide();
    auto *message = new QLabel(this);
    message->setObjectName(objectName() + QLatin1String("_message"));
    message->setTextFormat(Qt::PlainText);
    message->setText(Bounded(ShownText(question_.message, TextShape::Lines)));
    message->setFont(FontByName(question_.font, message->font()));
    message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // Long lines wrap; short ones keep the breaks they came with and no more.
    int const wanted = message->sizeHint().width();
    message->setWordWrap(true);
    message->setMinimumWidth(std::clamp(wanted, kNarrowest, kWidest));
    row->addWidget(message, 1);
    column.addLayout(row);
}

void Box::AddButtons(QVBoxLayout &column) {
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    for (size_t i = 0; i < question_.buttons.size(); i++) {
        int const number = static_cast<int>(i) + 1;
        auto *button = new QPushButton(ShownText(question_.buttons[i], TextShape::Row), this);
        button->setObjectName(objectName() + QLatin1Char('_') + QString::number(number));
        button->setAutoDefault(number == question_.default_button);
        button->setDefault(number == question_.default_button);
        connect(button, &QPushButton::clicked, this, [this, number] { Press(number); });
        if (number == question_.default_button && !entry_)
            button->setFocus();
        row->addWidget(button);
        buttons_.push_back(button);
    }
    column.addLayout(row);
}

bool Box::MayPress(int button) const {
    bool const accepts = button != question_.escape_button;
    return !entry_ || !accepts || (question_.flags & Pt_LET_NULL) || !entry_->text().isEmpty();
}

void Box::keyPressEvent(QKeyEvent *event) {
    // A button's letter alone presses it.
    if (!(event->modifiers() & ~Qt::ShiftModifier) && !event->text().isEmpty())
        for (QPushButton *button : buttons_) {
            QString const label = button->text();
            qsizetype const mark = label.indexOf(QLatin1Char('&'));
            if (mark >= 0 && mark + 1 < label.size() &&
                label[mark + 1].toCaseFolded() == event->text()[0].toCaseFolded())
                return button->click();
        }
    QDialog::keyPressEvent(event);
}

std::string Copy(char const *text) { return text ? text : ""; }

Question Ask(char const *title, PhImage_t const *image, char const *message, char const *font, int count,
             char const **buttons, int default_button, int escape_button, int flags) {
    Question question;
    question.title = Copy(title);
    question.message = Copy(message);
    question.font = Copy(font);
    question.image = const_cast<PhImage_t *>(image);
    for (int i = 0; i < count; i++)
        question.buttons.push_back(Copy(buttons[i]));
    question.default_button = default_button;
    question.escape_button = escape_button;
    question.flags = flags;
    return question;
}

/// Shows the box and waits. The number of the button, -1 when there is no display.
int Answer(Question const &question, DialogPlace const &place, QString &entry) {
    int result = -1;
    RunModal([&](ModalDone done) {
        auto *box = new Box(question);
        ShowModal(*box, place, [&result, &entry, box, done](int button) {
            result = button;
            entry = box->Entry();
            done();
        });
    });
    return result;
}

} // namespace

int PtAlert(PtWidget_t *parent, PhPoint_t const *location, char const *title, PhImage_t const *image,
            char const *message, char const *message_font, int button_count, char const **buttons, char const **,
            int default_button, int escape_button, int flags) {
    if (button_count < 1 || !buttons)
        return -1;
    QString none;
    return Answer(
        Ask(title, image, message, message_font, button_count, buttons, default_button, escape_button, flags),
        DialogPlace(parent, location), none);
}

int PtPrompt(PtWidget_t *parent, PhPoint_t const *location, char const *title, PhImage_t const *image,
             char const *message, char const *message_font, int button_count, char const **buttons, char const **,
             int default_button, int escape_button, int text_length, char *text, char const *, int flags) {
    if (button_count < 1 || !buttons || text_length < 1 || !text)
        return -1;
    Question question =
        Ask(title, image, message, message_font, button_count, buttons, default_button, escape_button, flags);
    question.has_entry = true;
    question.entry.assign(text, strnlen(text, static_cast<size_t>(text_length)));
    QString entry;
    int const button = Answer(question, DialogPlace(parent, location), entry);
    if (button < 1)
        return button;
    // An entry that was left alone keeps its bytes.
    std::string bytes = entry == ShownText(question.entry, TextShape::Line) ? question.entry : entry.toStdString();
    size_t fits = 0; // whole characters
    for (size_t next; (next = fits + PtCharBytes(std::string_view(bytes).substr(fits))) > fits;) {
        if (next >= static_cast<size_t>(text_length))
            break;
        fits = next;
    }
    memcpy(text, bytes.data(), fits);
    text[fits] = 0;
    return button;
}
