// Synchronisation by IrMC 1.1: contacts and calendar as a tree of objects (levels 2 to 4) with the device's change logs.
// The peer decides; this side answers.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "client/session.h"
#include "client/uid_table.h"
#include "obex/packets/service.h"
#include "obex/services/journal.h"
#include "obex/services/names.h"
#include "obex/services/received_body.h"
#include "obex/services/store_access.h"

namespace obex {

// The target of a CONNECT that is for synchronisation.
inline constexpr std::string_view kSyncTarget = "IRMC-SYNC";

class SyncService final : public Service {
 public:
  // The journal outlives it.
  explicit SyncService(Journal& journal) : journal_(journal) {}
  ~SyncService() override;

  Code Open(std::string_view target) override;
  Code TakeBody(const Request& request, std::string_view bytes) override;
  PutAnswer FinishPut(const Request& request, BodyForm body) override;
  GetAnswer Get(const Request& request) override;
  void Drop() override { body_.reset(); }
  void Close() override;

 private:
  // The store of a node, held from now on; `code` says why there is none.
  StoreAccess* Access(int32_t store_id, Code& code);
  bool OpenLibrary();

  GetAnswer GetFromStore(const Node& node, StoreAccess& store);
  GetAnswer GetWhole(StoreAccess& store);
  GetAnswer GetObject(StoreAccess& store, const std::string& id);
  GetAnswer GetIndexed(StoreAccess& store, uint32_t index);

  PutAnswer Put(const Node& node, const Request& request, BodyForm form, const ReceivedBody* body);
  // Tells which name it is, and gives the code.
  Code RefuseName(Code code, const Request& request);

  Journal& journal_;
  std::unique_ptr<client::Session> session_;  // from the first access to a store on
  std::optional<client::UidTable> uids_;
  std::map<int32_t, StoreAccess> stores_;
  std::unique_ptr<ReceivedBody> body_;
};

}  // namespace obex
