// A peer reads what changed, reads objects, and writes its own changes, all with the log of the store held by its session:
// nobody else's change comes in between.
#include "obex/services/sync_service.h"

#include <charconv>
#include <ctime>
#include <utility>

#include "client/texts.h"
#include "obex/packets/headers.h"
#include "obex/services/answers.h"
#include "obex/services/push_service.h"
#include "obex/services/store_writer.h"
#include "obex/services/sync_texts.h"
#include "platform/device/device.h"

namespace obex {
namespace {

// Application parameters: those of answers, and those of requests.
constexpr uint8_t kLuidTag = 0x01;
constexpr uint8_t kCounterTag = 0x02;
constexpr uint8_t kMostCounterTag = 0x11;

// The library takes "1" for "00000001" as well; to a peer an object has one name.
constexpr size_t kLuidSize = 8;

// The counter that the peer expects a change to have at most; nothing where it does not say.
std::optional<uint32_t> MostCounter(const Request& request) {
  const auto value = FindTag(request.parameters, kMostCounterTag);
  if (!value) return std::nullopt;
  uint32_t number = 0;
  std::from_chars(value->data(), value->data() + value->size(), number);
  return number;
}

// All objects of a store, one after the other. An empty store has no frame either.
class WholeStore final : public PieceSource {
 public:
  WholeStore(StoreAccess& store, const std::string& first, Journal& journal)
      : store_(store),
        journal_(journal),
        ids_(store.Ids()),
        is_empty_(ids_.empty() && first.empty()),
        first_(is_empty_ ? "" : store.Begin() + first) {}

 private:
  // An object that was deleted meanwhile is passed over, as are those that cannot be read.
  std::optional<std::string> Next() override {
    if (!first_.empty()) return std::exchange(first_, {});
    while (next_ < ids_.size()) {
      const std::string& id = ids_[next_++];
      OsifResult result = OSIF_OK;
      std::string text = store_.TextOf(id, result);
      if (!text.empty()) return text;
      journal_.Tell(Deed::kRefused, store_.store_id(), id, client::CodeText(result));
    }
    if (std::exchange(is_ended_, true)) return std::nullopt;
    journal_.Tell(Deed::kSent, store_.store_id(), {}, client::ObjectCount(ids_.size()));
    std::string end = store_.End();
    if (end.empty() || is_empty_) return std::nullopt;
    return end;
  }

