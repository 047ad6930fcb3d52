// One component of a property value as clean wide text, in both directions: transfer encoding, character
// set and escapes (vCard 2.1, sections 2.1.4 and 2.1.5).
#pragma once

#include <cstddef>
#include <cstdint>

#include "btosif/osif_util/charset.h"
#include "osif.h"

// PropertyValue_SetText: send the text quoted-printable where it has bytes that need it.
inline constexpr uint32_t kEncodeQuotedPrintable = 0x1;

// Replaces `out` by the decoded component and returns it; empty when the value or the component does not
// exist, or when memory is short. The code page used is noted in the value, so that its other components
// are read the same way. Base64 is not decoded.
WideText& PropertyValue_GetText(PropertyValue* value, size_t index, WideText& out);

// The same by value, of the first component unless another is asked for. A shortage of memory is thrown as
// std::bad_alloc, for callers that must not take it for an empty text.
WideText DecodedText(PropertyValue* value, size_t index = 0);

// Fills one component of a value that is to be sent: escapes ";" and "\", chooses the character set
// (none for plain ASCII, else the configured one, with its CHARSET parameter) and the encoding. A text
// with line breaks is always encoded, since a property line cannot hold one. Charset and encoding hold for
// the whole value: components that are there already are changed where they would be misread. Where memory is
// short for a parameter, the text stays plain or, if a receiver would misread it so, is not put.
void PropertyValue_SetText(WideView text, PropertyValue* value, uint32_t encode_flags,
                           size_t index);
