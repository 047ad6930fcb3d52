// The registry: keys by path, below them typed values by name. Names are compared without regard to
// case.
//
// Every function returns ERROR_SUCCESS or an error number. When the place where the registry is
// kept cannot be used, all of them return an error number (ERROR_ACCESS_DENIED, ERROR_FILE_CORRUPT
// or ERROR_REVISION_MISMATCH).
#pragma once

#include "platform/api/win_types.h"

#ifndef _WIN32

using HKEY = struct HKEY__*;
using REGSAM = DWORD;

// The only root there is.
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(uintptr_t{0x80000002u});

inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;

inline constexpr DWORD REG_SZ = 1;  // zero-terminated UTF-16; its size counts the terminator
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;  // four bytes, least significant first

// RegCreateKeyExW's disposition.
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// Opens an existing key; a null or empty `subkey` opens `key` again. ERROR_FILE_NOT_FOUND when
// there is none. As on the handheld, `access` restricts nothing. Close the result with RegCloseKey;
// a key that is never closed costs nothing beyond the first opening of its path.
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, HKEY* result);

// Opens a key, creating it and its missing parents. `disposition` (may be null) tells which it was.
LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subkey, DWORD reserved, LPWSTR class_name, DWORD options,
                        REGSAM access, void* security, HKEY* result, DWORD* disposition);

// Reads a value as it was stored. `size`: in, the room at `data`; out, the value's size, both in
// bytes. A null `data` asks for type and size alone. `type` may be null. ERROR_FILE_NOT_FOUND when
// there is no such value; ERROR_MORE_DATA when the room is too small: `data` is then untouched.
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* size);

// Stores `size` bytes as the value, in place of what it held. A text's size counts its terminator.
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size);

// Removes a value. ERROR_FILE_NOT_FOUND when there is no such value.
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);

// ERROR_INVALID_HANDLE for what is no key.
LSTATUS RegCloseKey(HKEY key);

#endif
