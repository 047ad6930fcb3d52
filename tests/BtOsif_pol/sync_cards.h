// Contacts as a synchronisation sees them: whole, with several fields, to be compared as such.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/property_value.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/other_program.h"

namespace sync_test {

// A field of the item, and where a record holds it.
struct CardField {
  HRESULT (IContact::*get)(BSTR*);
  HRESULT (IContact::*put)(BSTR);
  PropertyValue* OsifContact::*list;
  const char* param;
  size_t component;
};

// In the order in which checksums are fed with them.
inline constexpr CardField kCardFields[] = {
    {&IContact::get_CompanyName, &IContact::put_CompanyName, &OsifContact::org, nullptr, 0},
    {&IContact::get_Email1Address, &IContact::put_Email1Address, &OsifContact::email, "INTERNET",
     0},
    {&IContact::get_MobileTelephoneNumber, &IContact::put_MobileTelephoneNumber, &OsifContact::tel,
     "CELL", 0},
    {&IContact::get_HomeTelephoneNumber, &IContact::put_HomeTelephoneNumber, &OsifContact::tel,
     "HOME", 0},
    {&IContact::get_LastName, &IContact::put_LastName, &OsifContact::n, nullptr, 0},
    {&IContact::get_HomeAddressStreet, &IContact::put_HomeAddressStreet, &OsifContact::adr, "HOME",
     2},
    {&IContact::get_Body, &IContact::put_Body, &OsifContact::note, nullptr, 0},
};

inline constexpr size_t kCardFieldCount = std::size(kCardFields);
inline constexpr size_t kNameField = 4;

// All texts of a card have one length: whatever the item's other properties are, two cards then have the same
// checksum only if their texts have.
inline constexpr size_t kCardTextLength = 10;

using Card = std::array<std::string, kCardFieldCount>;
using CardFields = std::set<size_t>;
using Cards = std::map<std::string, Card>;  // by id
using Ids = std::set<std::string>;

inline const CardFields kAllFields = {0, 1, 2, 3, 4, 5, 6};

inline CardFields FieldsThatDiffer(const Card& one, const Card& other) {
  CardFields fields;
  for (size_t i = 0; i < kCardFieldCount; ++i) {
    if (one[i] != other[i]) fields.insert(i);
  }
  return fields;
}

// Draws cards. No two have the same checksum, since a change that keeps it cannot be seen.
class CardDrawer {
 public:
  explicit CardDrawer(std::mt19937& random) : random_(random) {}

  Card New() { return Change(Card(), kAllFields); }

  // The card with other texts in these fields.
  Card Change(Card card, const CardFields& fields) {
    do {
      for (const size_t field : fields) card[field] = Text();
    } while (!used_.insert(Checksum(card)).second);
    return card;
  }

  CardFields AnyFields() {
    CardFields fields;
    for (auto left = 1 + random_() % 3; left > 0; --left) {
      fields.insert(random_() % kCardFieldCount);
    }
    return fields;
  }

  // Cards that another process has drawn.
  void Avoid(const Cards& cards) {
    for (const auto& [id, card] : cards) used_.insert(Checksum(card));
  }

 private:
  static uint32_t Checksum(const Card& card) {
    support::PlainAdler checksum;
    for (const std::string& text : card) checksum.FeedText(support::Wide(text));
    return checksum.Value();
  }

  std::string Text() {
    std::string text;
    while (text.size() < kCardTextLength) text += static_cast<char>('a' + random_() % 26);
    return text;
  }

  std::mt19937& random_;
  std::set<uint32_t> used_;
};

// ---- By another program -----------------------------------------------------------------------------

// Changes whole cards behind the library's back.
class OtherCardProgram {
 public:
  std::string Add(const Card& card) {
    ComPtr<IDispatch> item;
    EXPECT_EQ(program_.application().CreateItem(olContactItem, item.put()), S_OK);
    IContact& contact = static_cast<IContact&>(*item);
    Save(contact, card);
    return IdOf(contact);
  }
  void Change(const std::string& id, const Card& card) {
    ComPtr<IDispatch> item;
    ASSERT_EQ(program_.application().GetItemFromOid(support::OidOf(id), item.put()), S_OK) << id;
    Save(static_cast<IContact&>(*item), card);
  }
  void Delete(const std::string& id) { program_.Delete(id); }

  Cards Store() {
    ComPtr<IFolder> folder;
    EXPECT_EQ(program_.application().GetDefaultFolder(olFolderContacts, folder.put()), S_OK);
    ComPtr<IPOutlookItemCollection> items;
    EXPECT_EQ(folder->get_Items(items.put()), S_OK);
    int count = 0;
    EXPECT_EQ(items->get_Count(&count), S_OK);
    Cards cards;
    for (int i = 1; i <= count; ++i) {
      ComPtr<IDispatch> item;
      EXPECT_EQ(items->Item(i, item.put()), S_OK);
      IContact& contact = static_cast<IContact&>(*item);
      cards[IdOf(contact)] = Read(contact);
    }
    return cards;
  }

  // Nothing when there is no such contact.
  std::optional<Card> Find(const std::string& id) {
    ComPtr<IDispatch> item;
    if (program_.application().GetItemFromOid(support::OidOf(id), item.put()) != S_OK) return {};
    return Read(static_cast<IContact&>(*item));
  }

 private:
  static std::string IdOf(IContact& contact) {
    LONG oid = 0;
    EXPECT_EQ(contact.get_Oid(&oid), S_OK);
    return support::IdOf(oid);
  }
  static Card Read(IContact& contact) {
    Card card;
    for (size_t i = 0; i < kCardFieldCount; ++i) {
      Bstr text;
      EXPECT_EQ((contact.*kCardFields[i].get)(text.put()), S_OK);
      card[i] = support::Narrow(text.view());
    }
    return card;
  }
  static void Save(IContact& contact, const Card& card) {
    for (size_t i = 0; i < kCardFieldCount; ++i) {
      EXPECT_EQ((contact.*kCardFields[i].put)(Bstr(support::Wide(card[i])).get()), S_OK);
    }
    EXPECT_EQ(contact.Save(), S_OK);
  }

  support::OtherProgram program_;
};

// ---- Through the library ----------------------------------------------------------------------------

inline void FillRecord(OsifContact& record, const Card& card, const CardFields& fields) {
  for (size_t i = 0; i < kCardFieldCount; ++i) {
    // A record without a name takes the item's name away.
    if (i != kNameField && !fields.contains(i)) continue;
    PropertyValue* value = PropertyValue_Append(record.*kCardFields[i].list);
    if (kCardFields[i].param != nullptr) {
      PropertyValue_AddParam(value, std::string_view(kCardFields[i].param));
    }
    PropertyValue_SetComponent(value, CopyText(card[i]), kCardFields[i].component);
  }
}

inline support::LibraryCall AddCard(const Card& card, OsifAnchor* anchor) {
  OwnedObject record(OSIF_STORE_PB);
  FillRecord(record->contact, card, kAllFields);
  char id[OSIF_ID_SIZE] = "";
  const OsifResult result = POL_AddObject(OSIF_STORE_PB, record.get(), id, anchor);
  return {result, id};
}

// Hands over only these fields of the card, and its name.
inline OsifResult ModifyCard(const std::string& id, const Card& card, const CardFields& fields,
                             OsifAnchor* anchor) {
  OwnedObject record(OSIF_STORE_PB);
  FillRecord(record->contact, card, fields);
  return POL_ModifyObject(OSIF_STORE_PB, id.c_str(), record.get(), anchor);
}

}  // namespace sync_test
