// What the device's store of contacts holds after a file of any dialect was received: the whole way that a card goes,
// seen from its end.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "dialects/forms.h"
#include "dialects/object_reader.h"
#include "platform/utf8.h"
#include "tests/support/osif_fixture.h"

namespace stored_contact {

// The texts of a contact that are not empty, by the names of their places.
using Fields = std::map<std::string, std::string>;

struct Received {
  std::vector<Fields> contacts;       // those that were stored, in the file's order
  std::vector<std::string> refusals;  // why the others were not
  std::vector<OsifResult> readings;   // what the library said of each that was read
  std::vector<std::string> uids;
  std::vector<std::string> texts;  // as the library writes the stored ones
  dialects::Report report;         // of all of them
  dialects::FileRest rest;

  // Of a file of one contact that was stored; a field that tells why where there is none.
  Fields Only() const {
    if (contacts.size() == 1 && refusals.empty()) return contacts.front();
    return {{"not one contact", refusals.empty() ? "" : refusals.front()}};
  }
};

inline void PutField(Fields& fields, const std::string& name, PropertyValue* value, size_t index) {
  const std::string text = value == nullptr ? "" : ToUtf8(DecodedText(value, index));
  if (!text.empty()) fields[name] = text;
}

// A list of values, each of which is a place: the store gives always all of them, empty ones too.
template <size_t kPlaces>
void PutPlaces(Fields& fields, const std::array<const char*, kPlaces>& names, PropertyValue* list,
               size_t index = 0) {
  size_t place = 0;
  for (PropertyValue& value : Values(list)) {
    if (place < kPlaces) PutField(fields, names[place++], &value, index);
  }
}

inline Fields FieldsOf(OsifContact& contact) {
  Fields fields;
  constexpr std::array kNames = {"family", "given", "middle", "prefix", "suffix"};
  for (size_t i = 0; i < kNames.size(); ++i) PutField(fields, kNames[i], contact.n, i);
  constexpr std::array kParts = {"office", "street", "city", "region", "code", "country"};
  for (size_t i = 0; i < kParts.size(); ++i) {
    const std::string part = kParts[i];
    const std::array<std::string, 3> places = {"home " + part, "work " + part, "other " + part};
    PutPlaces<3>(fields, {places[0].c_str(), places[1].c_str(), places[2].c_str()}, contact.adr,
                 i + 1);
  }
  PutField(fields, "company", contact.org, 0);
  PutField(fields, "department", contact.org, 1);
  PutPlaces<11>(fields,
                {"home", "home 2", "work", "work 2", "home fax", "work fax", "mobile", "pager",
                 "car", "assistant's number", "radio"},
                contact.tel);
  PutPlaces<3>(fields, {"email 1", "email 2", "email 3"}, contact.email);
  PutField(fields, "shown", contact.fn, 0);
  PutField(fields, "title", contact.title, 0);
  PutField(fields, "page", contact.url, 0);
  PutField(fields, "note", contact.note, 0);
  PutField(fields, "birthday", contact.bday, 0);
  PutField(fields, "anniversary", contact.xAnniversary, 0);
  PutField(fields, "spouse", contact.xSpouse, 0);
  PutField(fields, "children", contact.xChildren, 0);
  PutField(fields, "assistant", contact.xAssistant, 0);
  PutField(fields, "categories", contact.xCat, 0);
  return fields;
}

class Storing : public dialects::ObjectVisitor {
 public:
  explicit Storing(Received& received) : received_(received) {}

  void OnObject(const dialects::ReadObject& read) override {
    received_.report.Add(read.report);
    received_.readings.push_back(read.result);
    received_.uids.push_back(read.uid);
    ASSERT_EQ(read.store_id, OSIF_STORE_PB);
    char id[OSIF_ID_SIZE] = "";
    ASSERT_EQ(OSIF_AddObject(OSIF_STORE_PB, read.object, id, nullptr), OSIF_OK);
    support::OutsideObject back;
    ASSERT_EQ(OSIF_GetObjectById(OSIF_STORE_PB, id, &back), OSIF_OK);
    received_.contacts.push_back(FieldsOf(back->contact));
    const support::TempFile file;
    support::OutsideObject written;
    ASSERT_EQ(OSIF_GetObjectById(OSIF_STORE_PB, id, &written), OSIF_OK);
    ASSERT_EQ(OSIF_WriteObject(OSIF_STORE_PB, &written, file.wide_path().c_str(), 1), OSIF_OK);
    received_.texts.push_back(file.Bytes());
    OSIF_DeleteObject(OSIF_STORE_PB, id, nullptr);
  }
  void OnRefused(const dialects::RefusedObject& refused) override {
    received_.report.Add(refused.report);
    received_.refusals.push_back(refused.reason);
  }

