// The record knows where it lives and opens the key; what stands there is left to its derived classes. Only
// opening and creating can fail for the record: which of the values are there is their business, so reading
// them always counts as done.
#include "config/registry_record.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr int kLastNumberedSubkey = 31;

std::u16string Joined(const WCHAR* path, const WCHAR* name) {
  return std::u16string(path).append(u"\\").append(name);
}

// "0001" for 1.
void FormatNumber(int number, WCHAR* text) {
  for (int place = 3; place >= 0; --place, number /= 10) {
    text[place] = static_cast<WCHAR>(u'0' + number % 10);
  }
  text[4] = 0;
}

LONG Create(HKEY root, const std::u16string& path, HKEY* key, DWORD* disposition) {
  return RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                         nullptr, key, disposition);
}

// Whether a key was not there before and is now. Asking and making it in one call keeps two programs from
// taking the same number.
bool CreateNew(const std::u16string& path) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  if (Create(HKEY_LOCAL_MACHINE, path, &key, &disposition) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return disposition == REG_CREATED_NEW_KEY;
}

}  // namespace

LONG RegistryKeyRecord::read() {
  HKEY key = nullptr;
  const LONG error = RegOpenKeyExW(rootKey, Joined(keyPath, subkeyName).c_str(), 0, KEY_READ, &key);
  if (error != ERROR_SUCCESS) return error;
  readValues(key);
  RegCloseKey(key);
  return ERROR_SUCCESS;
}

LONG RegistryKeyRecord::writeTo(const WCHAR* name) {
  HKEY key = nullptr;
  LONG error = Create(rootKey, Joined(keyPath, name), &key, nullptr);
  if (error != ERROR_SUCCESS) return error;
  error = writeValues(key);
  RegCloseKey(key);
  return error;
}

LONG RegistryKeyRecord::write() {
  if (subkeyName[0] == 0) ChooseSubkey();
  return writeTo(subkeyName);
}

// The number is taken by the key itself, which stays even when no value can be written after it.
void RegistryKeyRecord::ChooseSubkey() {
  for (int number = 1; number <= kLastNumberedSubkey; ++number) {
    FormatNumber(number, subkeyName);
    if (CreateNew(Joined(keyPath, subkeyName))) return;
  }
  subkeyName[0] = 0;
}

LONG RegistryKeyRecord::readValues(HKEY /*key*/) { return ERROR_SUCCESS; }

LONG RegistryKeyRecord::writeValues(HKEY /*key*/) { return ERROR_SUCCESS; }

void RegistryKeyRecord::setRootKey(HKEY key) { rootKey = key; }

bool RegistryKeyRecord::equals(const RegistryKeyRecord& other) const {
  return rootKey == other.rootKey &&
         std::u16string_view(subkeyName) == std::u16string_view(other.subkeyName) &&
         std::u16string_view(keyPath) == std::u16string_view(other.keyPath);
}

void RegistryKeyRecord::assign(const RegistryKeyRecord& other) {
  rootKey = other.rootKey;
  std::copy(std::begin(other.subkeyName), std::end(other.subkeyName), subkeyName);
  std::copy(std::begin(other.keyPath), std::end(other.keyPath), keyPath);
}

bool RegistryKeyRecord::operator!=(const RegistryKeyRecord& other) const { return !equals(other); }

bool RegistryKeyRecord::operator==(const RegistryKeyRecord& other) const { return equals(other); }

RegistryKeyRecord& RegistryKeyRecord::operator=(const RegistryKeyRecord& other) {
  if (this == &other) return *this;
  assign(other);
  return *this;
}

void RegistryKeyRecord::copyValues(const RegistryKeyRecord& /*other*/) {}
