// A peer reads what changed, reads objects, and writes its own changes, all with the log of the store held by its session:
// nobody else's change comes in between. It has to be the object as it was sent that the store holds after a change. The
// library's change overwrites what was sent and keeps the rest; where something is left that was not sent, the object is
// added anew and the old one deleted after that, so that nothing is lost if this ends in between.
#include "obex/services/sync_service.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <functional>
#include <set>
#include <utility>

#include "btosif/osif_util/charset.h"
#include "client/texts.h"
#include "dialects/content_line.h"
#include "dialects/object_reader.h"
#include "dialects/object_splitter.h"
#include "obex/packets/headers.h"
#include "obex/services/answers.h"
#include "obex/services/push_service.h"
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
  WholeStore(StoreAccess& store, std::string first, Journal& journal)
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

// A value may stand there twice, as a number that is both at home and at work.
using Values = std::multiset<std::pair<std::string, std::string>>;

// What an object says, by property. What the store adds by itself is left out.
Values ValuesOf(const std::string& text) {
  static const std::set<Values::value_type> kOfTheStore = {{"CLASS", "PUBLIC"},
                                                           {"PRIORITY", "0"},
                                                           {"STATUS", "NEEDS ACTION"},
                                                           {"X-BLUETOOTH-ALLDAYEVENT", "FALSE"}};
  static constexpr std::array<std::string_view, 8> kNoContent = {
      "BEGIN", "END", "VERSION", "FN", "UID", "X-IRMC-LUID", "DTEND", "REV"};
  dialects::Report ignored;
  Values values;
  for (dialects::ContentLine& line :
       dialects::ReadContentLines(text, 1, dialects::kOldLines, ignored)) {
    const bool is_empty = line.value.find_first_not_of(";") == std::string::npos;
    if (is_empty || std::ranges::find(kNoContent, line.name) != kNoContent.end()) continue;
    std::pair<std::string, std::string> value(line.name, line.value);
    if (!kOfTheStore.contains(value)) values.insert(std::move(value));
  }
  return values;
}

bool HoldsMoreThan(const std::string& stored, const std::string& sent) {
  const Values of_stored = ValuesOf(stored);
  const Values of_sent = ValuesOf(sent);
  return !std::ranges::includes(of_sent, of_stored);
}

// Does something with the first record of a body that is for a store.
class FirstRecord : public dialects::ObjectVisitor {
 public:
  using Use = std::function<void(OsifObject& object, const std::string& uid)>;
  FirstRecord(int32_t store_id, Use use) : store_id_(store_id), use_(std::move(use)) {}

  void OnObject(const dialects::ReadObject& object) override {
    if (object.store_id != store_id_) {
      refusal_ = "an object for another store";
    } else if (!std::exchange(has_used_, true)) {
      use_(*object.object, object.uid);
    } else {
      refusal_ = "more than one object";
    }
  }
  void OnRefused(const dialects::RefusedObject& refused) override { refusal_ = refused.reason; }

  bool has_used() const { return has_used_; }
  // What of the body was not used, in words.
  const std::string& refusal() const { return refusal_; }

 private:
  const int32_t store_id_;
  const Use use_;
  bool has_used_ = false;
  std::string refusal_;
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
  return {Code::kSuccess, std::make_unique<WholeStore>(store, std::move(first), journal_)};
}

GetAnswer SyncService::GetObject(StoreAccess& store, const std::string& id) {
  OsifResult result = OSIF_OK;
  std::string text = store.WholeTextOf(id, result);
  if (text.empty()) return {Refuse(store, id, result, {}).code};
  journal_.Tell(Deed::kSent, store.store_id(), id, {});
  return AnswerWith(std::move(text));
}

