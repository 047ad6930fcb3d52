#include "obex/services/object_service.h"

#include "obex/services/sync_service.h"

namespace obex {

Code ObjectService::Open(std::string_view target) {
  service_.reset();
  std::unique_ptr<Service> service;
  if (target == kSyncTarget) {
    service = std::make_unique<SyncService>(journal_);
  } else {
    service = std::make_unique<PushService>(push_, journal_);
  }
  const Code code = service->Open(target);
  if (code == Code::kSuccess) service_ = std::move(service);
  return code;
}

}  // namespace obex
