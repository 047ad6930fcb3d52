// Each value of the key is asked for by its name and goes into its field, in a fixed order: the result of the
// last query is what readValues gives. A value that is missing, or larger than its field, makes its query
// fail and leaves the field as it is, so that a damaged key costs no more than the values that are damaged.
//
// Texts are UTF-16 in the registry and narrow in the record: names in UTF-8, those of character sets in the
// system's code page. A value may lack its terminator, so it is read into a buffer with one unit more than
// the query is told of. What does not fit a field is cut between two characters, since other devices are
// shown what is left.
//
// Writing goes on after a failure: what can be kept is kept, and the first error is reported.
#include "config/bt_config_settings.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "platform/api/codepage.h"
#include "platform/utf8.h"

namespace {

constexpr WCHAR kKeyPath[] = u"Software\\Corvane\\BTConfig";
constexpr WCHAR kSubkey[] = u"General";
constexpr WCHAR kWholePath[] = u"Software\\Corvane\\BTConfig\\General";
constexpr WCHAR kDoNotSendMsftProperties[] = u"DoNotSendMsftProperties";
constexpr WCHAR kIdentityKey[] = u"Ident";
constexpr WCHAR kIdentityName[] = u"Name";

// Wide texts on their way between registry and record; one unit is kept for a terminator that the
// registry may lack.
template <size_t bytes>
struct WideBuffer {
  WCHAR text[bytes / sizeof(WCHAR) + 1] = {};
};

LONG Query(HKEY key, const WCHAR* name, void* data, DWORD size) {
  return RegQueryValueExW(key, name, nullptr, nullptr, static_cast<BYTE*>(data), &size);
}

LONG QueryNumber(HKEY key, const WCHAR* name, uint32_t& field) {
  return Query(key, name, &field, sizeof(field));
}

template <size_t size>
void QueryWide(HKEY key, const WCHAR* name, WCHAR (&field)[size]) {
  if (Query(key, name, field, sizeof(field)) == ERROR_SUCCESS) field[size - 1] = 0;
}

// The text in a code page, cut before the first character that does not fit the field whole.
template <size_t size>
void Convert(UINT code_page, const WCHAR* text, char (&field)[size]) {
  size_t used = 0;
  for (std::u16string_view rest = text; !rest.empty();) {
    const bool is_pair = rest.size() > 1 && IsLeadSurrogate(rest[0]);
    const int units = is_pair ? 2 : 1;
    char character[16];
    const int bytes = WideCharToMultiByte(code_page, 0, rest.data(), units, character,
                                          static_cast<int>(sizeof(character)), nullptr, nullptr);
    if (bytes <= 0 || used + static_cast<size_t>(bytes) >= size) break;
    std::memcpy(field + used, character, static_cast<size_t>(bytes));
    used += static_cast<size_t>(bytes);
    rest.remove_prefix(static_cast<size_t>(units));
  }
  std::fill(field + used, std::end(field), '\0');
}

// A text value of at most `room` bytes, into a narrow field; the field stays when there is none.
template <size_t room, size_t size>
LONG QueryText(HKEY key, const WCHAR* name, UINT code_page, char (&field)[size]) {
  WideBuffer<room> buffer;
  const LONG error = Query(key, name, buffer.text, room);
  if (error == ERROR_SUCCESS) Convert(code_page, buffer.text, field);
  return error;
}

// The handheld's own name, in the place of the one that the stack was given.
void QueryIdentity(char (&device_name)[248]) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kIdentityKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  QueryText<520>(key, kIdentityName, CP_UTF8, device_name);
  RegCloseKey(key);
}

// Writes values one after the other and keeps the first error. Texts are stored with their terminator, as
// other readers of the key expect it.
class ValueWriter {
 public:
  explicit ValueWriter(HKEY key) : key_(key) {}

  void Number(const WCHAR* name, uint32_t value) { Set(name, REG_DWORD, &value, sizeof(value)); }
  void Text(const WCHAR* name, const WCHAR* text) {
    const size_t units = std::u16string_view(text).size() + 1;
    Set(name, REG_SZ, text, static_cast<DWORD>(units * sizeof(WCHAR)));
  }
  void Utf8(const WCHAR* name, const char* text) {
    WCHAR wide[248] = {};
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, static_cast<int>(std::size(wide)));
    Text(name, wide);
  }

  LONG error() const { return error_; }

 private:
  void Set(const WCHAR* name, DWORD type, const void* data, DWORD size) {
    const LONG error = RegSetValueExW(key_, name, 0, type, static_cast<const BYTE*>(data), size);
    if (error_ == ERROR_SUCCESS) error_ = error;
  }

  HKEY key_;
  LONG error_ = ERROR_SUCCESS;
};

template <typename Unit, size_t size>
bool SameText(const Unit (&left)[size], const Unit (&right)[size]) {
  return std::basic_string_view<Unit>(left) == std::basic_string_view<Unit>(right);
}

template <typename Unit, size_t size>
void CopyText(const Unit (&from)[size], Unit (&to)[size]) {
  std::copy(std::begin(from), std::end(from), to);
}

}  // namespace

