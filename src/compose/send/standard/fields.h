#pragma once
// The header fields of an outgoing message and of its parts, encoded as RFC 2047 and RFC 2231 say. Private to this
// folder.

#include "compose/send/standard/message_file.h"

/// All fields of the message but Bcc and those of its body, each ended by CR LF.
std::string MessageFields(StandardMessage const &message);

/// The Bcc field, empty without blind copies.
std::string BlindCopyField(StandardMessage const &message);

/// Content-Type, Content-Disposition and Content-Transfer-Encoding of an attachment.
std::string FileFields(AttachedFile const &file);

/// A boundary that no encoded text can hold.
std::string NewBoundary();
