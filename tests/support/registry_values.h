// Keys of the registry and what is stored under them.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/api/registry.h"
#include "tests/support/settings.h"

namespace support {

inline HKEY CreateKey(const WCHAR* path) {
  HKEY key = nullptr;
  EXPECT_EQ(
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
      ERROR_SUCCESS);
  return key;
}

// Stored with its terminator.
inline void SetText(const WCHAR* path, const WCHAR* name, const std::u16string& text) {
  SetValue(path, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
}

// A value as it is stored.
struct Stored {
  LONG error;
  DWORD type;
  std::vector<BYTE> bytes;

  std::u16string Text() const {
    std::u16string text(bytes.size() / sizeof(WCHAR), u'\0');
    if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
    return text;
  }
};

inline Stored Get(const WCHAR* path, const WCHAR* name) {
  HKEY key = nullptr;
  Stored stored{RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), 0, {}};
  DWORD size = 0;
  if (stored.error == ERROR_SUCCESS) {
    stored.error = RegQueryValueExW(key, name, nullptr, &stored.type, nullptr, &size);
  }
  stored.bytes.resize(size);
  if (stored.error == ERROR_SUCCESS) {
    stored.error = RegQueryValueExW(key, name, nullptr, nullptr, stored.bytes.data(), &size);
  }
  return stored;
}

}  // namespace support
