// The text of a message's body: in the record as the formats carry it, in the messaging store as UTF-16.
#pragma once

#include "btosif/osif_util/charset.h"
#include "osif.h"

// The text of a part: its transfer encoding (RFC 2045, section 6) undone and its character set converted.
// A text that is not in the encoding that it claims counts as plain; an unknown or missing character set
// is the configured one. Throws std::bad_alloc.
WideText mapi_DecodeBody(const MessagePart& part);

// The decoded text of a part as the messaging store holds it: its lines end with both carriage return and line
// feed, and of HTML only the text is left (empty where there is none, as for a picture). Markup without a BODY
// element counts as the content of one; a text that claims to be HTML and has no markup is plain text. Throws
// std::bad_alloc.
WideText mapi_PlainText(const MessagePart& part, const WideText& content);

// Fills an empty part with a text, its lines ended by line feeds: as it is when it is plain ASCII, else
// quoted-printable in the configured character set, or in UTF-8 where that cannot hold the text. Throws
// std::bad_alloc.
void mapi_EncodeBody(WideView text, MessagePart& part);
