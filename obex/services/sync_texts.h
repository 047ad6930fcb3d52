// The texts of an IrMC device that are no objects: "FIELD:value" lines with CR LF.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "osif.h"

namespace obex {

// telecom/devinfo.txt (IrMC 1.1, chapter 6).
std::string DeviceInfo(std::string_view serial_number);

// telecom/rtc.txt: the time in UTC.
std::string ClockText(int64_t seconds_since_1970);

// A store's info.log.
std::string StoreInfo(uint32_t records, std::string_view database_id);

// A store's log of changes; nothing for entries says that some are gone, and the peer has to compare everything.
std::string ChangesText(std::string_view serial_number, std::string_view database_id,
                        uint32_t records,
                        const std::optional<std::vector<ChangeLogEntry>>& entries);

// The number of a device: made of the machine's and the folder's, so that it stays and no two devices share it.
std::string SerialNumber();

}  // namespace obex
