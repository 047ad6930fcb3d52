// Lines of "FIELD:value" and of "M:1022::00003D010000". The first letter of an entry's line decides: a field has a longer
// name than one letter. What is unknown among the fields is passed over, since devices add their own; an entry that is not
// understood is not, since it may be a deletion.
#include "obex/client/remote_texts.h"

#include <algorithm>
#include <charconv>

#include "btosif/osif_util/ascii.h"

namespace obex {
namespace {

constexpr size_t kLongestLuid = 255;
constexpr size_t kLongestField = 255;
constexpr uint32_t kLevelsWithLuids = 8 | 16;

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string_view TakeTextLine(std::string_view& text) {
  const size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return Trimmed(line);
}

std::string_view TakeUpTo(char separator, std::string_view& text) {
  const size_t end = text.find(separator);
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return piece;
}

// What can be kept and shown: no control characters, and not without end.
std::string FieldText(std::string_view value) {
  value = Trimmed(value).substr(0, kLongestField);
  const bool is_plain = std::ranges::all_of(value, [](char c) { return c >= ' ' && c != 0x7F; });
  return is_plain ? std::string(value) : std::string();
}

// Runs `use` with each field's name and value.
template <typename Use>
void ForEachField(std::string_view text, Use use) {
  while (!text.empty()) {
    std::string_view line = TakeTextLine(text);
    const std::string_view name = TakeUpTo(':', line);
    use(Trimmed(name), line);
  }
}

// "8", "0x8"
uint32_t LevelsOf(std::string_view text) {
  text = Trimmed(text);
  const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (is_hexadecimal) text.remove_prefix(2);
  uint32_t levels = 0;
  std::from_chars(text.data(), text.data() + text.size(), levels, is_hexadecimal ? 16 : 10);
  return levels;
}

std::optional<RemoteChange> ReadEntry(std::string_view line) {
  RemoteChange change;
  change.kind = line.front();
  line.remove_prefix(2);
  const std::optional<uint32_t> counter = ReadCounter(TakeUpTo(':', line));
  TakeUpTo(':', line);  // the time stamp
  const std::string_view luid = Trimmed(line);
  const bool is_known = change.kind == 'M' || change.kind == 'H' || change.kind == 'D';
  if (!is_known || !counter || !IsRemoteLuid(luid)) return std::nullopt;
  change.counter = *counter;
  change.luid = luid;
  return change;
}

}  // namespace

DeviceFacts ReadDeviceInfo(std::string_view text) {
  DeviceFacts facts;
  ForEachField(text, [&](std::string_view name, std::string_view value) {
    if (EqualsIgnoringCase(name, "MANU")) facts.maker = FieldText(value);
    if (EqualsIgnoringCase(name, "MOD")) facts.model = FieldText(value);
    if (EqualsIgnoringCase(name, "SN")) facts.serial_number = FieldText(value);
  });
  return facts;
}

StoreFacts ReadStoreInfo(std::string_view text) {
  StoreFacts facts;
  ForEachField(text, [&](std::string_view name, std::string_view value) {
    if (EqualsIgnoringCase(name, "IEL")) {
      facts.has_luids = (LevelsOf(value) & kLevelsWithLuids) != 0;
    }
    if (EqualsIgnoringCase(name, "DID")) facts.database_id = FieldText(value);
    if (EqualsIgnoringCase(name, "Total-Records")) {
      facts.is_empty = ReadCounter(FieldText(value)).value_or(0) == 0;
    }
  });
  return facts;
}

std::optional<RemoteChanges> ReadChanges(std::string_view text) {
  RemoteChanges changes;
  while (!text.empty()) {
    std::string_view line = TakeTextLine(text);
    if (line.empty()) continue;
    if (line == "*") {
      changes.has_gap = true;
    } else if (line.size() >= 2 && line[1] == ':') {
      std::optional<RemoteChange> entry = ReadEntry(line);
      if (!entry) return std::nullopt;
      changes.entries.push_back(std::move(*entry));
    } else {
      const std::string_view name = TakeUpTo(':', line);
      if (EqualsIgnoringCase(Trimmed(name), "DID")) changes.database_id = FieldText(line);
    }
  }
  return changes;
}

std::optional<uint32_t> ReadCounter(std::string_view text) {
  text = Trimmed(text);
  uint32_t counter = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), counter);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return counter;
}

bool IsRemoteLuid(std::string_view text) {
  const auto is_plain = [](char c) {
    return (c >= '0' && c <= '9') || (AsciiUpper(c) >= 'A' && AsciiUpper(c) <= 'Z');
  };
  return !text.empty() && text.size() <= kLongestLuid && std::ranges::all_of(text, is_plain);
}

}  // namespace obex
