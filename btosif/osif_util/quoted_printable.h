// The quoted-printable encoding (RFC 2045, section 6.7) in the form that vCard 2.1 and vCalendar 1.0 use:
// soft line breaks belong to the line reader and the line writer, so neither direction sees them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Encodes every byte but blank, tab and 33 to 126 without "=", ":", ";" and "\" as "=" and two upper-case
// hexadecimal digits. Returns the whole encoded length; at most `room` bytes are written to `out`, an
// encoded byte only while three more fit. A null `out` only measures.
size_t QuotedPrintableEncode(std::string_view text, char* out, size_t room);

// Decodes; returns the decoded length, at most `room` bytes are written. A digit that is none counts as
// 255, so a broken escape gives a wrong byte rather than an error.
size_t QuotedPrintableDecode(std::string_view text, char* out, size_t room);

// The same into a string of their own.
std::string QuotedPrintableEncode(std::string_view text);
std::string QuotedPrintableDecode(std::string_view text);
