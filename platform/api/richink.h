// The rich-ink edit control: a window of the class "RichInk" that turns plain text into an ink
// document.
//
//   HWND control = CreateWindowW(RICHINK_CLASS, nullptr, 0, CW_USEDEFAULT, CW_USEDEFAULT,
//                                CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, nullptr, nullptr);
//   EDITSTREAM in = {cookie, 0, ReadBlock};
//   SendMessageW(control, EM_STREAMIN, SF_TEXT | SF_UNICODE, reinterpret_cast<LPARAM>(&in));
//   EDITSTREAM out = {cookie, 0, WriteBlock};
//   SendMessageW(control, EM_STREAMOUT, SF_PWI, reinterpret_cast<LPARAM>(&out));
//   DestroyWindow(control);
#pragma once

#include "platform/api/last_error.h"
#include "platform/api/win_types.h"

#ifdef _WIN32
#include <richink.h>
#else

// Marks the calling convention of callbacks where a system has several.
#define CALLBACK

using DWORD_PTR = uintptr_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using HMENU = void*;
using HINSTANCE = void*;

inline constexpr LONG ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr LONG ERROR_CANNOT_FIND_WND_CLASS = 1407;

inline constexpr int CW_USEDEFAULT = static_cast<int>(0x80000000u);
inline constexpr LPCWSTR RICHINK_CLASS = u"RichInk";

// ---- Messages of the control -------------------------------------------------------------------

inline constexpr UINT EM_STREAMIN = 1097;
inline constexpr UINT EM_STREAMOUT = 1098;

// Formats of a stream, the messages' WPARAM. Taken are SF_TEXT | SF_UNICODE (17) for EM_STREAMIN
// and SF_PWI (67586) for EM_STREAMOUT.
inline constexpr WPARAM SF_TEXT = 0x0001;
inline constexpr WPARAM SF_RTF = 0x0002;
inline constexpr WPARAM SF_UNICODE = 0x0010;
inline constexpr WPARAM SFF_PWD = 0x0800;
inline constexpr WPARAM SF_PWI = SF_RTF | SFF_PWD | 0x010000;

// Moves one block. EM_STREAMIN: puts at most `size` bytes into `buffer` and their number into
// `*done`, 0 at the end of the text. EM_STREAMOUT: takes the `size` bytes of `buffer` and puts the
// number it took into `*done`; the rest comes again. Anything but 0 as the result ends the transfer.
using EDITSTREAMCALLBACK = DWORD(CALLBACK*)(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* done);

// The messages' LPARAM is a pointer to this. `dwError` is set by the message: 0 when all went well,
// else what the callback returned, or a result value of the control's own (E_INVALIDARG,
// E_OUTOFMEMORY, E_FAIL for a callback that reports an impossible number or takes nothing).
struct EDITSTREAM {
  DWORD_PTR dwCookie;  // handed to the callback
  DWORD dwError;
  EDITSTREAMCALLBACK pfnCallback;
};

// ---- Functions ---------------------------------------------------------------------------------

// Makes the class "RichInk" known. May be called any number of times.
BOOL InitRichInkDLL();

// A new window, hidden unless its style says otherwise (the embedded device has no screen and shows
// none). Null with ERROR_CANNOT_FIND_WND_CLASS for a class that is not known, with
// ERROR_NOT_ENOUGH_MEMORY when memory is short. Release it with DestroyWindow.
HWND CreateWindowExW(DWORD extended_style, LPCWSTR class_name, LPCWSTR name, DWORD style, int x,
                     int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                     LPVOID parameter);

inline HWND CreateWindowW(LPCWSTR class_name, LPCWSTR name, DWORD style, int x, int y, int width,
                          int height, HWND parent, HMENU menu, HINSTANCE instance,
                          LPVOID parameter) {
  return CreateWindowExW(0, class_name, name, style, x, y, width, height, parent, menu, instance,
                         parameter);
}

// EM_STREAMIN replaces the control's text by the UTF-16LE text of the stream, which ends at its
// first zero character or with the stream; returns the number of characters (UTF-16 units) taken.
// EM_STREAMOUT writes the text as an ink document; returns the number of bytes written. Other
// messages do nothing and return 0. 0 with ERROR_INVALID_WINDOW_HANDLE when there is no such window.
LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// FALSE with ERROR_INVALID_WINDOW_HANDLE when there is no such window (any more).
BOOL DestroyWindow(HWND window);

#endif
