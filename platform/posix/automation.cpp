// Strings are blocks with their length in front of the characters, and classes a table of factories with one
// row, the application of the PIM store. A class without a factory is not registered; a test that takes the
// factory away gets what a handheld without the store would answer.

#include "platform/api/automation.h"

#include <cstring>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/api/memory.h"
#include "platform/device/pim/application.h"
#include "platform/posix/class_table.h"

namespace {

constexpr CLSID kPimApplication = {
    0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

// The length in bytes lies before the characters. Eight bytes are kept for it, so that the
// characters stay aligned as the heap's blocks are.
constexpr size_t kPrefix = 8;
constexpr size_t kLengthSize = 4;
constexpr UINT kLongest = (std::numeric_limits<uint32_t>::max() - kPrefix) / sizeof(OLECHAR) - 1;

struct ClassRow {
  CLSID class_id;
  ClassFactory factory;
};

std::vector<ClassRow>& Classes() {
  static std::vector<ClassRow> classes = {{kPimApplication, device::CreatePimApplication}};
  return classes;
}

ClassRow& FindOrAddClass(REFCLSID class_id) {
  for (ClassRow& row : Classes()) {
    if (row.class_id == class_id) return row;
  }
  return Classes().emplace_back(ClassRow{class_id, nullptr});
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  const size_t length = std::u16string_view(text).size();
  return length > kLongest ? nullptr : SysAllocStringLen(text, static_cast<UINT>(length));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  if (length > kLongest) return nullptr;
  const uint32_t bytes = length * static_cast<uint32_t>(sizeof(OLECHAR));
  char* block = static_cast<char*>(LocalAlloc(LMEM_FIXED, kPrefix + bytes + sizeof(OLECHAR)));
  if (block == nullptr) return nullptr;
  std::memcpy(block + kPrefix - kLengthSize, &bytes, kLengthSize);
  if (text != nullptr) std::memcpy(block + kPrefix, text, bytes);
  std::memset(block + kPrefix + bytes, 0, sizeof(OLECHAR));
  return reinterpret_cast<BSTR>(block + kPrefix);
}

UINT SysStringLen(BSTR string) {
  if (string == nullptr) return 0;
  uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(string) - kLengthSize, kLengthSize);
  return bytes / static_cast<uint32_t>(sizeof(OLECHAR));
}

void SysFreeString(BSTR string) {
  if (string != nullptr) LocalFree(reinterpret_cast<char*>(string) - kPrefix);
}

ClassFactory SetClassFactory(REFCLSID class_id, ClassFactory factory) {
  return std::exchange(FindOrAddClass(class_id).factory, factory);
}

HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid,
                         void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  if ((context & CLSCTX_INPROC_SERVER) == 0) return REGDB_E_CLASSNOTREG;
  for (const ClassRow& row : Classes()) {
    if (row.class_id == class_id && row.factory != nullptr) return row.factory(iid, object);
  }
  return REGDB_E_CLASSNOTREG;
}
