#include "obex/services/names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>

#include "osif.h"

namespace obex {
namespace {

constexpr std::string_view kRoot = "telecom/";
constexpr std::string_view kUniqueFolder = "luid/";
constexpr size_t kLongestLuid = 16;

struct StoreRow {
  std::string_view folder;
  std::string_view extension;
  int32_t store_id;
};

// Notes go by the extension of cards as well: a widespread client asks for them so.
constexpr std::array<StoreRow, 4> kStores = {{
    {"pb", ".vcf", OSIF_STORE_PB},
    {"cal", ".vcs", OSIF_STORE_CAL},
    {"nt", ".vnt", OSIF_STORE_NOTE},
    {"nt", ".vcf", OSIF_STORE_NOTE},
}};

bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

bool TakeSuffix(std::string_view& text, std::string_view suffix) {
  if (!text.ends_with(suffix)) return false;
  text.remove_suffix(suffix.size());
  return true;
}

// A number that is too large stands for the largest: nothing is there, but it is asked for as it should be.
std::optional<uint32_t> NumberOf(std::string_view digits) {
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (digits.empty() || end != digits.data() + digits.size()) return std::nullopt;
  return error == std::errc::result_out_of_range ? std::numeric_limits<uint32_t>::max() : number;
}

bool IsLuid(std::string_view text) {
  return !text.empty() && text.size() <= kLongestLuid && std::ranges::all_of(text, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
  });
}

// Below "telecom/pb/luid/".
Node UniqueNode(std::string_view rest, const StoreRow& store) {
  if (rest == "cc.log") return {NodeKind::kCounter, store.store_id};
  if (TakeSuffix(rest, ".log")) {
    const std::optional<uint32_t> counter = NumberOf(rest);
    return counter ? Node{NodeKind::kChanges, store.store_id, *counter} : Node{};
  }
  if (!TakeSuffix(rest, store.extension)) return {};
  if (rest.empty()) return {NodeKind::kNewObject, store.store_id};
  if (!IsLuid(rest)) return {};
  return {NodeKind::kObject, store.store_id, 0, std::string(rest)};
}

// Below "telecom/".
Node StoreNode(std::string_view rest, const StoreRow& store) {
  if (!TakePrefix(rest, store.folder)) return {};
  if (rest == store.extension) return {NodeKind::kWhole, store.store_id};
  if (!TakePrefix(rest, "/")) return {};
  if (rest == "info.log") return {NodeKind::kStoreInfo, store.store_id};
  if (TakePrefix(rest, kUniqueFolder)) return UniqueNode(rest, store);
  if (!TakeSuffix(rest, store.extension)) return {};
  const std::optional<uint32_t> index = NumberOf(rest);
  return index ? Node{NodeKind::kIndexed, store.store_id, *index} : Node{};
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return lower;
}

}  // namespace

Node NodeOf(std::string_view name) {
  const std::string lower = Lower(name.substr(name.starts_with('/') ? 1 : 0));
  std::string_view rest = lower;
  if (!TakePrefix(rest, kRoot)) return {};
  if (rest == "devinfo.txt") return {NodeKind::kDeviceInfo};
  if (rest == "rtc.txt") return {NodeKind::kClock};
  for (const StoreRow& store : kStores) {
    Node node = StoreNode(rest, store);
    if (node.kind != NodeKind::kUnknown) return node;
  }
  return {};
}

}  // namespace obex
