// Prints the names of the objects of a file: the library used from C++, with no other header than its own.
#include <osif.h>

#include <codecvt>
#include <iostream>
#include <locale>
#include <string>

namespace {

using Utf8 = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

int32_t PrintName(int32_t store_id, OsifObject* object, OsifResult, void*) {
  WCHAR name[100];
  OSIF_GetObjectName(store_id, object, name, 100);
  std::cout << Utf8().to_bytes(name) << '\n';
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || OSIF_Open() != OSIF_OK) return 1;
  const std::u16string file = Utf8().from_bytes(argv[1]);
  const OsifResult result = OSIF_ReadObjects(file.c_str(), PrintName, nullptr);
  std::cout << Utf8().to_bytes(OSIF_CodeToString(result)) << '\n';
  OSIF_Close();
  return result == OSIF_OK ? 0 : 1;
}
