// A message object keeps the message as it was when it was opened, with what was put into it since. The
// changes are written in one transaction: by SaveChanges, or else by the last Release.
//
// What is put goes to two places, the message as its caller sees it and the changes that are still to be
// written, so that a save writes just what was put and leaves alone what another program has set meanwhile.
// The body is kept apart because it can be large: it is read when its stream is opened, and a stream that is
// written hands it over whole. Such a stream holds a reference to its message, so that the last Release of
// the message comes after its streams have given what they have.

#include "platform/device/mail/message.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/api/com_ptr.h"
#include "platform/device/mail/object.h"
#include "platform/device/mail/records.h"
#include "platform/device/mail/stream.h"
#include "platform/device/mail/table.h"

namespace device {
namespace {

// The types of properties that are kept in one type only.
constexpr ULONG kTypedProperties[] = {PR_MESSAGE_CLASS,         PR_SUBJECT,
                                      PR_SENDER_NAME,           PR_SENDER_EMAIL_ADDRESS,
                                      PR_MESSAGE_DELIVERY_TIME, PR_MESSAGE_FLAGS};

// Whether a message takes a property with this tag.
HRESULT CheckTag(ULONG tag) {
  switch (PROP_ID(tag)) {
    case PROP_ID(PR_ENTRYID):
    case PROP_ID(PR_PARENT_ENTRYID):
    case PROP_ID(PR_OBJECT_TYPE):
      return MAPI_E_COMPUTED;
    case PROP_ID(PR_BODY):
      return MAPI_E_NO_SUPPORT;  // it is a stream
  }
  for (const ULONG known : kTypedProperties) {
    if (PROP_ID(known) == PROP_ID(tag) && known != tag) return MAPI_E_UNEXPECTED_TYPE;
  }
  return S_OK;
}

LPSPropProblemArray NewProblems(const std::vector<SPropProblem>& problems) {
  MailBuffer<SPropProblemArray> array = NewMailBytes<SPropProblemArray>(
      offsetof(SPropProblemArray, aProblem) + problems.size() * sizeof(SPropProblem));
  SPropProblem* place = array->aProblem;
  for (const SPropProblem& problem : problems) *place++ = problem;
  array->cProblem = static_cast<ULONG>(problems.size());
  return array.release();
}

// The usual three columns, then what else any of the recipients has.
std::vector<ULONG> RecipientColumns(const std::vector<MapiProperties>& recipients) {
  MapiProperties others;
  for (const MapiProperties& each : recipients) others.insert(each.begin(), each.end());
  std::vector<ULONG> columns = {PR_RECIPIENT_TYPE, PR_ADDRTYPE, PR_EMAIL_ADDRESS};
  for (const ULONG usual : columns) others.erase(PROP_ID(usual));
  for (const auto& [id, value] : others) columns.push_back(PROP_TAG(value.type, id));
  return columns;
}

MapiProperties TakeRecipient(const ADRENTRY& entry) {
  MapiProperties recipient;
  for (ULONG i = 0; i < entry.cValues; ++i) {
    MapiValue value;
    const SCODE result = TakeValue(entry.rgPropVals[i], &value);
    if (FAILED(result)) throw MapiFailure{result, 0};
    recipient[PROP_ID(entry.rgPropVals[i].ulPropTag)] = std::move(value);
  }
  return recipient;
}

class Message final : public MapiObject<IMessage, IID_IMAPIProp, IID_IMessage> {
 public:
  Message(std::shared_ptr<Database> database, int64_t id, StoredMessage stored, bool is_new)
      : database_(std::move(database)), id_(id), message_(std::move(stored)), is_new_(is_new) {}

  HRESULT SaveChanges(ULONG) override {
    return Run([&] {
      has_failed_ = true;  // stays when Save throws
      Save();
      has_failed_ = false;
      return S_OK;
    });
  }

  HRESULT GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) override {
    return Run([&] { return GiveProps(message_.properties, tags, count, values); });
  }

  HRESULT SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override {
    if (problems != nullptr) *problems = nullptr;
    return Run([&] {
      if (count == 0 || values == nullptr) return MAPI_E_INVALID_PARAMETER;
      MapiProperties taken;
      // Nothing is set before all were looked at: without a place for problems it is all or nothing.
      const std::vector<SPropProblem> found = TakeProps(count, values, &taken);
      if (!found.empty()) {
        if (problems == nullptr) return found.front().scode;
        *problems = NewProblems(found);
      }
      for (const auto& [property, value] : taken) {
        message_.properties[property] = value;
        changes_.properties[property] = value;
      }
      return S_OK;
    });
  }

