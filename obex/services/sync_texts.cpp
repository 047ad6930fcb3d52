#include "obex/services/sync_texts.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <fstream>

#include "platform/device/device.h"

namespace obex {
namespace {

// There is no limit; some peers read the number as one of 32 bits with a sign.
constexpr uint32_t kMaximumRecords = 1'000'000;

void AddLine(std::string& text, std::string_view field, std::string_view value) {
  text.append(field).append(":").append(value).append("\r\n");
}

// FNV-1a.
uint64_t HashOf(std::string_view text) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

std::string MachineId() {
  std::string id;
  std::getline(std::ifstream("/etc/machine-id"), id);
  return id;
}

}  // namespace

std::string SerialNumber() {
  std::array<char, 17> digits{};
  const uint64_t hash = HashOf(MachineId() + ":" + device::Folder());
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
  return digits.data();
}

std::string DeviceInfo(std::string_view serial_number) {
  std::string text;
  AddLine(text, "MANU", "OSIF");
  AddLine(text, "MOD", "osifd");
  AddLine(text, "SW-VERSION", OSIF_VERSION);
  AddLine(text, "IRMC-VERSION", "1.1");
  AddLine(text, "SN", serial_number);
  AddLine(text, "PB-TYPE-TX", "VCARD2.1");
  AddLine(text, "PB-TYPE-RX", "VCARD2.1");
  AddLine(text, "CAL-TYPE-TX", "VCAL1.0");
  AddLine(text, "CAL-TYPE-RX", "VCAL1.0");
  AddLine(text, "MSG-TYPE-TX", "NONE");
  AddLine(text, "MSG-TYPE-RX", "VMSG1.1");
  AddLine(text, "NOTE-TYPE-TX", "NONE");
  AddLine(text, "NOTE-TYPE-RX", "VNOTE1.1");
  AddLine(text, "INBOX", "MULTIPLE");
  AddLine(text, "MSG-SENT-BOX", "NO");
  return text;
}

std::string ClockText(int64_t seconds_since_1970) {
  const time_t seconds = seconds_since_1970;
  tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ\r\n", &parts);
  return text.data();
}

std::string StoreInfo(uint32_t records, std::string_view database_id) {
  std::string text;
  AddLine(text, "Total-Records", std::to_string(records));
  AddLine(text, "Last-Used-Index", std::to_string(records));
  AddLine(text, "Maximum-Records", std::to_string(kMaximumRecords));
  AddLine(text, "IEL", "16");  // levels 1 to 4
  AddLine(text, "HD", "YES");
  AddLine(text, "SAT", "CC");
  AddLine(text, "DID", database_id);
  return text;
}

// The place of the time stamp stays empty: partners that go by counters lose entries that have one.
std::string ChangesText(std::string_view serial_number, std::string_view database_id,
                        uint32_t records,
                        const std::optional<std::vector<ChangeLogEntry>>& entries) {
  std::string text;
  AddLine(text, "SN", serial_number);
  AddLine(text, "DID", database_id);
  AddLine(text, "Total-Records", std::to_string(records));
  AddLine(text, "Maximum-Records", std::to_string(kMaximumRecords));
  if (!entries) return text + "*\r\n";
  for (const ChangeLogEntry& entry : *entries) {
    text += static_cast<char>(entry.kind);
    text += ":" + std::to_string(entry.changeCounter) + "::" + entry.objectId + "\r\n";
  }
  return text;
}

}  // namespace obex
