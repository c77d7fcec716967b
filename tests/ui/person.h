#pragma once
// A person at the real windows: finds widgets by name, clicks, types, reads what is shown. Everything here runs on
// the GUI thread with the library let go, as between two events.

#include <QString>
#include <QStringList>

#include <functional>
#include <string>

class QWidget;
class QAction;

/// One run of the program, from its start to its end, in a process of its own: `work` is done in front of the open
/// main window; afterwards the window is closed and the program must end by itself. Expectations that fail in it fail
/// the test that called. `options` are the program's.
void Sitting(std::function<void()> const &work, QStringList const &options = {});
/// The same, but the process ends as the program does: at once, with workers still in the middle of theirs.
void SittingToTheEnd(std::function<void()> const &work);

/// Processes events until `ready` holds. False when it does not within the time.
bool WaitFor(std::function<bool()> const &ready, int milliseconds = 10000);
/// Processes events for about this long.
void Wait(int milliseconds);

/// The visible widget of that name; fails the test when there is none within 5 s.
QWidget *Find(char const *name);
bool IsShown(char const *name);

void Click(char const *name);
/// Clicks into a text field, empties it and types.
void Type(char const *name, QString const &text);
/// Types into the field that has the focus, or the named one without emptying it.
void TypeMore(char const *name, QString const &text);
void Press(char const *name, Qt::Key key, Qt::KeyboardModifiers modifiers = {});
/// The text of a label, field, spin box or page.
QString Text(char const *name);
/// Waits until the page of the message view shows `text`.
bool PageShows(QString const &text);
/// Opens the menu of the menu bar that holds the entry, and clicks it.
void ChooseFromMenuBar(char const *entry);

/// The number of rows that a list shows, all levels.
int RowCount(char const *list);
/// A click in the middle of the n-th row of a list as it happens to be. False when there is no such row.
bool ClickOn(char const *list, int number, Qt::MouseButton button = Qt::LeftButton);

/// The rows of a list, columns joined by "|", blanks around a column cut.
QStringList Rows(char const *tree);
/// Clicks the first row (or folder of the profile tree) whose text contains `text`; fails when there is none.
void ClickRow(char const *tree, QString const &text);
void DoubleClickRow(char const *tree, QString const &text);
/// The right button on a row, then the entries of the menu that opens, one after another ("Copy To...", "Saved").
void ChooseFromRowMenu(char const *tree, QString const &text, QStringList const &entries);

/// Clicks the entry in whichever menu is open; false when none has it.
bool ClickEntry(QString const &label);

/// What to do when the box appears that the next action opens; that action returns only after it. The texts of boxes
/// that came are in Boxes().
void WhenAsked(QString const &button);
void WhenAskedForText(QString const &text, QString const &button);
void WhenAskedForFile(QString const &path);
void WhenAskedToPrint(QString const &pdf);
/// "title|message" of each box answered so far.
QStringList const &Boxes();
/// The name that the last file dialog proposed.
QString const &ProposedFile();

/// Clicks the button in the box that is open now (PtAlert, say); false when there is no such box or button.
bool AnswerNow(char const *box, QString const &button);

/// Saves the window that holds the widget as an image below $CORVANTA_SCREENSHOTS, when that is set.
void TakePicture(char const *name, char const *file);

/// A whole file; empty when there is none.
std::string FileText(std::string const &path);
