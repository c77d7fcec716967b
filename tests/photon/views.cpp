// Retained state and what is shown, both ways.

#include "photon/fixture.h"

#include "qt/views/geometry.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>

#include <climits>

namespace {

class Views : public WindowTest {};

TEST_F(Views, TextOfThePrograms) {
    SetText(W("lblOne"), "<b>bold & co</b>");
    SetText(W("btnOne"), "A & B");
    SetText(W("txtOne"), "a\x01\r\nb\xE9");
    SetText(W("mtxOne"), "x\r\ny\n\xC3\xA9\xE9");
    SetText(W("numOne"), "12");
    Sync();
    EXPECT_EQ(N<QLabel>("lblOne")->text(), QStringLiteral("<b>bold & co</b>"));
    EXPECT_EQ(N<QLabel>("lblOne")->textFormat(), Qt::PlainText);
    EXPECT_EQ(N<QPushButton>("btnOne")->text(), QStringLiteral("A && B"));
    EXPECT_EQ(N<QLineEdit>("txtOne")->text(), QStringLiteral("ab\u00e9"));
    EXPECT_EQ(TextOf(W("txtOne")), "a\x01\r\nb\xE9"); // shown another way, kept as it is
    EXPECT_EQ(N<QPlainTextEdit>("mtxOne")->toPlainText(), QStringLiteral("x\ny\n\u00e9\u00e9"));
    EXPECT_EQ(N<QSpinBox>("numOne")->value(), 12);
}

TEST_F(Views, LongLabelDoesNotWidenTheWindow) {
    int const width = Native<QWidget>(window_)->width();
    int const least = Native<QWidget>(window_)->minimumSizeHint().width();
    PtSetResource(W("lblOne"), Pt_ARG_TEXT_STRING, std::string(5000, 'w').c_str(), 0);
    ProcessEventsFor(30);
    EXPECT_EQ(Native<QWidget>(window_)->width(), width);
    EXPECT_EQ(Native<QWidget>(window_)->minimumSizeHint().width(), least);
}

// The bytes that the user did not touch stay as they were; what was never seen goes with the first edit.
TEST_F(Views, EditingKeepsForeignBytes) {
    SetText(W("txtOne"), "\xE9\x01-\xC3\xA9");
    Sync();
    auto *field = N<QLineEdit>("txtOne");
    field->setCursorPosition(2); // after the dash
    Type(field, "x");
    EXPECT_EQ(TextOf(W("txtOne")), "\xE9-x\xC3\xA9");
    Key(field, Qt::Key_Delete);
    EXPECT_EQ(TextOf(W("txtOne")), "\xE9-x");
}

struct Filter {
    std::vector<std::string> seen;
    PtTextCallback_t last{};
};

// Letters only; a capital X becomes two asterisks' first character.
int OnlyLetters(PtWidget_t *, void *data, PtCallbackInfo_t *info) {
    auto *change = static_cast<PtTextCallback_t *>(info->cbdata);
    auto *filter = static_cast<Filter *>(data);
    filter->seen.emplace_back(change->text, static_cast<size_t>(change->length));
    filter->last = *change;
    static char stars[] = "********************";
    if (change->length > 0 && !isalpha(static_cast<unsigned char>(change->text[0])))
        change->doit = 0;
    else if (change->length > 0 && change->text[0] == 'X')
        change->text = stars;
    return Pt_CONTINUE;
}

TEST_F(Views, ModifyVerifyRefusesAndReplaces) {
    Filter filter;
    std::vector<Told> changed;
    SetText(W("txtOne"), "");
    PtAddCallback(W("txtOne"), Pt_CB_MODIFY_VERIFY, OnlyLetters, &filter);
    PtAddCallback(W("txtOne"), Pt_CB_TEXT_CHANGED, Note, &changed);
    Sync();
    auto *field = N<QLineEdit>("txtOne");
    Type(field, "a-b");
    EXPECT_EQ(TextOf(W("txtOne")), "ab");
    EXPECT_EQ(field->text(), QStringLiteral("ab"));
    EXPECT_EQ(filter.seen, (std::vector<std::string>{"a", "-", "b"}));
    EXPECT_EQ(changed.size(), 2u);
    Type(field, "X");
    EXPECT_EQ(TextOf(W("txtOne")), "ab*");
    EXPECT_EQ(field->text(), QStringLiteral("ab*"));
    EXPECT_EQ(field->cursorPosition(), 3);
    SetText(W("txtOne"), "silent-");
    EXPECT_EQ(filter.seen.size(), 4u);
    // Another text that is shorter than what was pasted is never read past its end.
    SetText(W("txtOne"), "");
    Sync();
    QInputMethodEvent commit;
    commit.setCommitString(QStringLiteral("X") + QString(29, QLatin1Char('y')));
    WithoutLock([&] { QApplication::sendEvent(field, &commit); });
    EXPECT_EQ(filter.last.length, 30);
    EXPECT_EQ(TextOf(W("txtOne")), std::string(20, '*'));
}

// A field of equal characters: only the cursor and the selection tell what was changed.
TEST_F(Views, ModifyVerifyKnowsThePlaceAmongEqualCharacters) {
    Filter filter;
    SetText(W("txtOne"), "****");
    Sync();
    PtAddCallback(W("txtOne"), Pt_CB_MODIFY_VERIFY, OnlyLetters, &filter);
    auto *field = N<QLineEdit>("txtOne");
    auto const expect = [&](int start, int end, int length) {
        EXPECT_EQ(filter.last.start_pos, start);
        EXPECT_EQ(filter.last.end_pos, end);
        EXPECT_EQ(filter.last.length, length);
    };
    WithoutLock([&] { field->setCursorPosition(2); });
    Key(field, Qt::Key_Backspace);
    expect(1, 2, 0);
    Key(field, Qt::Key_Delete);
    expect(1, 2, 0);
    WithoutLock([&] { field->setCursorPosition(1); });
    Type(field, "X"); // becomes a star like the others
    expect(1, 1, 1);
    WithoutLock([&] { field->setSelection(0, 2); });
    Type(field, "X");
    expect(0, 2, 1);
    EXPECT_EQ(TextOf(W("txtOne")), "**");
    WithoutLock([&] { field->selectAll(); });
    WithoutLock([&] { field->cut(); });
    expect(0, 2, 0);
    EXPECT_EQ(TextOf(W("txtOne")), "");
}

TEST_F(Views, AWindowClosesAsTheProgramWants) {
    auto const close = [&] { WithoutLock([&] { Native<QWidget>(window_)->close(); }); };
    std::vector<Told> told;
    PtSetResource(window_, Pt_ARG_WINDOW_MANAGED_FLAGS, Pt_FALSE, Ph_WM_CLOSE);
    PtSetResource(window_, Pt_ARG_WINDOW_NOTIFY_FLAGS, Pt_TRUE, Ph_WM_CLOSE);
    PtAddCallback(window_, Pt_CB_WINDOW, Note, &told);
    close();
    EXPECT_EQ(told.size(), 1u);
    EXPECT_TRUE(Native<QWidget>(window_)->isVisible());
    PtSetResource(window_, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED);
    close();
    EXPECT_EQ(told.size(), 1u);
}

TEST_F(Views, AWindowIsUnrealizedAndRealizedAgain) {
    PtUnrealizeWidget(window_);
    Sync();
    EXPECT_FALSE(Native<QWidget>(window_)->isVisible());
    PtRealizeWidget(window_);
    Sync();
    EXPECT_TRUE(Native<QWidget>(window_)->isVisible());
    EXPECT_TRUE(N<QWidget>("btnInPane")->isVisible());
    EXPECT_FALSE(N<QWidget>("txtHidden")->isVisible());
}

TEST(Geometry, OptionsAndFitting) {
    for (auto const &[text, length] : {std::pair{"10", 10},
                                       {"50%", 400},
                                       {"20r", 20},
                                       {"", 77},
                                       {"x", 77},
                                       {"99999999999", 77},
                                       {"2147483647", SHRT_MAX},
                                       {"2000000000%", SHRT_MAX}})
        EXPECT_EQ(OptionLength(text, 800, 77), length) << text;
    QRect const screen(0, 0, 800, 600);
    EXPECT_EQ(FitInto(QRect(-50, 700, 300, 200), screen), QRect(0, 400, 300, 200));
    EXPECT_EQ(FitInto(QRect(10, 10, 3000, 200), screen), QRect(0, 10, 800, 200));
}

} // namespace
