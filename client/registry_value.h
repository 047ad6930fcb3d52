// Single values of the device's registry, under HKEY_LOCAL_MACHINE.
#pragma once

#include <cstdint>
#include <optional>

#include "btosif/osif_util/charset.h"

namespace client {

inline constexpr const WCHAR* kGeneralKey = u"Software\\Corvane\\BTConfig\\General";
inline constexpr const WCHAR* kDebugKey = u"Software\\Corvane\\BTConfig\\Debug";
inline constexpr const WCHAR* kLogAddressName = u"LogIPAddr";

// Nothing when the value does not exist, or is of another size.
std::optional<uint32_t> ReadRegistryNumber(const WCHAR* key, const WCHAR* name);
std::optional<WideText> ReadRegistryText(const WCHAR* key, const WCHAR* name);

// Make the key where it is missing; false when the registry cannot be written.
bool WriteRegistryNumber(const WCHAR* key, const WCHAR* name, uint32_t value);
bool WriteRegistryText(const WCHAR* key, const WCHAR* name, const WideText& value);

void RemoveRegistryValue(const WCHAR* key, const WCHAR* name);

}  // namespace client