  StoreAccess& store_;
  Journal& journal_;
  const std::vector<std::string> ids_;
  const bool is_empty_;
  size_t next_ = 0;
  std::string first_;
  bool is_ended_ = false;
};

}  // namespace

SyncService::~SyncService() { Close(); }

void SyncService::Close() {
  Drop();
  stores_.clear();
  uids_.reset();
  session_.reset();
}

Code SyncService::Open(std::string_view target) {
  if (target != kSyncTarget) return Code::kForbidden;
  journal_.Begin("sync");
  return Code::kSuccess;
}

// ---- Stores -------------------------------------------------------------------------------------------------

bool SyncService::OpenLibrary() {
  if (session_ == nullptr) {
    session_ = std::make_unique<client::Session>(false, journal_);
    uids_.emplace(device::Folder());
  }
  return session_->is_open();
}

StoreAccess* SyncService::Access(int32_t store_id, Code& code) {
  code = Code::kNotFound;
  if (store_id != OSIF_STORE_PB && store_id != OSIF_STORE_CAL) return nullptr;
  code = Code::kSuccess;
  if (const auto known = stores_.find(store_id); known != stores_.end()) return &known->second;
  code = Code::kInternalError;
  if (!OpenLibrary()) return nullptr;
  if (!session_->OpenWhenFree(store_id, 0)) {
    code = Code::kUnavailable;
    journal_.Tell(Deed::kRefused, store_id, {}, "the store is in use");
    return nullptr;
  }
  const auto made = stores_.try_emplace(store_id, store_id, *session_).first;
  const OsifResult opened = made->second.Open();
  code = opened == OSIF_OK ? Code::kSuccess : Code::kUnavailable;
  if (opened == OSIF_OK) return &made->second;
  journal_.Fail(session_->ChangeLogText(store_id), opened);
  stores_.erase(made);
  return nullptr;
}

// ---- GET ----------------------------------------------------------------------------------------------------

GetAnswer SyncService::Get(const Request& request) {
  const Node node = NodeOf(request.name.value_or(""));
  if (node.kind == NodeKind::kObject && node.luid.size() != kLuidSize) {
    return {RefuseName(Code::kNotFound, request)};
  }
  switch (node.kind) {
    case NodeKind::kUnknown:
    case NodeKind::kNewObject:
      return {RefuseName(Code::kNotFound, request)};
    case NodeKind::kDeviceInfo:
      return AnswerWith(DeviceInfo(SerialNumber()));
    case NodeKind::kClock:
      return AnswerWith(ClockText(std::time(nullptr)));
    default:
      break;
  }
  Code code = Code::kNotFound;
  StoreAccess* store = Access(node.store_id, code);
  if (code == Code::kNotFound) return {RefuseName(code, request)};
  return store == nullptr ? GetAnswer{code} : GetFromStore(node, *store);
}

GetAnswer SyncService::GetFromStore(const Node& node, StoreAccess& store) {
  switch (node.kind) {
    case NodeKind::kWhole:
      return GetWhole(store);
    case NodeKind::kStoreInfo:
      return AnswerWith(StoreInfo(store.Count(), store.DatabaseId()));
    case NodeKind::kIndexed:
      return GetIndexed(store, node.number);
    case NodeKind::kObject:
      return GetObject(store, node.luid);
    case NodeKind::kCounter:
      return AnswerWith(std::to_string(store.Counter()) + "\r\n");
    case NodeKind::kChanges:
      return AnswerWith(ChangesText(SerialNumber(), store.DatabaseId(), store.Count(),
                                    store.ChangesAfter(node.number)));
    default:
      return {Code::kNotFound};
  }
}

// The owner's card comes first among the contacts, as one that cannot be told from the others by its id.
GetAnswer SyncService::GetWhole(StoreAccess& store) {
  std::string first;
  const std::string owner = BusinessCardId();
  OsifResult ignored = OSIF_OK;
  if (store.store_id() == OSIF_STORE_PB && !owner.empty()) {
    first = store.TextWithoutId(owner, ignored);
  }
  return {Code::kSuccess, std::make_unique<WholeStore>(store, first, journal_)};
}

GetAnswer SyncService::GetObject(StoreAccess& store, const std::string& id) {
  OsifResult result = OSIF_OK;
  std::string text = store.WholeTextOf(id, result);
  if (text.empty()) return {StoreWriter(store, *uids_, journal_).Refuse(id, result, {}).code};
  journal_.Tell(Deed::kSent, store.store_id(), id, {});
  return AnswerWith(std::move(text));
}

GetAnswer SyncService::GetIndexed(StoreAccess& store, uint32_t index) {
  if (index == 0) {
    const std::string owner = BusinessCardId();
    if (store.store_id() != OSIF_STORE_PB || owner.empty()) {
      return {StoreWriter(store, *uids_, journal_)
                  .Refuse({}, OSIF_ERR_NOT_FOUND, "the owner has named no card")
                  .code};
    }
    return GetObject(store, owner);
  }
  const std::vector<std::string> ids = store.Ids();
  if (index <= ids.size()) return GetObject(store, ids[index - 1]);
  return {StoreWriter(store, *uids_, journal_)
              .Refuse({}, OSIF_ERR_NOT_FOUND, "no object " + std::to_string(index))
              .code};
}

// ---- PUT ----------------------------------------------------------------------------------------------------

Code SyncService::TakeBody(const Request&, std::string_view bytes) {
  if (!body_) body_ = std::make_unique<ReceivedBody>();
  if (body_->Add(bytes)) return Code::kContinue;
  Drop();
  journal_.Tell(Deed::kRefused, -1, {}, "no room for it");
  return Code::kDatabaseFull;
}

PutAnswer SyncService::FinishPut(const Request& request, BodyForm form) {
  const std::unique_ptr<ReceivedBody> body = std::move(body_);
  const Node node = NodeOf(request.name.value_or(""));
  if (node.kind == NodeKind::kObject && node.luid.size() != kLuidSize) {
    return {RefuseName(Code::kNotFound, request)};
  }
  switch (node.kind) {
    case NodeKind::kNewObject:
    case NodeKind::kObject:
      return Put(node, request, form, body.get());
    case NodeKind::kClock:  // the machine's clock is its owner's
    case NodeKind::kWhole:
    case NodeKind::kIndexed:
      return {RefuseName(Code::kForbidden, request)};
    default:
      return {RefuseName(Code::kNotFound, request)};
  }
}

Code SyncService::RefuseName(Code code, const Request& request) {
  const char* const why = code == Code::kNotFound ? " is not there" : " cannot be written";
  journal_.Tell(Deed::kRefused, -1, {}, request.name.value_or("what has no name") + why);
  return code;
}

// Whoever sends no bytes for an object deletes it, in whichever of several ways.
PutAnswer SyncService::Put(const Node& node, const Request& request, BodyForm form,
                           const ReceivedBody* body) {
  Code code = Code::kNotFound;
  StoreAccess* store = Access(node.store_id, code);
  if (code == Code::kNotFound) return {RefuseName(code, request)};
  if (store == nullptr) return {code};
  const std::optional<uint32_t> most = MostCounter(request);
  if (most && store->Counter() + 1 > *most) {
    journal_.Tell(Deed::kRefused, node.store_id, node.luid, "the store was changed by others");
    return {Code::kConflict};
  }
  StoreWriter writer(*store, *uids_, journal_);
  Change change;
  if (node.kind == NodeKind::kNewObject) {
    if (form != BodyForm::kSome) {
      return {writer.Refuse({}, OSIF_ERR_MISSING_FIELD, "nothing is in it").code};
    }
    change = writer.Add(*body);
  } else if (form == BodyForm::kSome) {
    change = writer.Replace(node.luid, *body);
  } else {
    change = writer.Remove(node.luid);
  }
  PutAnswer answer{change.code};
  if (change.code != Code::kSuccess) return answer;
  AppendTag(answer.parameters, kLuidTag, change.id);
  AppendTag(answer.parameters, kCounterTag, std::to_string(store->Counter()));
  return answer;
}

}  // namespace obex