 private:
  Received& received_;
};

// The store of each test is its own.
class ContactStore : public support::OsifTest {
 protected:
  Received ReceiveFile(std::string_view bytes) const {
    const support::TempFile file(bytes);
    const int handle = open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
    Received received;
    Storing storing(received);
    dialects::ReadDialectFile(handle, settings_, storing, received.rest);
    close(handle);
    for (const OsifResult reading : received.readings) {
      EXPECT_EQ(static_cast<int>(reading), static_cast<int>(OSIF_PARSE_OK)) << bytes;
    }
    return received;
  }

  // A card of these lines between BEGIN and END; an empty version gives none.
  static std::string CardOf(std::string_view version, const std::vector<std::string>& lines) {
    std::string text = "BEGIN:VCARD\r\n";
    if (!version.empty()) text.append("VERSION:").append(version).append("\r\n");
    for (const std::string& line : lines) text.append(line).append("\r\n");
    return text + "END:VCARD\r\n";
  }
  Received ReceiveCard(std::string_view version, const std::vector<std::string>& lines) const {
    return ReceiveFile(CardOf(version, lines));
  }

  // Of Ann Lee's card with these further lines, what is stored but for her name.
  Received ReceiveAnn(std::string_view version, std::vector<std::string> lines) const {
    lines.insert(lines.begin(), {"N:Lee;Ann", "FN:Ann Lee"});
    Received received = ReceiveCard(version, lines);
    for (Fields& fields : received.contacts) {
      EXPECT_EQ(fields["family"], "Lee");
      EXPECT_EQ(fields["given"], "Ann");
      EXPECT_EQ(fields["shown"], "Ann Lee");
      for (const char* name : {"family", "given", "shown"}) fields.erase(name);
    }
    return received;
  }
  Fields Ann(std::string_view version, const std::vector<std::string>& lines) const {
    return ReceiveAnn(version, lines).Only();
  }

  // The lines of what a stored card of the library goes out as, between BEGIN and END, unfolded.
  std::vector<std::string> SentAs(dialects::Form form, std::string_view version,
                                  const std::vector<std::string>& lines) const {
    const Received received = ReceiveCard(version, lines);
    EXPECT_EQ(received.texts.size(), 1U);
    if (received.texts.size() != 1) return {};
    const dialects::WriterSettings settings{settings_, dialects::Origin::kLibrary, ""};
    const dialects::ObjectText object{.kind = dialects::ObjectKind::kCard,
                                      .text = received.texts.front()};
    const dialects::WrittenObject sent = dialects::MakeCardWriter(form, settings)->Write(object);
    EXPECT_TRUE(sent.report.dropped.empty());
    EXPECT_EQ(sent.refusal, "");
    return InnerLines(sent.text);
  }

  static std::vector<std::string> InnerLines(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t begin = 0; begin < text.size();) {
      const size_t end = text.find("\r\n", begin);
      const std::string line = text.substr(begin, end - begin);
      begin = end == std::string::npos ? text.size() : end + 2;
      if (line.starts_with(" ") && !lines.empty()) {
        lines.back() += line.substr(1);
      } else {
        lines.push_back(line);
      }
    }
    EXPECT_GE(lines.size(), 2U);
    if (lines.size() < 2) return {};
    EXPECT_EQ(lines.front(), "BEGIN:VCARD");
    EXPECT_EQ(lines.back(), "END:VCARD");
    return {lines.begin() + 1, lines.end() - 1};
  }

  dialects::TextSettings settings_;
};

}  // namespace stored_contact
