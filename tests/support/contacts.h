// vCards for the tests, and what the reader hands on for them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_util/value_text.h"
#include "tests/support/files.h"
#include "tests/support/values.h"

namespace support {

// A whole vCard: Card().Line("N:Lee;Ann").Text()
class Card {
 public:
  Card() = default;
  explicit Card(std::string_view version_line) : version_line_(version_line) {}

  Card& Line(std::string_view line) {
    lines_.append(line).append("\r\n");
    return *this;
  }

  std::string Text() const {
    std::string text = "BEGIN:VCARD\r\n";
    if (!version_line_.empty()) text.append(version_line_).append("\r\n");
    return text + lines_ + "END:VCARD\r\n";
  }

 private:
  std::string version_line_ = "VERSION:2.1";
  std::string lines_;
};

struct ContactField {
  const char* name;
  PropertyValue* OsifContact::*list;
};

// Every list of a contact, under its record name.
inline constexpr ContactField kContactFields[] = {
    {"n", &OsifContact::n},
    {"fn", &OsifContact::fn},
    {"nickname", &OsifContact::nickname},
    {"adr", &OsifContact::adr},
    {"org", &OsifContact::org},
    {"title", &OsifContact::title},
    {"role", &OsifContact::role},
    {"tel", &OsifContact::tel},
    {"url", &OsifContact::url},
    {"email", &OsifContact::email},
    {"note", &OsifContact::note},
    {"bday", &OsifContact::bday},
    {"xSpouse", &OsifContact::xSpouse},
    {"xAnniversary", &OsifContact::xAnniversary},
    {"xChildren", &OsifContact::xChildren},
    {"xAssistant", &OsifContact::xAssistant},
    {"xCat", &OsifContact::xCat},
    {"xMicrosoftOfficeloc", &OsifContact::xMicrosoftOfficeloc},
    {"dept", &OsifContact::dept},
    {"xMicrosoftAsstTel", &OsifContact::xMicrosoftAsstTel},
};

struct ReadValue {
  uint32_t flags;
  std::vector<std::string> params;
  std::vector<std::string> components;
};

// What one callback was given.
struct ReadCard {
  int32_t store;
  OsifResult result;
  std::string luid;
  std::string version;
  std::map<std::string, std::vector<ReadValue>> fields;

  // The components of the first value of a field; empty when the field is.
  std::vector<std::string> First(const std::string& field) const {
    auto found = fields.find(field);
    return found == fields.end() ? std::vector<std::string>{} : found->second.front().components;
  }
};

struct ReadOutcome {
  OsifResult result = OSIF_OK;
  std::vector<ReadCard> cards;
};

inline int32_t KeepCard(int32_t store, OsifObject* object, OsifResult result, void* context) {
  ReadCard card{store, result, object->xIrmcLuid, object->version, {}};
  for (const ContactField& field : kContactFields) {
    for (const PropertyValue& value : Values(object->contact.*field.list)) {
      card.fields[field.name].push_back({value.flags, ParamsOf(value), ComponentsOf(value)});
    }
  }
  static_cast<ReadOutcome*>(context)->cards.push_back(std::move(card));
  return 0;
}

// Reads a file of these bytes and keeps what the callback got.
inline ReadOutcome ReadCards(std::string_view bytes) {
  ReadOutcome outcome;
  OsifStream stream = OpenBytes(bytes);
  outcome.result = VCard_ReadFile(stream, KeepCard, &outcome);
  return outcome;
}

// The decoded components of the first value of a field of the file's only card.
inline std::vector<WideText> DecodedFirst(std::string_view bytes,
                                          PropertyValue* OsifContact::*list) {
  struct Found {
    PropertyValue* OsifContact::*list;
    std::vector<WideText> texts;
    int cards = 0;
  } found{list, {}};
  auto decode = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    Found& kept = *static_cast<Found*>(context);
    ++kept.cards;
    PropertyValue* value = object->contact.*kept.list;
    size_t count = value ? TextsOf(value->components).size() : 0;
    for (size_t i = 0; i < count; ++i) kept.texts.push_back(DecodedText(value, i));
    return 0;
  };
  OsifStream stream = OpenBytes(bytes);
  EXPECT_NE(VCard_ReadFile(stream, decode, &found), static_cast<OsifResult>(OSIF_PARSE_ERROR));
  EXPECT_EQ(found.cards, 1);
  return found.texts;
}

}  // namespace support
