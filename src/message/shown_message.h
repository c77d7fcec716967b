#pragma once
// What the message view shows, as a record. Reply, forward, save attachment and view source take it; the files
// "originalmsg" and "msg.html" are written for the page server and are never read back to learn what is shown.

#include "mime/part_headers.h"
#include "widgets/header_list.h"

#include <deque>
#include <memory>
#include <string>

/// An attachment or image of a message, as treeAttachments lists it.
struct ShownPart {
    std::string label; ///< its file name, else its name, else "unknown"
    PartHeaders part;  ///< its body lies in the message's source
};

/// A message that was opened from a row. Never changed once it is shown; it lives as long as anyone holds it, so a
/// worker may read it without locks while another message is shown.
struct ShownMessage {
    RowIdentity row;    ///< the row it was opened from
    std::string page;   ///< the path of its page; empty when the page could not be written
    std::string source; ///< the raw message; it may hold NULs
    std::deque<ShownPart>
        parts; ///< the first ones of a message with very many; a deque, since the list points at them

    ShownMessage() = default;
    ShownMessage(ShownMessage const &) = delete;
    ShownMessage &operator=(ShownMessage const &) = delete;
};
using ShownMessageRef = std::shared_ptr<ShownMessage const>;

/// The message shown last, also while the home page hides it; null before the first one, after a message that could
/// not be had, and when another folder was opened. Under the library lock.
ShownMessageRef LastShownMessage();

/// Replaces it. Null: none is shown any more. Under the library lock.
void SetShownMessage(ShownMessageRef message);

/// The message that commands act on: the one shown last, when the row it came from is selected; null otherwise. Under
/// the library lock.
ShownMessageRef ChosenMessage();

/// The page of the message as text, what a reply quotes from: header table, marks and body, made from the source.
/// Empty when it could not be made. Any thread.
std::string PageText(ShownMessage const &message);
