// Several lines of text: after each change the editor and the stored text are the same characters.

#include "core/utf8.h"
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
        connect(editor->document(), &QTextDocument::contentsChange, this, [this](int at, int removed, int added) {
            if (!putting_)
                change_ = {at, removed, added};
        });
        connect(editor, &QPlainTextEdit::textChanged, this, &MultiTextView::Edited);
        connect(editor, &QPlainTextEdit::cursorPositionChanged, this, [this] {
            if (this->widget() && !putting_)
                StoreCursor();
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

    QString Raw() const { return LineEnds(editor_->document()->toRawText()); }

    /// Every end of a line is one character; Qt has one for paragraphs and one inside them.
    static QString LineEnds(QString text) { return text.replace(QChar::ParagraphSeparator, QLatin1Char('\n')); }

    void Put(QString const &text) {
        if (text == Raw())
            return;
        putting_ = true;
        editor_->setPlainText(text);
        putting_ = false;
    }

    /// Whole characters: a change may have split a pair of units.
    void Widen(Change &change) const {
        QTextDocument const &document = *editor_->document();
        int const last = document.characterCount() - 1; // the document's own end is no part of the text
        change.at = std::min(change.at, last);
        change.added = std::min(change.added, last - change.at);
        if (change.at > 0 && document.characterAt(change.at - 1).isHighSurrogate()) {
            change.at--;
            change.removed++;
            change.added++;
        }
        if (document.characterAt(change.at + change.added).isLowSurrogate()) {
            change.removed++;
            change.added++;
        }
    }

    QTextCursor Selection(Change const &change) const {
        QTextCursor cursor(editor_->document());
        cursor.setPosition(change.at);
        cursor.setPosition(change.at + change.added, QTextCursor::KeepAnchor);
        return cursor;
    }

    /// Puts another text in the place of what the user has inserted. Both are one step to undo.
    void Replace(Change const &change, QString const &text) {
        putting_ = true;
        QTextCursor own = editor_->textCursor();
        int const inside = change.at + change.added - own.position(); // places before the end of what is replaced
        QTextCursor cursor = Selection(change);
        cursor.joinPreviousEditBlock();
        cursor.insertText(text);
        cursor.endEditBlock();
        if (inside > 0 && inside <= change.added) {
            own.setPosition(std::max(change.at, cursor.position() - inside));
            editor_->setTextCursor(own);
        }
        putting_ = false;
        StoreCursor();
    }

    void StoreCursor() {
        PtStoreScalar(*widget(), Pt_ARG_CURSOR_POSITION, Character(editor_->textCursor().position()));
    }

    void Edited() {
        Change change = std::exchange(change_, {});
        if (putting_ || !widget() || (change.removed == 0 && change.added == 0))
            return;
        Widen(change);
        std::string const &stored = StoredText(*widget(), Pt_ARG_TEXT_STRING);
        int const start = Character(change.at), end = Character(change.at + change.removed);
        QString const inserted = LineEnds(Selection(change).selectedText());
        std::string_view const rest = std::string_view(stored).substr(FirstCharacters(stored, start).size());
        QString const replaced = ShownText(FirstCharacters(rest, end - start), TextShape::Lines);
        if (replaced == inserted)
            return; // only its look has changed
        std::string text;
        bool const accepted = VerifyEdit(
            {start, end, start, PtPlainText(inserted.toStdString(), PtTextLines::Several)},
            [this](PtTextCallback_t &data) { Call(Pt_CB_MODIFY_VERIFY, 0, &data); }, text);
        if (!widget())
            return;
        if (!accepted)
            return Replace(change, replaced);
        text = PtPlainText(text, PtTextLines::Several);
        PtStoreString(*widget(), Pt_ARG_TEXT_STRING,
                      ReplaceCharacters(StoredText(*widget(), Pt_ARG_TEXT_STRING), start, end, text));
        if (QString const kept = ShownText(text, TextShape::Lines); kept != inserted)
            Replace(change, kept);
        StoreCursor();
        PtTextCallback_t done{start, end,         start, start + CountCharacters(text), CountCharacters(text),
                              0,     text.data(), 1};
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
