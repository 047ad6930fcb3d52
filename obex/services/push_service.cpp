// The library is opened for one object and closed after it, so that a peer that stays connected holds nothing that others
// wait for. A store that a synchronisation holds is waited for, since nobody would send the object again.
#include "obex/services/push_service.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "client/registry_value.h"
#include "client/store.h"
#include "client/storer.h"
#include "client/texts.h"
#include "client/uid_table.h"
#include "dialects/object_reader.h"
#include "obex/services/answers.h"
#include "obex/services/store_access.h"
#include "platform/device/device.h"

namespace obex {
namespace {

constexpr const WCHAR* kBusinessCard = u"BusinessCard";
constexpr std::string_view kCardType = "text/x-vcard";
constexpr std::string_view kSyncTree = "telecom/";
constexpr size_t kLongestFileName = 100;  // bytes of a peer's name that are kept

// Types and endings of what is taken. Another type may still hold such an object; the body decides then.
constexpr std::array<std::string_view, 10> kTypes = {
    "text/x-vcard",     "text/vcard",
    "text/x-vcalendar", "text/calendar",
    "text/x-vnote",     "text/x-vmsg",
    "text/x-vmessage",  "text/plain",
    "text/directory",   "application/octet-stream"};

bool IsTakenType(std::string_view type) {
  type = type.substr(0, type.find(';'));
  return type.empty() || std::ranges::any_of(kTypes, [&](std::string_view taken) {
           return EqualsIgnoringCase(type, taken);
         });
}

bool IsOfSyncTree(std::string_view name) {
  return StartsIgnoringCase(name.substr(name.starts_with('/') ? 1 : 0), kSyncTree);
}

// Names of paths, of whichever system, down to what stands last.
std::string LastPart(std::string_view name) {
  const size_t separator = name.find_last_of("/\\");
  return std::string(separator == std::string_view::npos ? name : name.substr(separator + 1));
}

// A file name of letters, digits, and what is harmless between them; no letter of several bytes is cut.
std::string FileNameOf(const std::string& name) {
  std::string safe;
  for (const char c : client::OneLine(LastPart(name))) {
    const bool is_inside_letter = (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    if (safe.size() >= kLongestFileName && !is_inside_letter) break;
    const bool is_kept = (c >= '0' && c <= '9') || (AsciiUpper(c) >= 'A' && AsciiUpper(c) <= 'Z') ||
                         c == '-' || c == '_' || static_cast<unsigned char>(c) >= 0x80 ||
                         (c == '.' && !safe.empty());
    safe += is_kept ? c : '_';
  }
  return safe.empty() ? "object" : safe;
}

// Stores what a body holds.
class Receiver : public dialects::ObjectVisitor {
 public:
  Receiver(client::Session& session, const PushSettings& settings, Journal& journal)
      : session_(session),
        settings_(settings),
        journal_(journal),
        storer_(session, journal, {}),
        uids_(device::Folder()) {}

  void OnObject(const dialects::ReadObject& object) override {
    const std::string name = client::ObjectName(object.store_id, *object.object);
    if (object.number > settings_.most_objects) return RefuseRest();
    if (!MayStore(object.store_id)) {
      return Refuse(object.store_id, name + ": the store is in use", Code::kUnavailable);
    }
    const client::StoreOutcome stored = storer_.Store(object.store_id, *object.object);
    if (stored.action == client::StoreAction::kRefused) {
      // The library was not even asked where it says nothing: the store may not be changed.
      const bool was_asked = stored.result != OSIF_OK;
      return Refuse(object.store_id, name + ": " + client::CodeText(stored.result),
                    was_asked ? CodeOf(stored.result) : Code::kUnavailable);
    }
    if (!object.uid.empty()) uids_.Keep(object.store_id, stored.id.data(), object.uid);
    journal_.Tell(stored.action == client::StoreAction::kAdded ? Deed::kAdded : Deed::kUpdated,
                  object.store_id, client::IdToOutput(stored.id.data()), name);
  }

  void OnRefused(const dialects::RefusedObject& refused) override {
    if (refused.number > settings_.most_objects) return RefuseRest();
    const bool is_foreign = refused.kind == dialects::ObjectKind::kUnknown;
    Refuse(-1, refused.reason, is_foreign ? Code::kUnsupportedType : Code::kBadRequest);
  }

  // kSuccess where all was stored, else what was wrong first.
  Code code() const { return code_; }

 private:
  // A store is waited for once: the peer waits for its answer, however many objects it has sent.
  bool MayStore(int32_t store_id) {
    const auto [store, is_first] = may_store_.try_emplace(store_id, false);
    if (is_first) store->second = session_.OpenWhenFree(store_id, settings_.patience);
    return store->second;
  }

  // Told once, however many there are.
  void RefuseRest() {
    if (!std::exchange(has_too_many_, true)) {
      Refuse(-1, "too many objects at once", Code::kTooLarge);
    }
  }

  void Refuse(int32_t store_id, const std::string& reason, Code code) {
    if (code_ == Code::kSuccess) code_ = code;
    journal_.Tell(Deed::kRefused, store_id, {}, reason);
  }

  client::Session& session_;
  const PushSettings& settings_;
  Journal& journal_;
  client::Storer storer_;
  client::UidTable uids_;
  std::map<int32_t, bool> may_store_;
  Code code_ = Code::kSuccess;
  bool has_too_many_ = false;
};

}  // namespace

Code PushService::Open(std::string_view target) {
  if (!target.empty()) return Refuse(Code::kForbidden, "a service that is not offered");
  journal_.Begin("push");
  return Code::kSuccess;
}

Code PushService::TakeBody(const Request& request, std::string_view bytes) {
  const Code taken = MayTake(request);
  if (taken != Code::kSuccess) {
    Drop();
    return taken;
  }
  if (!body_) body_ = std::make_unique<ReceivedBody>();
  if (body_->Add(bytes)) return Code::kContinue;
  Drop();
  return Refuse(Code::kDatabaseFull, "no room for it");
}

Code PushService::MayTake(const Request& request) {
  const std::string name = request.name.value_or("");
  if (IsOfSyncTree(name)) {
    return Refuse(Code::kForbidden, name + " is for those who synchronise");
  }
  if (!IsTakenType(request.type)) {
    return Refuse(Code::kUnsupportedType, "objects of type " + request.type + " are not taken");
  }
  return Code::kSuccess;
}

Code PushService::Refuse(Code code, const std::string& reason) {
  journal_.Tell(Deed::kRefused, -1, {}, reason);
  return code;
}

// The name and the type may have come after the body.
PutAnswer PushService::FinishPut(const Request& request, BodyForm form) {
  const std::unique_ptr<ReceivedBody> body = std::move(body_);
  if (form == BodyForm::kNone) {
    return {Refuse(Code::kForbidden, "to delete is for those who synchronise")};
  }
  if (body == nullptr) return {Refuse(Code::kUnsupportedType, "nothing is in it")};
  const Code taken = MayTake(request);
  if (taken != Code::kSuccess) return {taken};
  if (!settings_.inbox.empty()) {
    const Code kept = Keep(request, *body);
    if (kept != Code::kSuccess || settings_.is_inbox_only) return {kept};
  }
  return {Store(*body)};
}

// A name that is there already gets a number.
Code PushService::Keep(const Request& request, const ReceivedBody& body) {
  const std::string name = FileNameOf(request.name.value_or(""));
  constexpr int kMostNumbers = 10'000;
  for (int number = 0; number < kMostNumbers; ++number) {
    const std::string place =
        settings_.inbox + "/" + (number == 0 ? name : std::to_string(number) + "-" + name);
    const int handle =
        open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (handle < 0 && errno == EEXIST) continue;
    const bool is_kept = handle >= 0 && body.CopyTo(handle) && fsync(handle) == 0;
    const int error = errno;
    if (handle >= 0) close(handle);
    if (is_kept) return Code::kSuccess;
    if (handle >= 0) unlink(place.c_str());
    return Refuse(error == ENOSPC ? Code::kDatabaseFull : Code::kInternalError,
                  place + ": " + std::strerror(error));
  }
  return Refuse(Code::kDatabaseFull, "too many objects of one name in " + settings_.inbox);
}

Code PushService::Store(const ReceivedBody& body) {
  client::Session session(false, journal_);
  if (!session.is_open()) return Code::kInternalError;
  Receiver receiver(session, settings_, journal_);
  dialects::FileRest rest;
  const OsifResult result =
      dialects::ReadDialectFile(body.Rewound(), {InputCodePage()}, receiver, rest);
  if (rest.objects > 0) return receiver.code();
  return Refuse(CodeOf(result), "no object is in it");
}

std::string BusinessCardId() {
  const auto id = client::ReadRegistryText(client::kGeneralKey, kBusinessCard);
  return id ? client::ToOutput(*id) : std::string();
}

GetAnswer PushService::Get(const Request& request) {
  const bool is_default = !request.name || request.name->empty();
  if (!is_default || !EqualsIgnoringCase(request.type, kCardType)) {
    return {Refuse(Code::kForbidden, "nothing but the owner's card is given")};
  }
  const std::string id = BusinessCardId();
  if (id.empty()) return {Refuse(Code::kNotFound, "the owner has named no card")};
  client::Session session(false, journal_);
  if (!session.is_open()) return {Code::kInternalError};
  OsifResult result = OSIF_OK;
  std::string card = StoreAccess(OSIF_STORE_PB, session).TextWithoutId(id, result);
  if (card.empty()) {
    return {Refuse(CodeOf(result), "the owner's card, " + id + ": " + client::CodeText(result))};
  }
  journal_.Tell(Deed::kSent, OSIF_STORE_PB, id, "the owner's card");
  return AnswerWith(std::move(card));
}

}  // namespace obex
