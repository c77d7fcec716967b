#include "ui/letter.h"

#include "ui/person.h"

#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

QWidget *LetterWindow() { return Find("pic_btnCancel")->window(); }

QLineEdit *Field(int place) {
    return LetterWindow()->findChildren<QLineEdit *>(QStringLiteral("pic_txtTextbox")).value(place);
}

void TypeInto(QWidget *widget, QString const &text) {
    QTest::mouseClick(widget, Qt::LeftButton);
    QTest::keyClicks(widget, text);
}

void WriteLetter(QString const &to, QString const &subject, QString const &text) {
    Click("btnCompose");
    TypeInto(Field(kTo), to);
    TypeInto(Field(kSubject), subject);
    TypeInto(Find("pic_multiMessage"), text);
}

bool LetterGoes() {
    return WaitFor([] { return !IsShown("pic_btnCancel"); });
}

void DiscardLetter() {
    WhenAsked("Discard it");
    Click("pic_btnCancel");
    LetterGoes();
}

void Attach(std::string const &path) {
    qsizetype const boxes = Boxes().size();
    WhenAskedForFile(QString::fromStdString(path));
    EXPECT_TRUE(WaitFor(
        [=] {
            Click("pic_btnAttachment");
            return Boxes().size() > boxes;
        },
        60000));
}
