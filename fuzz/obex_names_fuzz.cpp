// Names of the synchronised tree, of any bytes: a node's parts are such as a store may be asked for, a name of them means
// the same node, and neither case nor one slash before it changes what a name means.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "obex/services/names.h"
#include "osif.h"

namespace {

using obex::Node;
using obex::NodeKind;

void Check(bool is_so) {
  if (!is_so) abort();
}

bool IsSame(const Node& one, const Node& other) {
  return one.kind == other.kind && one.store_id == other.store_id && one.number == other.number &&
         one.luid == other.luid;
}

struct Place {
  std::string folder;
  std::string extension;
};

Place PlaceOf(int32_t store_id) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return {"telecom/pb", ".vcf"};
    case OSIF_STORE_CAL:
      return {"telecom/cal", ".vcs"};
    case OSIF_STORE_NOTE:
      return {"telecom/nt", ".vnt"};
    default:
      abort();
  }
}

// A name that means the node.
std::string NameOf(const Node& node) {
  if (node.kind == NodeKind::kDeviceInfo) return "telecom/devinfo.txt";
  if (node.kind == NodeKind::kClock) return "telecom/rtc.txt";
  const auto [folder, extension] = PlaceOf(node.store_id);
  switch (node.kind) {
    case NodeKind::kWhole:
      return folder + extension;
    case NodeKind::kStoreInfo:
      return folder + "/info.log";
    case NodeKind::kIndexed:
      return folder + "/" + std::to_string(node.number) + extension;
    case NodeKind::kObject:
      return folder + "/luid/" + node.luid + extension;
    case NodeKind::kNewObject:
      return folder + "/luid/" + extension;
    case NodeKind::kCounter:
      return folder + "/luid/cc.log";
    case NodeKind::kChanges:
      return folder + "/luid/" + std::to_string(node.number) + ".log";
    default:
      abort();
  }
}

bool IsOfLuid(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); }

// With the other case of each letter.
std::string Swapped(std::string_view name) {
  std::string swapped(name);
  for (char& c : swapped) {
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'z') c = static_cast<char>(c ^ 0x20);
  }
  return swapped;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view name(reinterpret_cast<const char*>(data), size);
  const Node node = obex::NodeOf(name);
  Check(IsSame(node, obex::NodeOf(Swapped(name))));
  if (!name.starts_with('/')) Check(IsSame(node, obex::NodeOf("/" + std::string(name))));
  if (node.kind == NodeKind::kUnknown) {
    Check(IsSame(node, Node{}));
    return 0;
  }
  Check((node.kind == NodeKind::kObject) == !node.luid.empty());
  Check(node.luid.size() <= 16 && std::ranges::all_of(node.luid, IsOfLuid));
  Check(IsSame(node, obex::NodeOf(NameOf(node))));
  for (const char* part : {"..", "\\", ":", "//"}) Check(name.find(part) == name.npos);
  return 0;
}
