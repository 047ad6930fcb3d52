// An owner of an automation string.
#pragma once

#include <string_view>
#include <utility>

#include "platform/api/automation.h"

class Bstr {
 public:
  Bstr() = default;
  // A copy of the text. Null when memory is short.
  explicit Bstr(std::u16string_view text)
      : string_(SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                  static_cast<UINT>(text.size()))) {}
  Bstr(Bstr&& other) noexcept : string_(std::exchange(other.string_, nullptr)) {}
  Bstr& operator=(Bstr&& other) noexcept {
    std::swap(string_, other.string_);
    return *this;
  }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() { SysFreeString(string_); }

  // For out parameters: lets go of what it held and gives the place to fill.
  BSTR* put() {
    SysFreeString(std::exchange(string_, nullptr));
    return &string_;
  }
  // May be null, which is an empty text.
  BSTR get() const { return string_; }
  // Hands the string over to the caller.
  BSTR release() { return std::exchange(string_, nullptr); }

  // In characters.
  size_t size() const { return SysStringLen(string_); }
  size_t length() const { return size(); }
  bool empty() const { return size() == 0; }
  explicit operator bool() const { return string_ != nullptr; }

  // Valid as long as this owner holds the string.
  std::u16string_view view() const {
    if (string_ == nullptr) return {};
    return {reinterpret_cast<const char16_t*>(string_), size()};
  }
  operator std::u16string_view() const { return view(); }

 private:
  BSTR string_ = nullptr;
};
