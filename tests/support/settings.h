// Values in the device's registry.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "platform/api/registry.h"

namespace support {

inline void SetValue(const WCHAR* path, const WCHAR* name, DWORD type, const void* data,
                     size_t size) {
  HKEY key = nullptr;
  WCHAR no_class[] = u"";
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, no_class, REG_OPTION_NON_VOLATILE,
                            KEY_WRITE, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(
      RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)),
      ERROR_SUCCESS);
  RegCloseKey(key);
}

inline void SetNumber(const WCHAR* path, const WCHAR* name, uint32_t number) {
  SetValue(path, name, REG_DWORD, &number, sizeof number);
}

// The stack's general settings.
inline void SetSetting(const WCHAR* name, uint32_t number) {
  SetNumber(u"Software\\Corvane\\BTConfig\\General", name, number);
}

inline void SetSetting(const WCHAR* name, const std::u16string& text) {
  SetValue(u"Software\\Corvane\\BTConfig\\General", name, REG_SZ, text.c_str(),
           (text.size() + 1) * sizeof(WCHAR));
}

// The system's default code page.
inline void SetSystemCodePage(uint32_t code_page) {
  SetNumber(u"Software\\Corvane\\Device", u"AnsiCodePage", code_page);
}

}  // namespace support
