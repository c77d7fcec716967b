#pragma once
// The window in which a letter or an article is written, as its person uses it.

#include <QString>

#include <string>

class QLineEdit;
class QWidget;

/// The places of the text fields: of a letter, and of an article.
constexpr int kTo = 0, kCc = 1, kSubject = 2;
constexpr int kGroup = 0, kArticleSubject = 1;

/// The compose window that is shown; with several the first.
QWidget *LetterWindow();
QLineEdit *Field(int place);
/// Clicks into the widget and types.
void TypeInto(QWidget *widget, QString const &text);
/// Opens a window for mail and fills it, the text last.
void WriteLetter(QString const &to, QString const &subject, QString const &text);
/// Waits until the window has gone. False when it does not.
bool LetterGoes();
/// Cancels a letter that has a text, and answers the question.
void DiscardLetter();
/// Attaches a file, an empty path leaves the dialog without one. The button does nothing while an earlier file is
/// still read: it is pressed until it does.
void Attach(std::string const &path);
