// Several lines of text.

#include "qt/views/label.h"
#include "qt/views/text_codec.h"
#include "qt/views/text_edit.h"
#include "qt/views/views.h"

#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextDocument>

namespace {

class MultiTextView final : public View {
  public:
    MultiTextView(PtWidget &widget, QPlainTextEdit *editor, bool owned)
        : View(widget, editor, owned), editor_(editor) {
        Watch();
        connect(editor->document(), &QTextDocument::contentsChange, this, [this](int at, int removed, int added) {
            if (!putting_)
                change_ = {at, removed, added};
        });
        connect(editor, &QPlainTextEdit::textChanged, this, &MultiTextView::Edited);
        connect(editor, &QPlainTextEdit::cursorPositionChanged, this, [this] {
            if (this->widget() && !putting_)
                PtStoreScalar(*this->widget(), Pt_ARG_CURSOR_POSITION, Character(editor_->textCursor().position()));
        });
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        switch (resource) {
        case Pt_ARG_TEXT_STRING:
            Put(ShownText(StoredText(widget, resource), TextShape::Lines));
            break;
        case Pt_ARG_CURSOR_POSITION: {
            QTextCursor cursor = editor_->textCursor();
            int const units = UnitsAt(StoredText(widget, Pt_ARG_TEXT_STRING), TextShape::Lines,
                                      static_cast<int>(StoredNumber(widget, resource)));
            cursor.setPosition(std::min(units, editor_->document()->characterCount() - 1));
            editor_->setTextCursor(cursor);
            break;
        }
        case Pt_ARG_TEXT_FLAGS:
            editor_->setReadOnly(!(StoredNumber(widget, resource) & Pt_EDITABLE));
            break;
        case Pt_ARG_TEXT_FONT:
            editor_->setFont(FontByName(StoredText(widget, resource), editor_->font()));
            break;
        default:
            View::Apply(widget, resource);
        }
    }

  private:
    struct Change {
        int at = 0, removed = 0, added = 0;
    };

    int Character(int units) {
        return CharacterAt(StoredText(*widget(), Pt_ARG_TEXT_STRING), TextShape::Lines, units);
    }

    void Put(QString const &text) {
        if (text == editor_->toPlainText())
            return;
        putting_ = true;
        editor_->setPlainText(text);
        putting_ = false;
    }

    QString Inserted(Change const &change) {
        int const last = editor_->document()->characterCount() - 1;
        QTextCursor cursor(editor_->document());
        cursor.setPosition(std::min(change.at, last));
        cursor.setPosition(std::min(change.at + change.added, last), QTextCursor::KeepAnchor);
        return cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    }

    void Edited() {
        Change const change = std::exchange(change_, {});
        if (putting_ || !widget() || (change.removed == 0 && change.added == 0))
            return;
        std::string const &stored = StoredText(*widget(), Pt_ARG_TEXT_STRING);
        int const start = Character(change.at), end = Character(change.at + change.removed);
        QString const inserted = Inserted(change);
        std::string_view const rest = std::string_view(stored).substr(FirstCharacters(stored, start).size());
        if (ShownText(FirstCharacters(rest, end - start), TextShape::Lines) == inserted)
            return; // only its look has changed
        std::string text;
        bool const accepted = VerifyEdit(
            {start, end, start, inserted.toStdString()},
            [this](PtTextCallback_t &data) { Call(Pt_CB_MODIFY_VERIFY, 0, &data); }, text);
        if (!widget())
            return;
        if (accepted)
            PtStoreString(*widget(), Pt_ARG_TEXT_STRING,
                          ReplaceCharacters(StoredText(*widget(), Pt_ARG_TEXT_STRING), start, end, text));
        if (!accepted || text != inserted.toStdString())
            Put(ShownText(StoredText(*widget(), Pt_ARG_TEXT_STRING), TextShape::Lines));
        if (!accepted)
            return;
        PtTextCallback_t done{start, end,         start, start + CountCharacters(text), CountCharacters(text),
                              0,     text.data(), 1};
        Call(Pt_CB_MODIFY_NOTIFY, 0, &done);
        Call(Pt_CB_TEXT_CHANGED, 0, &done);
    }

    QPlainTextEdit *editor_;
    Change change_;
    bool putting_ = false;
};

} // namespace

std::unique_ptr<PtView> MakeMultiTextView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<MultiTextView>(widget, static_cast<QPlainTextEdit *>(native), owned);
}