  HRESULT OpenProperty(ULONG tag, LPCIID, ULONG, ULONG flags, LPUNKNOWN* object) override {
    if (object != nullptr) *object = nullptr;
    return Run([&] {
      if (object == nullptr || PROP_TYPE(tag) == PT_UNSPECIFIED) return MAPI_E_INVALID_PARAMETER;
      if (tag != PR_BODY) return MAPI_E_NO_SUPPORT;
      return OpenBody(flags, object);
    });
  }

  HRESULT GetRecipientTable(ULONG, IMAPITable** table) override {
    if (table != nullptr) *table = nullptr;
    return Run([&] {
      if (table == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (message_.recipients.empty()) return MAPI_E_NO_RECIPIENTS;
      *table = NewTable(RowsOf(message_.recipients), RecipientColumns(message_.recipients),
                        MapiColumns::kFixed);
      return S_OK;
    });
  }

  HRESULT ModifyRecipients(ULONG flags, LPADRLIST list) override {
    return Run([&] {
      if (list == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (flags != MODRECIP_ADD) return MAPI_E_UNKNOWN_FLAGS;
      const ADRENTRY* entry = list->aEntries;
      // First by themselves, so that a bad entry leaves the list as it was.
      std::vector<MapiProperties> added;
      for (ULONG i = 0; i < list->cEntries; ++i, ++entry) {
        if (entry->cValues == 0 || entry->rgPropVals == nullptr) continue;  // stands for nobody
        added.push_back(TakeRecipient(*entry));
      }
      for (std::vector<MapiProperties>* to : {&message_.recipients, &changes_.recipients}) {
        to->insert(to->end(), added.begin(), added.end());
      }
      return S_OK;
    });
  }

 private:
  // After a SaveChanges that failed, nothing is stored behind the caller's back.
  void LastRelease() noexcept override {
    if (!has_failed_) SaveChanges(0);
  }

  void Save() {
    if (is_new_) {
      InsertMessage(*database_, id_, message_.folder, changes_);
    } else if (!changes_.empty()) {
      ChangeMessage(*database_, id_, changes_);
    }
    is_new_ = false;
    changes_ = {};
  }

  static std::vector<SPropProblem> TakeProps(ULONG count, const SPropValue* values,
                                             MapiProperties* taken) {
    std::vector<SPropProblem> problems;
    for (ULONG i = 0; i < count; ++i) {
      MapiValue value;
      SCODE result = CheckTag(values[i].ulPropTag);
      if (SUCCEEDED(result)) result = TakeValue(values[i], &value);
      if (FAILED(result)) {
        problems.push_back({i, values[i].ulPropTag, result});
      } else {
        (*taken)[PROP_ID(values[i].ulPropTag)] = std::move(value);
      }
    }
    return problems;
  }

  HRESULT OpenBody(ULONG flags, LPUNKNOWN* object) {
    const bool is_written = (flags & (MAPI_MODIFY | MAPI_CREATE)) != 0;
    const bool is_created = (flags & MAPI_CREATE) != 0;
    std::optional<std::string> body;
    if (!is_created) body = Body();
    if (!body && !is_written) return MAPI_E_NOT_FOUND;
    StreamSink sink;
    if (is_written) {
      AddRef();  // the message stays as long as its stream
      sink = [self = ComPtr<Message>(this)](std::string bytes) {
        self->changes_.body = std::move(bytes);
      };
    }
    *object = NewStream(std::move(body).value_or(std::string()), std::move(sink), is_created);
    return S_OK;
  }

  // Of a new message, or after a change, only what was put here counts; else the store's present body.
  std::optional<std::string> Body() const {
    if (changes_.body || is_new_) return changes_.body;
    return LoadBody(*database_, id_);
  }

  const std::shared_ptr<Database> database_;
  const int64_t id_;
  StoredMessage message_;  // as a caller sees it
  MessageChanges changes_;
  bool is_new_;              // not yet in the store
  bool has_failed_ = false;  // the last SaveChanges did
};

}  // namespace

IMessage* NewMessage(const std::shared_ptr<Database>& database, int64_t folder) {
  const int64_t id = ReserveMessageId(*database);
  return new Message(database, id, {folder, PlaceProperties(id, folder), {}}, true);
}

IMessage* OpenMessage(const std::shared_ptr<Database>& database, int64_t id) {
  std::optional<StoredMessage> stored = LoadMessage(*database, id);
  if (!stored) throw MapiFailure{MAPI_E_NOT_FOUND, 0};
  return new Message(database, id, std::move(*stored), false);
}

}  // namespace device
