// Automation: interfaces, strings, and the creation of objects by class.
#pragma once

#include "platform/api/win_types.h"

#ifdef _WIN32
#include <objbase.h>
#include <oleauto.h>
#else

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// The order of the members is the order of the slots in the table of virtual functions.
struct IUnknown {
  // Another interface of the object, with a reference of its own; E_NOINTERFACE and null if it has
  // none.
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  // Both give the number of references that are left.
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;  // objects end with their last Release
};

using DISPID = LONG;
struct ITypeInfo;
struct DISPPARAMS;
struct VARIANT;
struct EXCEPINFO;

// Calls by name, which no caller of ours makes; objects answer E_NOTIMPL.
struct IDispatch : IUnknown {
  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
  virtual HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                DISPID* ids) = 0;
  virtual HRESULT Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                         VARIANT* result, EXCEPINFO* exception, UINT* argument) = 0;

 protected:
  ~IDispatch() = default;
};

// A BSTR is UTF-16 with a terminator; the four bytes before it hold its length in bytes, so it may
// hold zero characters. Null is an empty one to every function that reads it.

// A copy of a zero-terminated text. Null for a null text and when memory is short.
BSTR SysAllocString(const OLECHAR* text);
// A string of `length` characters, copied from `text`; undefined characters when `text` is null.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
// Its length in characters, 0 for null.
UINT SysStringLen(BSTR string);
// Releases it, ignores null.
void SysFreeString(BSTR string);

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;

// Creates an object of a class and gives the interface that is asked for. `outer` must be null.
// REGDB_E_CLASSNOTREG for an unknown class.
HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid,
                         void** object);

#endif
