#include "ui/letter.h"

#include "ui/person.h"

#include <QWidget>

#include <gtest/gtest.h>

QWidget *LetterWindow() { return Find("pic_btnCancel")->window(); }

void DiscardLetter() {
    WhenAsked("Discard it");
    Click("pic_btnCancel");
    EXPECT_TRUE(WaitFor([] { return !IsShown("pic_btnCancel"); }));
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
