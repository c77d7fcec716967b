// What the user sees in a text is what the program reads: random edits and pastes over all of Unicode, controls and
// foreign bytes among them. CORVANTA_SEED repeats one run.

#include "photon/fixture.h"

#include "core/utf8.h"
#include "qt/views/text_codec.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <cstdlib>
#include <random>

namespace {

class Edits : public WindowTest {
  protected:
    unsigned Below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    char32_t AnyCharacter() {
        static constexpr char32_t kOdd[] = {0,      '\t',   '\n',   '\r',   '\f',    0x1B,    0x7F,    0x85,   0xA0,
                                            0xAD,   0x301,  0x200B, 0x200F, 0x2028,  0x2029,  0xFDD0,  0xFDD1, 0xFEFF,
                                            0xFFFC, 0xFFFF, 0xD83D, 0xDE00, 0x1F600, 0x1F1E6, 0x10FFFF};
        switch (Below(4)) {
        case 0:
            return kOdd[Below(std::size(kOdd))];
        case 1:
            return Below(0x110000);
        default:
            return 'a' + Below(4);
        }
    }

    QString AnyText() {
        QString text;
        for (unsigned left = Below(6); left > 0; left--) {
            char32_t const code = AnyCharacter();
            if (code > 0xFFFF)
                text += QChar::fromUcs4(code);
            else
                text += QChar(static_cast<char16_t>(code));
        }
        return text;
    }

    std::string AnyBytes() {
        static constexpr std::string_view kPieces[] = {"a",    "b\n",      "\xC3",     "\xBC",
                                                       "\xE2", "\x82\xAC", "\x93",     "\xE2\x80\xA8",
                                                       "\f",   "\r\n",     "\xC2\x85", "\xF0\x9F\x98\x80",
                                                       "\xE9"};
        std::string bytes;
        for (unsigned left = Below(8); left > 0; left--)
            bytes += kPieces[Below(std::size(kPieces))];
        return bytes;
    }

    template <class Field> void Paste(Field *field, QString const &text) {
        QApplication::clipboard()->setText(text);
        WithoutLock([&] { field->paste(); });
    }

    /// A place in the text: between two characters, but for what an assistive technology may do.
    int AnyPlace(QString const &text) {
        int const place = static_cast<int>(Below(static_cast<unsigned>(text.size()) + 1));
        bool const inside = place < text.size() && text[place].isLowSurrogate() && !splits_pairs_;
        return inside ? place + 1 : place;
    }
    void Place(QLineEdit *field) {
        int const from = AnyPlace(field->text()), to = AnyPlace(field->text());
        field->setCursorPosition(from);
        if (Below(3) == 0 && from != to)
            field->setSelection(std::min(from, to), std::abs(to - from));
    }
    void Place(QPlainTextEdit *editor) {
        QTextCursor cursor = editor->textCursor();
        cursor.setPosition(AnyPlace(Shown(editor)));
        if (Below(3) == 0)
            cursor.setPosition(AnyPlace(Shown(editor)), QTextCursor::KeepAnchor);
        editor->setTextCursor(cursor);
    }

    static QString Shown(QLineEdit *field) { return field->text(); }
    static QString Shown(QPlainTextEdit *editor) {
        return editor->document()->toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    }

    /// One change of the user's in a field whose history is not asked.
    template <class Field> void Edit(Field *field) {
        WithoutLock([&] { Place(field); });
        switch (Below(6)) {
        case 0:
            return Key(field, Qt::Key_Backspace);
        case 1:
            return Key(field, Qt::Key_Delete);
        case 2:
            return Key(field, Qt::Key_Return, Qt::ShiftModifier);
        case 3: {
            QInputMethodEvent commit;
            commit.setCommitString(AnyText());
            WithoutLock([&] { QApplication::sendEvent(field, &commit); });
            return;
        }
        case 4:
            return Type(field, AnyText().toUtf8());
        default:
            return Paste(field, AnyText());
        }
    }

    void ChangeByProgram(PtWidget_t *widget) {
        if (std::string const bytes = AnyBytes(); Below(3) == 0)
            SetText(widget, bytes);
        else
            PtTextModifyText(widget, static_cast<int>(Below(9)), static_cast<int>(Below(9)), 0, bytes.c_str(),
                             static_cast<int>(bytes.size()));
        Sync();
    }

    template <class Field> static void SetShown(Field &field, QString const &text) {
        if constexpr (std::is_same_v<Field, QLineEdit>)
            field.setText(text);
        else
            field.setPlainText(text);
    }

    /// After each change the text that is read is the one shown, and what a field without our views makes of the
    /// same change, less what no field shows.
    template <class Field> void Run(PtWidget_t *widget, Field *field, TextShape shape, int edits = 2000) {
        auto const lines = shape == TextShape::Line ? PtTextLines::One : PtTextLines::Several;
        for (int i = 0; i < edits; i++) {
            SCOPED_TRACE(testing::Message() << "edit " << i << " of seed " << seed_);
            unsigned const kind = Below(9);
            splits_pairs_ = kind == 2;
            if (kind == 0) {
                ChangeByProgram(widget);
            } else if (kind == 2) {
                Edit(field);
            } else if (kind == 1) {
                Key(field, Qt::Key_Z, Below(2) ? Qt::ControlModifier : Qt::ControlModifier | Qt::ShiftModifier);
            } else {
                Field plain;
                SetShown(plain, Shown(field));
                std::minstd_rand const before = random_;
                Edit(&plain);
                random_ = before;
                Edit(field);
                std::string const wanted = PtPlainText(Shown(&plain).toStdString(), lines);
                ASSERT_EQ(ShownText(wanted, shape), Shown(field));
            }
            std::string const kept = TextOf(widget); // as far as a C string goes
            ASSERT_EQ(ShownText(kept, shape), Shown(field));
        }
    }

    unsigned const seed_ = getenv("CORVANTA_SEED") ? static_cast<unsigned>(atoi(getenv("CORVANTA_SEED"))) : 7;
    std::minstd_rand random_{seed_};
    bool splits_pairs_ = false;
};

TEST_F(Edits, SeveralLines) { Run(W("mtxOne"), N<QPlainTextEdit>("mtxOne"), TextShape::Lines); }
TEST_F(Edits, OneLine) { Run(W("txtOne"), N<QLineEdit>("txtOne"), TextShape::Line); }

TEST_F(Edits, AfterAControlCharacterTheCharacterSeenIsTheOneChanged) {
    auto *editor = N<QPlainTextEdit>("mtxOne");
    Paste(editor, QStringLiteral("one\x0ctwo\u2028th\x1bree") + QChar(0) + QStringLiteral(" four"));
    EXPECT_EQ(TextOf(W("mtxOne")), "onetwo\nthree four");
    Key(editor, Qt::Key_Return, Qt::ShiftModifier);
    Type(editor, "five");
    EXPECT_EQ(TextOf(W("mtxOne")), "onetwo\nthree four\nfive"); // the cursor stays where the user is
    WithoutLock([&] { editor->undo(); });
    EXPECT_EQ(ShownText(TextOf(W("mtxOne")), TextShape::Lines), editor->toPlainText());

    // Two characters that start with the same unit.
    auto *field = N<QLineEdit>("txtOne");
    WithoutLock([&] { field->selectAll(); });
    Paste(field, QStringLiteral("\U0001F600"));
    WithoutLock([&] { field->selectAll(); });
    Paste(field, QStringLiteral("\U0001F601"));
    WithoutLock([&] { field->undo(); });
    EXPECT_EQ(TextOf(W("txtOne")), "\xF0\x9F\x98\x80");
}

} // namespace
