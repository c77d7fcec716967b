// One line of text. Qt has no hook before a change: the field makes it, and what the verify callbacks leave of it is
// put in its place before anything is painted. So typing, pasting, dropping, input methods and undo are handled
// alike.

#include "core/utf8.h"
#include "qt/views/label.h"
#include "qt/views/text_codec.h"
#include "qt/views/text_edit.h"
#include "qt/views/views.h"

#include <QLineEdit>

#include <cstring>

namespace {

/// A replacement in UTF-16 units of what is shown.
struct Replacement {
    qsizetype start, end, inserted;
};

bool Explains(Replacement const &change, QString const &before, QString const &after) {
    return change.start >= 0 && change.end >= change.start && change.inserted >= 0 &&
           before.size() - (change.end - change.start) + change.inserted == after.size() &&
           before.left(change.start) == after.left(change.start) &&
           before.mid(change.end) == after.mid(change.start + change.inserted);
}

/// The same without splitting a pair of units.
Replacement WholeCharacters(Replacement change, QString const &before) {
    auto const inside = [&before](qsizetype place) {
        return place > 0 && place < before.size() && before[place].isLowSurrogate() &&
               before[place - 1].isHighSurrogate();
    };
    if (inside(change.start)) {
        change.start--;
        change.inserted++;
    }
    if (inside(change.end)) {
        change.end++;
        change.inserted++;
    }
    return change;
}

/// What was replaced between two states of a field. Selection and cursor decide where equal characters leave it open.
Replacement FindReplacement(QString const &before, QString const &after, int selected, int selected_end, int cursor,
                            int cursor_after) {
    qsizetype const grown = after.size() - before.size();
    Replacement change{};
    if (selected >= 0 && selected_end > selected)
        change = {selected, selected_end, grown + selected_end - selected};
    else if (grown >= 0)
        change = {cursor, cursor, grown};
    else if (cursor_after < cursor)
        change = {cursor_after, cursor, grown + cursor - cursor_after};
    else
        change = {cursor, cursor - grown, 0};
    if (Explains(change, before, after))
        return WholeCharacters(change, before);
    qsizetype const shorter = std::min(before.size(), after.size());
    qsizetype same = 0;
    while (same < shorter && before[same] == after[same])
        same++;
    qsizetype tail = 0;
    while (tail < shorter - same && before[before.size() - 1 - tail] == after[after.size() - 1 - tail])
        tail++;
    return WholeCharacters({same, before.size() - tail, after.size() - tail - same}, before);
}

class TextView final : public View {
  public:
    TextView(PtWidget &widget, QLineEdit *field, bool owned)
        : View(widget, field, owned), field_(field), shown_(field->text()) {
        connect(field, &QLineEdit::textEdited, this, &TextView::Edited);
        connect(field, &QLineEdit::cursorPositionChanged, this, &TextView::Remember);
        connect(field, &QLineEdit::selectionChanged, this, &TextView::Remember);
        connect(field, &QLineEdit::returnPressed, this, [this] { Call(Pt_CB_ACTIVATE); });
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        switch (resource) {
        case Pt_ARG_TEXT_STRING:
            Put(ShownText(StoredText(widget, resource), TextShape::Line), -1);
            break;
        case Pt_ARG_CURSOR_POSITION:
            field_->setCursorPosition(UnitsAt(StoredText(widget, Pt_ARG_TEXT_STRING), TextShape::Line,
                                              static_cast<int>(StoredNumber(widget, resource))));
            break;
        case Pt_ARG_MAX_LENGTH:
            field_->setMaxLength(static_cast<int>(std::clamp(StoredNumber(widget, resource), 0L, 32767L)));
            break;
        case Pt_ARG_TEXT_FLAGS:
            field_->setReadOnly(!(StoredNumber(widget, resource) & Pt_EDITABLE));
            break;
        case Pt_ARG_TEXT_FONT:
            field_->setFont(FontByName(StoredText(widget, resource), field_->font()));
            break;
        default:
            View::Apply(widget, resource);
        }
    }

  private:
    void Remember() {
        if (editing_)
            return;
        cursor_ = field_->cursorPosition();
        selected_ = field_->selectionStart();
        selected_end_ = field_->selectionEnd();
        if (widget())
            PtStoreScalar(*widget(), Pt_ARG_CURSOR_POSITION,
                          CharacterAt(StoredText(*widget(), Pt_ARG_TEXT_STRING), TextShape::Line, cursor_));
    }

    /// Shows a text; its own undo history stays when it is the one already there.
    void Put(QString const &text, int cursor) {
        if (text != field_->text())
            field_->setText(text);
        shown_ = field_->text();
        if (cursor >= 0)
            field_->setCursorPosition(cursor);
    }

    void Restore() {
        int const start = selected_, length = selected_end_ - selected_, cursor = cursor_;
        Put(shown_, cursor);
        if (start >= 0 && length > 0)
            field_->setSelection(start, length);
    }

    void Edited() {
        if (!widget() || editing_)
            return;
        if (PtIsBlocked(*widget()))
            return Restore();
        editing_ = true;
        Settle();
        editing_ = false;
        Remember();
    }

    /// Lets the callbacks see what the user did and puts what they made of it into the field and the state.
    void Settle() {
        QString const now = field_->text();
        Replacement const change =
            FindReplacement(shown_, now, selected_, selected_end_, cursor_, field_->cursorPosition());
        std::string const &before = StoredText(*widget(), Pt_ARG_TEXT_STRING);
        auto const character = [&before](qsizetype units) {
            return CharacterAt(before, TextShape::Line, static_cast<int>(units));
        };
        TextEdit const edit{character(change.start), character(change.end), character(cursor_),
                            now.mid(change.start, change.inserted).toStdString()};
        std::string text;
        bool const accepted = VerifyEdit(
            edit, [this](PtTextCallback_t &data) { Call(Pt_CB_MODIFY_VERIFY, 0, &data); }, text);
        if (!widget())
            return;
        if (!accepted)
            return Restore();
        // The callbacks have seen the line breaks and TABs of a paste; what they leave of them has no place here. Nor
        // has a control character that the program put there: what was not seen is not kept once the text is edited.
        text = PtPlainText(text, PtTextLines::One);
        std::string const result =
            PtPlainText(ReplaceCharacters(StoredText(*widget(), Pt_ARG_TEXT_STRING), edit.start, edit.end, text),
                        PtTextLines::One);
        QString const shown = ShownText(result, TextShape::Line);
        PtStoreString(*widget(), Pt_ARG_TEXT_STRING, result);
        auto const cursor = field_->cursorPosition();
        Put(shown, static_cast<int>(cursor < change.start ? cursor : cursor + shown.size() - now.size()));
        PtTextCallback_t done{
            edit.start,  edit.end, edit.cursor, edit.start + CountCharacters(text), CountCharacters(text), 0,
            text.data(), 1};
        Call(Pt_CB_TEXT_CHANGED, 0, &done);
    }

    QLineEdit *field_;
    QString shown_; ///< what the field showed before the user's change
    int cursor_ = 0, selected_ = -1, selected_end_ = -1;
    bool editing_ = false;
};

} // namespace

std::unique_ptr<PtView> MakeTextView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<TextView>(widget, static_cast<QLineEdit *>(native), owned);
}
