// osif settings: the registry settings that the library and its neighbours read.
//
// A row of the table says all of a setting: where it is stored, what kind of value it takes, and what holds
// while it is not set. The library does not complain of a value that does not suit; it goes on with another
// one. So a value is checked here, by the rules of its reader, before the device is touched; what does not
// suit is wrong usage. The library itself is not opened. After writing, the setting is read again and shown
// as it now stands.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "btosif/osif_util/ascii.h"
#include "client/damage.h"
#include "client/registry_value.h"
#include "client/texts.h"
#include "tools/osif/commands.h"
#include "tools/osif/setting_values.h"

namespace command {
namespace {

enum class Type { kNumber, kFlag, kText, kCharset, kAddress, kId };

struct Setting {
  const WCHAR* name;
  const WCHAR* key;
  Type type;
  const char* default_value;  // null where there is none
  size_t room;  // of a text, in UTF-16 units with its terminator: longer ones are not read
};

constexpr std::array<Setting, 18> kSettings = {{
    {u"MinorClass", kGeneralKey, Type::kNumber, "4", 0},
    {u"DeviceName", kGeneralKey, Type::kText, "", 248},
    {u"UsePocketPCName", kGeneralKey, Type::kNumber, "1", 0},
    {u"SecurityType", kGeneralKey, Type::kNumber, "2", 0},
    {u"MaxSimultConnections", kGeneralKey, Type::kNumber, "1", 0},
    {u"CountryCode", kGeneralKey, Type::kNumber, "0", 0},
    {u"DontShowAdvanced", kGeneralKey, Type::kNumber, "0", 0},
    {u"ForceDevClassMajor", kGeneralKey, Type::kNumber, "0", 0},
    {u"ForceDevClassMinor", kGeneralKey, Type::kNumber, "0", 0},
    {u"UnnamedDeviceName", kGeneralKey, Type::kText, "<No Name>", 50},
    {u"NoSleepingWhileConnected", kGeneralKey, Type::kNumber, "0", 0},
    {u"DefaultStatusDll", kGeneralKey, Type::kText, nullptr, 260},
    {u"DefaultPropertiesDll", kGeneralKey, Type::kText, nullptr, 260},
    {u"DefaultInputCharset", kGeneralKey, Type::kCharset, "", 260},
    {u"DefaultOutputCharset", kGeneralKey, Type::kCharset, "", 260},
    {u"DoNotSendMsftProperties", kGeneralKey, Type::kFlag, "0", 0},
    {u"BusinessCard", kGeneralKey, Type::kId, "", OSIF_ID_SIZE},
    {kLogAddressName, kDebugKey, Type::kAddress, "0.0.0.0", 0},
}};

std::string ToDotted(uint32_t address) {
  char text[INET_ADDRSTRLEN] = {};
  const in_addr network{htonl(address)};
  inet_ntop(AF_INET, &network, text, sizeof text);
  return text;
}

std::optional<uint32_t> FromDotted(const std::string& text) {
  in_addr network{};
  if (inet_pton(AF_INET, text.c_str(), &network) != 1) return std::nullopt;
  return ntohl(network.s_addr);
}

// Decimal, or hexadecimal after "0x".
std::optional<uint32_t> FromDigits(std::string_view text) {
  const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (is_hexadecimal) text.remove_prefix(2);
  uint32_t number = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), number, is_hexadecimal ? 16 : 10);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

bool IsText(const Setting& setting) {
  return setting.type == Type::kText || setting.type == Type::kCharset || setting.type == Type::kId;
}

// The value as text; nothing when it is not set.
std::optional<std::string> Read(const Setting& setting) {
  if (IsText(setting)) {
    const std::optional<WideText> text = ReadRegistryText(setting.key, setting.name);
    return text ? std::optional(ToOutput(*text)) : std::nullopt;
  }
  const std::optional<uint32_t> number = ReadRegistryNumber(setting.key, setting.name);
  if (!number) return std::nullopt;
  return setting.type == Type::kAddress ? ToDotted(*number) : std::to_string(*number);
}

Json ValueJson(const Setting& setting, const std::optional<std::string>& value) {
  if (!value) return nullptr;
  if (IsText(setting) || setting.type == Type::kAddress) return *value;
  return FromDigits(*value).value_or(0);
}

std::optional<std::string> DefaultOf(const Setting& setting) {
  return setting.default_value == nullptr ? std::nullopt
                                          : std::optional<std::string>(setting.default_value);
}

void Show(const Setting& setting, Reporter& reporter) {
  const std::optional<std::string> stored = Read(setting);
  const std::optional<std::string> standard = DefaultOf(setting);
  const std::optional<std::string>& value = stored ? stored : standard;
  std::string text = ToOutput(setting.name) + " = ";
  if (IsText(setting) && value) {
    text += '"' + *value + '"';
  } else {
    text += value.value_or("none");
  }
  if (!stored) text += "  (default)";
  reporter.Result({{"name", ToOutput(setting.name)},
                   {"value", ValueJson(setting, value)},
                   {"default", ValueJson(setting, standard)},
                   {"set", stored.has_value()}},
                  text);
}

// The library takes the system's own character set for a name that it does not know.
bool IsCharset(const std::string& name) {
  return name.empty() || EqualsIgnoringCase(name, "NATIVE") || CharsetToCodePage(name) != 0;
}

std::string CharsetNames() {
  std::string names;
  for (const CharsetRow& row : CharsetTable()) {
    // A name may stand in the table twice, in two rows that follow each other.
    const std::string name = std::string(" ") + row.name + ",";
    if (!names.ends_with(name)) names += name;
  }
  return names;
}

// An id as the contacts have it.
bool IsContactId(const std::string& text) {
  constexpr size_t kDigits = 8;
  return text.size() == kDigits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// Why a value does not suit its setting; empty when it does.
std::string WhyUnfit(const Setting& setting, const std::string& value) {
  switch (setting.type) {
    case Type::kNumber:
      return FromDigits(value) ? "" : "takes a number from 0 to 4294967295";
    case Type::kFlag:
      return FromDigits(value).value_or(2) < 2 ? "" : "takes 0 or 1";
    case Type::kCharset:
      if (IsCharset(value)) return {};
      return "takes the name of a character set (" + CharsetNames().substr(1) +
             " NATIVE for the system's own) or an empty text";
    case Type::kAddress:
      return FromDotted(value) ? "" : "takes an address such as 192.168.0.7, or 0.0.0.0 for none";
    case Type::kId:
      if (value.empty() || IsContactId(value)) return {};
      return "takes the id of a contact such as 00000001, or an empty text for none";
    case Type::kText:
      break;
  }
  if (ToWide(value).size() < setting.room) return {};
  return "takes a text of " + std::to_string(setting.room - 1) + " characters at most";
}

bool Write(const Setting& setting, const std::string& value) {
  switch (setting.type) {
    case Type::kNumber:
    case Type::kFlag:
      return WriteRegistryNumber(setting.key, setting.name, FromDigits(value).value_or(0));
    case Type::kAddress:
      return WriteRegistryNumber(setting.key, setting.name, FromDotted(value).value_or(0));
    case Type::kText:
    case Type::kCharset:
    case Type::kId:
      break;
  }
  return WriteRegistryText(setting.key, setting.name, ToWide(value));
}

const Setting* FindSetting(const std::string& name) {
  const auto found = std::find_if(kSettings.begin(), kSettings.end(), [&](const Setting& setting) {
    return EqualsIgnoringCase(ToOutput(setting.name), name);
  });
  return found == kSettings.end() ? nullptr : &*found;
}

struct SettingsArguments {
  std::optional<std::string> name;
  std::optional<std::string> value;
};

void DeclareSettings(Declarations& declarations, SettingsArguments& arguments) {
  const Argument name = declarations.Add("NAME", arguments.name, "One setting; all without it");
  declarations.Add("VALUE", arguments.value, "Its new value").Needs(name);
}

void Settings(const SettingsArguments& arguments, const Options&, Reporter& reporter) {
  const auto& [name, value] = arguments;
  const Setting* setting = name ? FindSetting(*name) : nullptr;
  if (name && setting == nullptr) {
    reporter.WrongUsage("there is no setting \"" + *name + "\"; \"osif settings\" shows them all");
    return;
  }
  if (setting != nullptr && value) {
    if (const std::string why = WhyUnfit(*setting, *value); !why.empty()) {
      reporter.WrongUsage(ToOutput(setting->name) + " " + why);
      return;
    }
  }
  if (!CheckDevice(reporter)) return;
  if (setting == nullptr) {
    for (const Setting& each : kSettings) Show(each, reporter);
    TellDamage(reporter);
    return;
  }
  if (value && !Write(*setting, *value)) {
    reporter.Fail(ToOutput(setting->name) + " could not be written", OSIF_ERR_GENERAL);
    return;
  }
  Show(*setting, reporter);
  TellDamage(reporter);
}

}  // namespace

std::vector<SettingValue> AllSettings() {
  std::vector<SettingValue> values;
  for (const Setting& setting : kSettings) {
    const std::optional<std::string> stored = Read(setting);
    values.push_back(
        {ToOutput(setting.name), stored ? stored : DefaultOf(setting), stored.has_value()});
  }
  return values;
}

void AddSettings(const CommandLine& line) {
  AddSubcommand(line, "settings", "Show or change the settings in the device's registry",
                DeclareSettings, Settings);
}

}  // namespace command