GetAnswer SyncService::GetIndexed(StoreAccess& store, uint32_t index) {
  if (index == 0) {
    const std::string owner = BusinessCardId();
    if (store.store_id() != OSIF_STORE_PB || owner.empty()) {
      return {Refuse(store, {}, OSIF_ERR_NOT_FOUND, "the owner has named no card").code};
    }
    return GetObject(store, owner);
  }
  const std::vector<std::string> ids = store.Ids();
  if (index <= ids.size()) return GetObject(store, ids[index - 1]);
  return {Refuse(store, {}, OSIF_ERR_NOT_FOUND, "no object " + std::to_string(index)).code};
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
  Change change;
  if (node.kind == NodeKind::kNewObject) {
    if (form != BodyForm::kSome) {
      return {Refuse(*store, {}, OSIF_ERR_MISSING_FIELD, "nothing is in it").code};
    }
    change = Add(*store, *body);
  } else if (form == BodyForm::kSome) {
    change = Replace(*store, node.luid, *body);
  } else {
    change = Remove(*store, node.luid);
  }
  PutAnswer answer{change.code};
  if (change.code != Code::kSuccess) return answer;
  AppendTag(answer.parameters, kLuidTag, change.id);
  AppendTag(answer.parameters, kCounterTag, std::to_string(store->Counter()));
  return answer;
}

SyncService::Change SyncService::Refuse(StoreAccess& store, const std::string& id,
                                        OsifResult result, const std::string& why) {
  journal_.Tell(Deed::kRefused, store.store_id(), id, why.empty() ? client::CodeText(result) : why);
  return {CodeOf(result)};
}

SyncService::Change SyncService::Add(StoreAccess& store, const ReceivedBody& body) {
  Change change;
  FirstRecord first(store.store_id(), [&](OsifObject& object, const std::string& uid) {
    client::ObjectId id{};
    const OsifResult result = OSIF_AddObject(store.store_id(), &object, id.data(),
                                             store.session().NewAnchor(store.store_id()));
    if (result != OSIF_OK) {
      change = Refuse(store, {}, result, {});
      return;
    }
    if (!uid.empty()) uids_->Keep(store.store_id(), id.data(), uid);
    journal_.Tell(Deed::kAdded, store.store_id(), id.data(),
                  client::ObjectName(store.store_id(), object));
    change = {Code::kSuccess, id.data()};
  });
  dialects::FileRest rest;
  dialects::ReadDialectFile(body.Rewound(), {InputCodePage()}, first, rest);
  if (!first.has_used()) return Refuse(store, {}, OSIF_PARSE_ERROR, first.refusal());
  if (!first.refusal().empty()) Refuse(store, {}, OSIF_PARSE_ERROR, first.refusal());
  return change;
}

SyncService::Change SyncService::Replace(StoreAccess& store, const std::string& id,
                                         const ReceivedBody& body) {
  if (client::FetchedObject stored(store.store_id(), id.c_str()); stored.result() != OSIF_OK) {
    return Refuse(store, id, stored.result(), {});
  }
  Change change;
  FirstRecord first(store.store_id(), [&](OsifObject& object, const std::string& uid) {
    const OsifResult result = OSIF_ModifyObject(store.store_id(), id.c_str(), &object,
                                                store.session().NewAnchor(store.store_id()));
    if (result != OSIF_OK) {
      change = Refuse(store, id, result, {});
      return;
    }
    if (!uid.empty()) uids_->Keep(store.store_id(), id, uid);
    journal_.Tell(Deed::kUpdated, store.store_id(), id,
                  client::ObjectName(store.store_id(), object));
    change = {Code::kSuccess, id};
  });
  dialects::FileRest rest;
  dialects::ReadDialectFile(body.Rewound(), {InputCodePage()}, first, rest);
  if (!first.has_used()) return Refuse(store, id, OSIF_PARSE_ERROR, first.refusal());
  if (change.code != Code::kSuccess) return change;

  OsifResult result = OSIF_OK;
  const std::string now = store.TextWithoutId(id, result);
  if (!HoldsMoreThan(now, store.TextOfBody(body.Rewound()))) return change;
  const Change added = Add(store, body);
  if (added.code != Code::kSuccess) return added;
  const std::string uid = uids_->Find(store.store_id(), id);
  if (!uid.empty()) uids_->Keep(store.store_id(), added.id, uid);
  const Change removed = Remove(store, id);
  if (removed.code == Code::kSuccess) return added;
  Remove(store, added.id);
  return removed;
}

SyncService::Change SyncService::Remove(StoreAccess& store, const std::string& id) {
  const OsifResult result =
      OSIF_DeleteObject(store.store_id(), id.c_str(), store.session().NewAnchor(store.store_id()));
  if (result != OSIF_OK) return Refuse(store, id, result, {});
  uids_->Keep(store.store_id(), id, {});
  journal_.Tell(Deed::kDeleted, store.store_id(), id, {});
  return {Code::kSuccess, id};
}

}  // namespace obex
