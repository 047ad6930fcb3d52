// Optional interfaces of a PIM store that keeps track of its changes itself. The handheld's own has none: whoever
// wants to know its changes compares it with what it was. They are ours, so they stand beside the platform's headers
// and not among them.
#pragma once

#include "platform/api/pimstore.h"

inline constexpr IID IID_IItemStamp = {
    0xA3C1F7D0, 0x6B52, 0x4E0B, {0x9C, 0x41, 0x2E, 0x5D, 0x17, 0x88, 0xB0, 0x64}};
inline constexpr IID IID_IChangedItems = {
    0xA3C1F7D1, 0x6B52, 0x4E0B, {0x9C, 0x41, 0x2E, 0x5D, 0x17, 0x88, 0xB0, 0x64}};
inline constexpr IID IID_IStoreChanges = {
    0xA3C1F7D2, 0x6B52, 0x4E0B, {0x9C, 0x41, 0x2E, 0x5D, 0x17, 0x88, 0xB0, 0x64}};

// Of an item: a change of it, whoever's, gives it another number than it has had.
struct IItemStamp : IUnknown {
  static constexpr const IID& kIid = IID_IItemStamp;

  // As the object's own last Save left it; 0 before one.
  virtual HRESULT get_Stamp(LONGLONG* stamp) = 0;
};

// The items that were written to between two marks, by folder and id, each once.
struct IChangedItems : IDispatch {
  // The next one, its folder (an OlDefaultFolders; 0 when it was deleted) and its stamp. S_FALSE after the last.
  virtual HRESULT Next(LONG* oid, int* folder, LONGLONG* stamp) = 0;
};

// Of the application.
struct IStoreChanges : IUnknown {
  static constexpr const IID& kIid = IID_IStoreChanges;

  // The mark of this moment: a short text of ASCII letters, digits and "-", to be kept with what was read of the
  // store after it was made.
  virtual HRESULT GetMark(BSTR* mark) = 0;

  // What was written after one mark and not after another. S_FALSE and null when the store does not know one of
  // them (any more): anything may have changed then.
  virtual HRESULT GetChanges(BSTR since, BSTR until, IChangedItems** items) = 0;

  // Puts on the disk what was written to the device's database until now, messages and settings included.
  virtual HRESULT Flush() = 0;
};
