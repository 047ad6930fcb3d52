// The library is opened for one object and closed after it, so that a peer that stays connected holds nothing that others
// wait for. A store that a synchronisation holds is waited for, since nobody would send the object again.
#include "obex/services/push_service.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
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

// Names of paths, of whichever system, down to what stands last.
std::string LastPart(std::string_view name) {
  const size_t separator = name.find_last_of("/\\");
  return std::string(separator == std::string_view::npos ? name : name.substr(separator + 1));
}

// A file name of letters, digits, and what is harmless between them.
std::string FileNameOf(const std::string& name) {
  std::string safe;
  for (const char c : LastPart(name)) {
    const bool is_kept = (c >= '0' && c <= '9') || (AsciiUpper(c) >= 'A' && AsciiUpper(c) <= 'Z') ||
                         c == '-' || c == '_' || static_cast<unsigned char>(c) >= 0x80 ||
                         (c == '.' && !safe.empty());
    safe += is_kept ? c : '_';
    if (safe.size() == kLongestFileName) break;
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
    if (object.number > settings_.most_objects) {
      return Refuse(object.store_id, "too many objects at once", Code::kTooLarge);
    }
    if (!session_.WaitUntilFree(object.store_id, settings_.patience)) {
      return Refuse(object.store_id, name + ": the store is in use", Code::kUnavailable);
    }
    const client::StoreOutcome stored = storer_.Store(object.store_id, *object.object);
    if (stored.action == client::StoreAction::kRefused) {
      return Refuse(object.store_id, name + ": " + client::CodeText(stored.result),
                    CodeOf(stored.result));
    }
    if (!object.uid.empty()) uids_.Keep(object.store_id, stored.id.data(), object.uid);
    journal_.Tell(stored.action == client::StoreAction::kAdded ? Deed::kAdded : Deed::kUpdated,
                  object.store_id, client::IdToOutput(stored.id.data()), name);
  }

  void OnRefused(const dialects::RefusedObject& refused) override {
    const bool is_foreign = refused.kind == dialects::ObjectKind::kUnknown;
    Refuse(-1, refused.reason, is_foreign ? Code::kUnsupportedType : Code::kBadRequest);
  }

  // kSuccess where all was stored, else what was wrong first.
  Code code() const { return code_; }

 private:
  void Refuse(int32_t store_id, const std::string& reason, Code code) {
    if (code_ == Code::kSuccess) code_ = code;
    journal_.Tell(Deed::kRefused, store_id, {}, reason);
  }

  client::Session& session_;
  const PushSettings& settings_;
  Journal& journal_;
  client::Storer storer_;
  client::UidTable uids_;
  Code code_ = Code::kSuccess;
};

}  // namespace

Code PushService::Open(std::string_view target) {
  if (!target.empty()) return Code::kForbidden;
  journal_.Begin("push");
  return Code::kSuccess;
}

Code PushService::TakeBody(const Request& request, std::string_view bytes) {
  if (request.name && StartsIgnoringCase(*request.name, kSyncTree)) {
    Drop();
    return Code::kForbidden;
  }
  if (!IsTakenType(request.type)) {
    Drop();
    journal_.Tell(Deed::kRefused, -1, {},
                  "objects of type " + client::OneLine(request.type) + " are not taken");
    return Code::kUnsupportedType;
  }
  if (!body_) body_ = std::make_unique<ReceivedBody>();
  if (body_->Add(bytes)) return Code::kContinue;
  Drop();
  return Code::kDatabaseFull;
}

PutAnswer PushService::FinishPut(const Request& request, BodyForm form) {
  const std::unique_ptr<ReceivedBody> body = std::move(body_);
  // To delete is not for those who push; and of an empty object there is nothing to store.
  if (form == BodyForm::kNone) return {Code::kForbidden};
  if (body == nullptr) return {Code::kUnsupportedType};
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
    journal_.Tell(Deed::kRefused, -1, {}, place + ": " + std::strerror(error));
    return error == ENOSPC ? Code::kDatabaseFull : Code::kInternalError;
  }
  return Code::kDatabaseFull;
}

Code PushService::Store(const ReceivedBody& body) {
  client::Session session(false, journal_);
  if (!session.is_open()) return Code::kInternalError;
  Receiver receiver(session, settings_, journal_);
  dialects::FileRest rest;
  const OsifResult result =
      dialects::ReadDialectFile(body.Rewound(), {InputCodePage()}, receiver, rest);
  if (rest.objects > 0) return receiver.code();
  journal_.Tell(Deed::kRefused, -1, {}, "no object is in it");
  return result == OSIF_ERR_INVALID_STREAM ? Code::kUnsupportedType : CodeOf(result);
}

std::string BusinessCardId() {
  const auto id = client::ReadRegistryText(client::kGeneralKey, kBusinessCard);
  return id ? client::ToOutput(*id) : std::string();
}

GetAnswer PushService::Get(const Request& request) {
  const bool is_default = !request.name || request.name->empty();
  if (!is_default || !StartsIgnoringCase(request.type, "text/x-vcard")) return {Code::kForbidden};
  const std::string id = BusinessCardId();
  if (id.empty()) return {Code::kNotFound};
  client::Session session(false, journal_);
  if (!session.is_open()) return {Code::kInternalError};
  OsifResult result = OSIF_OK;
  std::string card = StoreAccess(OSIF_STORE_PB, session).TextWithoutId(id, result);
  if (card.empty()) return {CodeOf(result)};
  journal_.Tell(Deed::kSent, OSIF_STORE_PB, id, "the owner's card");
  return AnswerWith(std::move(card));
}

}  // namespace obex
