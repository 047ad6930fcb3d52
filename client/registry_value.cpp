#include "client/registry_value.h"

#include <vector>

#include "platform/api/registry.h"

namespace client {
namespace {

// An open key, closed at the end; false when it could not be opened.
class Key {
 public:
  enum class Access { kRead, kWrite };

  Key(const WCHAR* path, Access access) {
    const LSTATUS status =
        access == Access::kRead
            ? RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key_)
            : RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, REG_OPTION_NON_VOLATILE,
                              KEY_WRITE, nullptr, &key_, nullptr);
    is_open_ = status == ERROR_SUCCESS;
  }
  ~Key() {
    if (is_open_) RegCloseKey(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  explicit operator bool() const { return is_open_; }
  HKEY get() const { return key_; }

 private:
  HKEY key_{};
  bool is_open_;
};

bool Write(const WCHAR* key_path, const WCHAR* name, DWORD type, const void* data, size_t size) {
  const Key key(key_path, Key::Access::kWrite);
  return key && RegSetValueExW(key.get(), name, 0, type, static_cast<const BYTE*>(data),
                               static_cast<DWORD>(size)) == ERROR_SUCCESS;
}

}  // namespace

std::optional<uint32_t> ReadRegistryNumber(const WCHAR* key_path, const WCHAR* name) {
  const Key key(key_path, Key::Access::kRead);
  uint32_t value = 0;
  DWORD size = sizeof value;
  if (!key || RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value),
                               &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  if (size != sizeof value) return std::nullopt;
  return value;
}

std::optional<WideText> ReadRegistryText(const WCHAR* key_path, const WCHAR* name) {
  const Key key(key_path, Key::Access::kRead);
  DWORD size = 0;
  if (!key ||
      RegQueryValueExW(key.get(), name, nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  std::vector<WCHAR> buffer(size / sizeof(WCHAR) + 2);
  size = static_cast<DWORD>(buffer.size() * sizeof(WCHAR) - sizeof(WCHAR));
  if (RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer.data()),
                       &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return WideText(buffer.data());
}

bool WriteRegistryNumber(const WCHAR* key, const WCHAR* name, uint32_t value) {
  return Write(key, name, REG_DWORD, &value, sizeof value);
}

bool WriteRegistryText(const WCHAR* key, const WCHAR* name, const WideText& value) {
  return Write(key, name, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(WCHAR));
}

void RemoveRegistryValue(const WCHAR* key_path, const WCHAR* name) {
  const Key key(key_path, Key::Access::kWrite);
  if (key) RegDeleteValueW(key.get(), name);
}

}  // namespace client
