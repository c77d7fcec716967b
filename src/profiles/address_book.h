#pragma once
// The window winAddressBook: named books of contacts, whose addresses are picked into a field of a compose window.
// One window for the whole program. All calls on the main thread under the library lock.

#include "Ap.h"

/// Opens the window, or brings it to the front, with double clicks picking into the text field `target`, which may be
/// null: then nothing is picked. The window forgets the field when the field is destroyed.
void OpenAddressBook(PtWidget_t *target);

/// Picks no longer into `field`, should it be the target. For a compose window that goes.
void ForgetAddressTarget(PtWidget_t *field);

/// Button and menu entry of the main window: the window without a target.
int OnAddressBook(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Fills the list of books and loads the first one, ConfigRoot/.global.
int OnAddressBookRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// Folds the window up to the list.
int OnAddressBookWindow(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// Loads the book that was chosen (a PtListCallback_t).
int OnBookChosen(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// On a double click appends ", " (not to an empty field) and the contact's address to the target field.
int OnContactSelected(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

int OnAddContact(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnEditContact(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnDeleteContact(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// Carries out what Add or Edit has begun, in the book that cmbAddressBook names: a name without a file becomes a new
/// book. A name that no book can have gets an alert, and the fields stay.
int OnSaveContacts(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Modify-verify of the three fields: TABs and line breaks, which would end a field or the line, become blanks.
int OnContactVerify(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