BtConfigSettings::BtConfigSettings() {
  std::copy(std::begin(kKeyPath), std::end(kKeyPath), keyPath);
  std::copy(std::begin(kSubkey), std::end(kSubkey), subkeyName);
}

LONG BtConfigSettings::readValues(HKEY key) {
  QueryNumber(key, u"UsePocketPCName", usePocketPcName);

  // Unlike the other texts the name is emptied when there is none.
  WideBuffer<496> name;
  Query(key, u"DeviceName", name.text, 496);
  Convert(CP_UTF8, name.text, deviceName);
  if (usePocketPcName != 0) QueryIdentity(deviceName);

  QueryNumber(key, u"MinorClass", minorClass);
  QueryNumber(key, u"SecurityType", securityType);
  QueryNumber(key, u"CountryCode", countryCode);
  QueryNumber(key, u"ForceDevClassMajor", forceDevClassMajor);
  QueryNumber(key, u"ForceDevClassMinor", forceDevClassMinor);
  QueryNumber(key, u"MaxSimultConnections", maxSimultConnections);
  QueryNumber(key, u"NoSleepingWhileConnected", noSleepingWhileConnected);
  QueryNumber(key, u"DontShowAdvanced", dontShowAdvanced);

  QueryWide(key, u"DefaultStatusDll", defaultStatusDll);
  QueryWide(key, u"DefaultPropertiesDll", defaultPropertiesDll);
  QueryText<100>(key, u"UnnamedDeviceName", CP_UTF8, unnamedDeviceName);
  const UINT ansi = GetACP();
  QueryText<520>(key, u"DefaultInputCharset", ansi, defaultInputCharset);
  QueryText<520>(key, u"DefaultOutputCharset", ansi, defaultOutputCharset);
  return QueryNumber(key, kDoNotSendMsftProperties, doNotSendMsftProperties);
}

LONG BtConfigSettings::writeValues(HKEY key) {
  ValueWriter writer(key);
  writer.Utf8(u"DeviceName", deviceName);
  writer.Number(u"UsePocketPCName", usePocketPcName);
  writer.Number(u"MinorClass", minorClass);
  writer.Number(u"SecurityType", securityType);
  writer.Number(u"CountryCode", countryCode);
  writer.Number(u"MaxSimultConnections", maxSimultConnections);
  writer.Number(u"NoSleepingWhileConnected", noSleepingWhileConnected);
  writer.Utf8(u"UnnamedDeviceName", unnamedDeviceName);
  writer.Text(u"DefaultStatusDll", defaultStatusDll);
  writer.Text(u"DefaultPropertiesDll", defaultPropertiesDll);
  return writer.error();
}

// Field by field and text by text: whatever stands in a field after its text's end is no setting.
bool BtConfigSettings::operator==(const BtConfigSettings& other) const {
  return SameText(unnamedDeviceName, other.unnamedDeviceName) &&
         maxSimultConnections == other.maxSimultConnections && securityType == other.securityType &&
         countryCode == other.countryCode && minorClass == other.minorClass &&
         noSleepingWhileConnected == other.noSleepingWhileConnected &&
         forceDevClassMajor == other.forceDevClassMajor &&
         forceDevClassMinor == other.forceDevClassMinor &&
         usePocketPcName == other.usePocketPcName && SameText(deviceName, other.deviceName) &&
         SameText(defaultInputCharset, other.defaultInputCharset) &&
         SameText(defaultOutputCharset, other.defaultOutputCharset) &&
         doNotSendMsftProperties == other.doNotSendMsftProperties;
}

bool BtConfigSettings::operator!=(const BtConfigSettings& other) const { return !(*this == other); }

BtConfigSettings& BtConfigSettings::operator=(const BtConfigSettings& other) {
  if (this == &other) return *this;
  assign(other);
  copyValues(other);
  return *this;
}

void BtConfigSettings::copyValues(const RegistryKeyRecord& other) {
  const auto* settings = dynamic_cast<const BtConfigSettings*>(&other);
  if (settings == nullptr) return;
  minorClass = settings->minorClass;
  usePocketPcName = settings->usePocketPcName;
  securityType = settings->securityType;
  maxSimultConnections = settings->maxSimultConnections;
  countryCode = settings->countryCode;
  forceDevClassMajor = settings->forceDevClassMajor;
  forceDevClassMinor = settings->forceDevClassMinor;
  noSleepingWhileConnected = settings->noSleepingWhileConnected;
  doNotSendMsftProperties = settings->doNotSendMsftProperties;
  CopyText(settings->deviceName, deviceName);
  CopyText(settings->unnamedDeviceName, unnamedDeviceName);
  CopyText(settings->defaultStatusDll, defaultStatusDll);
  CopyText(settings->defaultPropertiesDll, defaultPropertiesDll);
  CopyText(settings->defaultInputCharset, defaultInputCharset);
  CopyText(settings->defaultOutputCharset, defaultOutputCharset);
}

bool SendsVendorProperties() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kWholePath, 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return true;
  }
  uint32_t value = 0;
  const LONG error = QueryNumber(key, kDoNotSendMsftProperties, value);
  RegCloseKey(key);
  return error != ERROR_SUCCESS || value == 0;
}
