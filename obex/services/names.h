// The names of the objects that a device offers for synchronisation (IrMC 1.1): a fixed tree, and never names of files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace obex {

enum class NodeKind {
  kUnknown,
  kDeviceInfo,  // telecom/devinfo.txt
  kClock,       // telecom/rtc.txt
  kWhole,       // telecom/pb.vcf: every object of a store
  kStoreInfo,   // telecom/pb/info.log
  kIndexed,     // telecom/pb/3.vcf: an object by its position
  kObject,      // telecom/pb/luid/00000001.vcf
  kNewObject,   // telecom/pb/luid/.vcf
  kCounter,     // telecom/pb/luid/cc.log
  kChanges,     // telecom/pb/luid/17.log: what came after change 17
};

struct Node {
  NodeKind kind = NodeKind::kUnknown;
  int32_t store_id = -1;  // of all but the first three kinds
  uint32_t number = 0;    // the position, or the counter
  std::string luid = {};  // lower case
};

// What a name means; kUnknown for all that is not of the tree. Case does not matter, and "/" may stand before it.
Node NodeOf(std::string_view name);

}  // namespace obex
