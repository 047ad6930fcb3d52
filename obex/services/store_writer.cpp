// It has to be the object as it was sent that the store holds after a change. The library's change overwrites what was sent
// and keeps the rest; where something is left that was not sent, the object is added anew and the old one deleted after
// that, so that nothing is lost if this ends in between.
#include "obex/services/store_writer.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

#include "btosif/osif_util/charset.h"
#include "client/records.h"
#include "client/texts.h"
#include "dialects/content_line.h"
#include "obex/services/answers.h"
#include "obex/services/first_record.h"

namespace obex {
namespace {

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
    const bool is_empty = line.value.find_first_not_of(';') == std::string::npos;
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

}  // namespace

bool HoldsAllOf(const std::string& stored, const std::string& sent) {
  return std::ranges::includes(ValuesOf(stored), ValuesOf(sent));
}

Change StoreWriter::Refuse(const std::string& id, OsifResult result, const std::string& why) {
  journal_.Tell(Deed::kRefused, store_.store_id(), id,
                why.empty() ? client::CodeText(result) : why);
  return {CodeOf(result)};
}

Change StoreWriter::Add(const ReceivedBody& body) {
  Change change;
  FirstRecord first(store_.store_id(), [&](OsifObject& object, const std::string& uid) {
    client::ObjectId id{};
    const OsifResult result = OSIF_AddObject(store_.store_id(), &object, id.data(),
                                             store_.session().NewAnchor(store_.store_id()));
    if (result != OSIF_OK) {
      change = Refuse({}, result, {});
      return;
    }
    if (!uid.empty()) uids_.Keep(store_.store_id(), id.data(), uid);
    journal_.Tell(Deed::kAdded, store_.store_id(), id.data(),
                  client::ObjectName(store_.store_id(), object));
    change = {Code::kSuccess, id.data()};
  });
  dialects::FileRest rest;
  dialects::ReadDialectFile(body.Rewound(), {InputCodePage()}, first, rest);
  if (!first.has_used()) return Refuse({}, OSIF_PARSE_ERROR, first.refusal());
  if (!first.refusal().empty()) Refuse({}, OSIF_PARSE_ERROR, first.refusal());
  return change;
}

Change StoreWriter::Replace(const std::string& id, const ReceivedBody& body) {
  if (client::FetchedObject stored(store_.store_id(), id.c_str()); stored.result() != OSIF_OK) {
    return Refuse(id, stored.result(), {});
  }
  Change change;
  FirstRecord first(store_.store_id(), [&](OsifObject& object, const std::string& uid) {
    const OsifResult result = OSIF_ModifyObject(store_.store_id(), id.c_str(), &object,
                                                store_.session().NewAnchor(store_.store_id()));
    if (result != OSIF_OK) {
      change = Refuse(id, result, {});
      return;
    }
    if (!uid.empty()) uids_.Keep(store_.store_id(), id, uid);
    journal_.Tell(Deed::kUpdated, store_.store_id(), id,
                  client::ObjectName(store_.store_id(), object));
    change = {Code::kSuccess, id};
  });
  dialects::FileRest rest;
  dialects::ReadDialectFile(body.Rewound(), {InputCodePage()}, first, rest);
  if (!first.has_used()) return Refuse(id, OSIF_PARSE_ERROR, first.refusal());
  if (change.code != Code::kSuccess) return change;

  OsifResult result = OSIF_OK;
  const std::string now = store_.TextWithoutId(id, result);
  if (!HoldsMoreThan(now, store_.TextOfBody(body.Rewound()))) return change;
  Change added = Add(body);
  if (added.code != Code::kSuccess) return added;
  const std::string uid = uids_.Find(store_.store_id(), id);
  if (!uid.empty()) uids_.Keep(store_.store_id(), added.id, uid);
  Change removed = Remove(id);
  if (removed.code == Code::kSuccess) return added;
  Remove(added.id);
  return removed;
}

Change StoreWriter::Remove(const std::string& id) {
  const OsifResult result = OSIF_DeleteObject(store_.store_id(), id.c_str(),
                                              store_.session().NewAnchor(store_.store_id()));
  if (result != OSIF_OK) return Refuse(id, result, {});
  uids_.Keep(store_.store_id(), id, {});
  journal_.Tell(Deed::kDeleted, store_.store_id(), id, {});
  return {Code::kSuccess, id};
}

}  // namespace obex
