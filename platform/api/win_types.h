// The handheld's basic types, result values and error numbers, under their own names and with their
// own sizes. On Windows they come from <windows.h>.
#pragma once

#ifdef _WIN32
#include <oaidl.h>
#include <windows.h>
#else

#include <cstddef>
#include <cstdint>

typedef char16_t WCHAR;

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using LONGLONG = int64_t;
using UINT = uint32_t;
using BOOL = int;
using CHAR = char;
using SIZE_T = size_t;
using ULONG_PTR = uintptr_t;
using LSTATUS = LONG;  // what the registry functions return: an ERROR_ number
using LCID = DWORD;
using LCTYPE = DWORD;

using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using LPBOOL = BOOL*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using OLECHAR = WCHAR;
using LPOLESTR = WCHAR*;
using HANDLE = void*;
using HWND = struct HWND__*;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr int MAX_PATH = 260;  // characters, terminator included

// ---- Times -------------------------------------------------------------------------------------

// 100-nanosecond intervals since 1 January 1601, in two halves.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// A calendar date and time. Sunday is day of week 0.
struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

// ---- Automation types --------------------------------------------------------------------------

using DATE = double;  // days since 30 December 1899, the fraction being the time of day
using BSTR = WCHAR*;  // see automation.h
using VARIANT_BOOL = int16_t;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];

  friend constexpr bool operator==(const GUID& left, const GUID& right) = default;
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

// ---- Result values -----------------------------------------------------------------------------

using HRESULT = int32_t;
using SCODE = int32_t;

constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
constexpr bool FAILED(HRESULT result) { return result < 0; }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);

// ---- Error numbers -----------------------------------------------------------------------------

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_OUTOFMEMORY = 14;
inline constexpr LONG ERROR_NOT_SAME_DEVICE = 17;
inline constexpr LONG ERROR_WRITE_PROTECT = 19;
inline constexpr LONG ERROR_GEN_FAILURE = 31;
inline constexpr LONG ERROR_SHARING_VIOLATION = 32;
inline constexpr LONG ERROR_FILE_EXISTS = 80;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_BUFFER_OVERFLOW = 111;
inline constexpr LONG ERROR_DISK_FULL = 112;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_INVALID_NAME = 123;
inline constexpr LONG ERROR_DIR_NOT_EMPTY = 145;
inline constexpr LONG ERROR_BUSY = 170;
inline constexpr LONG ERROR_ALREADY_EXISTS = 183;
inline constexpr LONG ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_DIRECTORY = 267;
inline constexpr LONG ERROR_ARITHMETIC_OVERFLOW = 534;
inline constexpr LONG ERROR_INVALID_FLAGS = 1004;
inline constexpr LONG ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr LONG ERROR_IO_DEVICE = 1117;
inline constexpr LONG ERROR_REVISION_MISMATCH = 1306;
inline constexpr LONG ERROR_FILE_CORRUPT = 1392;

// The result value of an error number; a value that is one already stays as it is.
constexpr HRESULT HRESULT_FROM_WIN32(DWORD error) {
  if (static_cast<HRESULT>(error) <= 0) return static_cast<HRESULT>(error);
  return static_cast<HRESULT>((error & 0xFFFFu) | 0x80070000u);
}

#endif
