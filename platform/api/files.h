// Files by wide name, the folders of temporary files and documents.
//
// In a wide path "\" and "/" both part folders. Where there is no Win32, names are UTF-8 on disk.
#pragma once

#include <cstdio>

#include "platform/api/last_error.h"
#include "platform/api/win_types.h"

#ifdef _WIN32
#include <shlobj.h>
#else

inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

// CreateFileW's dispositions.
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(intptr_t{-1});

// Opens a stream as fopen does. Null on failure, with errno and GetLastError set. Close it with
// fclose.
FILE* _wfopen(LPCWSTR name, LPCWSTR mode);

// Renames a file. Fails with ERROR_ALREADY_EXISTS when the new name is taken.
BOOL MoveFileW(LPCWSTR old_name, LPCWSTR new_name);

BOOL DeleteFileW(LPCWSTR name);

// Opens or creates a file. With a `share` of 0, a second opening of that kind fails with
// ERROR_SHARING_VIOLATION, in this program or another, until the handle is closed or its program ends;
// other values, and `attributes`, are the other programs' and the file system's business and change
// nothing here. `security` and `model` must be null. INVALID_HANDLE_VALUE on failure. Close the result
// with CloseHandle.
HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, void* security, DWORD disposition,
                   DWORD attributes, HANDLE model);

// Reads at most `size` bytes; 0 bytes read with success is the end of the file. `overlapped`: null.
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, DWORD* read, void* overlapped);

// Writes `size` bytes, all of them unless it fails. `overlapped`: null.
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, DWORD* written, void* overlapped);

BOOL CloseHandle(HANDLE handle);

// The file of a stream, as the calls above and below take it. It stays the stream's: it is not closed.
HANDLE _fileno(FILE* stream);

// Waits until what was written to the file is on the disk.
BOOL FlushFileBuffers(HANDLE file);

// Moves a file's position to this distance (64 bits, the upper half in `distance_high`) from its beginning,
// the only `method` there is. Returns the lower half of the position; all bits set on failure.
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFFu;
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distance_high, DWORD method);

// Makes the file end at its position.
BOOL SetEndOfFile(HANDLE file);

// The folder of temporary files, ending in a backslash. Returns its length without the terminator;
// when `room` (in characters) is too small, the room it needs; 0 on failure.
DWORD GetTempPathW(DWORD room, LPWSTR buffer);

// "<folder>\<prefix><number>.TMP" into `buffer`, which has MAX_PATH characters of room; of the
// prefix, the first three characters count. With `number` 0 it finds an unused one and creates the
// empty file. Returns the number, 0 on failure.
UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR buffer);

// The documents folder (number 5, the only one there is) into `buffer`, MAX_PATH characters of
// room, without a closing backslash. `create` makes it when it is missing.
inline constexpr int CSIDL_PERSONAL = 5;
BOOL SHGetSpecialFolderPath(HWND owner, LPWSTR buffer, int folder, BOOL create);

#endif
