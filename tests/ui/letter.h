#pragma once
// The window in which a letter or an article is written, as its user uses it.

#include <string>

class QWidget;

/// The compose window that is shown; with several the first.
QWidget *LetterWindow();
/// Cancels a letter that has a text, and answers the question.
void DiscardLetter();
/// Attaches a file, an empty path leaves the dialog without one. The button does nothing while an earlier file is
/// still read: it is pressed until it does.
void Attach(std::string const &path);
