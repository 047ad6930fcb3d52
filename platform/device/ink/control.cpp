// The control holds a text and does nothing else: streaming in replaces it, streaming out writes it as a
// document, both in blocks that the caller's callback fills or takes.
//
// A window handle is a number that is looked up and never used twice, so that one of a destroyed window, or
// one that never was, harms nothing. Callbacks run without the lock, and with a reference to their control:
// they may call back, even to destroy their own window.

#include "platform/device/ink/control.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "platform/api/richink.h"
#include "platform/device/ink/text.h"
#include "platform/device/ink/writer.h"

namespace device {
namespace {

constexpr LONG kBlockSize = 4096;

class RichInkControl {
 public:
  LRESULT Handle(UINT message, WPARAM format, EDITSTREAM* stream) {
    if (message != EM_STREAMIN && message != EM_STREAMOUT) return 0;
    if (stream == nullptr) return 0;
    stream->dwError = 0;
    const WPARAM known_format = message == EM_STREAMIN ? (SF_TEXT | SF_UNICODE) : SF_PWI;
    if (format != known_format || stream->pfnCallback == nullptr) {
      stream->dwError = static_cast<DWORD>(E_INVALIDARG);
      return 0;
    }
    return message == EM_STREAMIN ? StreamIn(*stream) : StreamOut(*stream);
  }

 private:
  // What came before a callback failed, or before the limit, is kept.
  LRESULT StreamIn(EDITSTREAM& stream) {
    std::string bytes;
    BYTE block[kBlockSize];
    while (bytes.size() / 2 <= kMaxInkText) {
      const LONG size = ReadBlock(stream, block);
      if (size == 0) break;
      bytes.append(reinterpret_cast<const char*>(block), static_cast<size_t>(size));
    }
    text_ = TextOf(bytes);
    if (text_.size() > kMaxInkText) {
      text_.resize(kMaxInkText);
      stream.dwError = static_cast<DWORD>(E_OUTOFMEMORY);
    }
    return static_cast<LRESULT>(text_.size());
  }

  // The number of bytes that were read; 0 at the end and when it fails.
  static LONG ReadBlock(EDITSTREAM& stream, BYTE (&block)[kBlockSize]) {
    LONG size = 0;
    // A callback that tells of more bytes than the block has room for has written past it, or lies: either way
    // nothing of it can be taken.
    stream.dwError = stream.pfnCallback(stream.dwCookie, block, kBlockSize, &size);
    if (stream.dwError == 0 && (size < 0 || size > kBlockSize)) {
      stream.dwError = static_cast<DWORD>(E_FAIL);
    }
    return stream.dwError == 0 ? size : 0;
  }

  // UTF-16LE, up to the first zero character.
  static std::u16string TextOf(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
      const auto low = static_cast<unsigned char>(bytes[at]);
      const auto high = static_cast<unsigned char>(bytes[at + 1]);
      if (low == 0 && high == 0) break;
      text += static_cast<char16_t>(low | high << 8);
    }
    return text;
  }

  LRESULT StreamOut(EDITSTREAM& stream) const {
    std::string document = WriteInkDocument(text_);
    size_t written = 0;
    while (written < document.size()) {
      const size_t left = document.size() - written;
      const LONG size = static_cast<LONG>(std::min<size_t>(left, kBlockSize));
      LONG done = 0;
      stream.dwError = stream.pfnCallback(
          stream.dwCookie, reinterpret_cast<BYTE*>(document.data() + written), size, &done);
      if (stream.dwError == 0 && (done <= 0 || done > size)) {
        stream.dwError = static_cast<DWORD>(E_FAIL);
      }
      if (stream.dwError != 0) break;
      written += static_cast<size_t>(done);
    }
    return static_cast<LRESULT>(written);
  }

  std::u16string text_;
};

// The classes and windows of the program.
class WindowTable {
 public:
  bool SetClass(bool is_known) {
    const std::lock_guard lock(mutex_);
    return std::exchange(is_class_known_, is_known);
  }

  HWND Create(LPCWSTR class_name) {
    const std::lock_guard lock(mutex_);
    if (!is_class_known_ || !IsRichInk(class_name)) {
      SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
      return nullptr;
    }
    const HWND window = reinterpret_cast<HWND>(++last_handle_);
    windows_[window] = std::make_shared<RichInkControl>();
    return window;
  }

  // Null when there is no such window. The control stays as long as the caller holds it, even when it is
  // destroyed meanwhile.
  std::shared_ptr<RichInkControl> Find(HWND window) {
    const std::lock_guard lock(mutex_);
    const auto found = windows_.find(window);
    return found == windows_.end() ? nullptr : found->second;
  }

  bool Destroy(HWND window) {
    const std::lock_guard lock(mutex_);
    return windows_.erase(window) != 0;
  }

 private:
  // Class names are compared without regard to the case of letters.
  static bool IsRichInk(LPCWSTR class_name) {
    if (class_name == nullptr) return false;
    auto lower = [](WCHAR c) { return c >= u'A' && c <= u'Z' ? static_cast<WCHAR>(c | 0x20) : c; };
    const std::basic_string_view<WCHAR> name(class_name);
    const std::basic_string_view<WCHAR> known(RICHINK_CLASS);
    return std::equal(name.begin(), name.end(), known.begin(), known.end(),
                      [&](WCHAR left, WCHAR right) { return lower(left) == lower(right); });
  }

  std::mutex mutex_;
  bool is_class_known_ = false;
  uintptr_t last_handle_ = 0;
  std::map<HWND, std::shared_ptr<RichInkControl>> windows_;
};

WindowTable& Windows() {
  static WindowTable table;
  return table;
}

}  // namespace

bool SetRichInkClass(bool is_known) { return Windows().SetClass(is_known); }

}  // namespace device

BOOL InitRichInkDLL() {
  device::SetRichInkClass(true);
  return TRUE;
}

HWND CreateWindowExW(DWORD, LPCWSTR class_name, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU,
                     HINSTANCE, LPVOID) try {
  return device::Windows().Create(class_name);
} catch (const std::bad_alloc&) {
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return nullptr;
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const std::shared_ptr<device::RichInkControl> control = device::Windows().Find(window);
  if (control == nullptr) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return 0;
  }
  auto* stream = reinterpret_cast<EDITSTREAM*>(lparam);
  try {
    return control->Handle(message, wparam, stream);
  } catch (const std::bad_alloc&) {
    stream->dwError = static_cast<DWORD>(E_OUTOFMEMORY);
    return 0;
  }
}

BOOL DestroyWindow(HWND window) {
  if (device::Windows().Destroy(window)) return TRUE;
  SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return FALSE;
}
