// Conversion between UTF-16 and the 8-bit and multi-byte code pages, by code page number.
#pragma once

#include "platform/api/last_error.h"
#include "platform/api/win_types.h"

#ifndef _WIN32

inline constexpr UINT CP_ACP = 0;  // the system's default code page
inline constexpr UINT CP_UTF7 = 65000;
inline constexpr UINT CP_UTF8 = 65001;

// Flags of MultiByteToWideChar: the default, which changes nothing; and that malformed bytes make
// it fail with ERROR_NO_UNICODE_TRANSLATION.
inline constexpr DWORD MB_PRECOMPOSED = 1;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8;

inline constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x0800;
inline constexpr LCTYPE LOCALE_IDEFAULTANSICODEPAGE = 0x1004;

// Bytes in a code page to UTF-16.
//
// `length` is in bytes; -1 takes a zero-terminated text and converts its terminator too. `room` is
// in UTF-16 units; with 0 nothing is written and the result is the room that is needed. Returns the
// number of units written. 0 is failure, and GetLastError tells why: ERROR_INVALID_PARAMETER
// (unknown code page, null text, length 0), ERROR_INSUFFICIENT_BUFFER (the room is filled as far as
// it goes), ERROR_INVALID_FLAGS. Malformed bytes give U+FFFD and the text goes on after them.
int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR text, int length, LPWSTR buffer,
                        int room);

// UTF-16 to bytes in a code page, by the same rules; `length` is in UTF-16 units, `room` in bytes.
// What the code page has no character for becomes "?" and sets `used_default` (may be null).
// `default_char` and `flags` must be null and 0.
int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR text, int length, LPSTR buffer,
                        int room, LPCSTR default_char, BOOL* used_default);

// Whether the two functions above convert this code page.
BOOL IsValidCodePage(UINT code_page);

// The system's default code page: the registry's "AnsiCodePage" (HKEY_LOCAL_MACHINE,
// "Software\Corvane\Device", DWORD) if it names a valid one, else that of the locale in the
// environment.
UINT GetACP();

// LOCALE_IDEFAULTANSICODEPAGE: GetACP as a decimal text. Returns its length, terminator included;
// with a `room` of 0 nothing is written. 0 is failure.
int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int room);

#endif
