// A record that is written as a vCard is read back with the same texts, whatever they are.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstring>
#include <vector>

#include "btosif/osif_generators/vcard_writer.h"
#include "btosif/osif_util/object_record.h"
#include "tests/support/contacts.h"
#include "tests/support/random_text.h"
#include "tests/support/settings.h"
#include "tests/support/text_test.h"

namespace vcard_round_trip_test {
namespace {

using support::AnyWideText;

using ComponentTexts = std::vector<WideText>;

struct ListCase {
  PropertyValue* OsifContact::*list;
  size_t components;
};

constexpr ListCase kLists[] = {
    {&OsifContact::n, 5},       {&OsifContact::fn, 1},        {&OsifContact::nickname, 1},
    {&OsifContact::bday, 1},    {&OsifContact::adr, 7},       {&OsifContact::org, 2},
    {&OsifContact::title, 1},   {&OsifContact::role, 1},      {&OsifContact::tel, 1},
    {&OsifContact::url, 1},     {&OsifContact::email, 1},     {&OsifContact::note, 1},
    {&OsifContact::xSpouse, 1}, {&OsifContact::xChildren, 1}, {&OsifContact::xAnniversary, 1},
    {&OsifContact::xCat, 1},    {&OsifContact::xAssistant, 1}};

std::string WrittenCard(const std::vector<ComponentTexts>& texts, uint32_t encode_flags) {
  OwnedObject object(OSIF_STORE_PB);
  std::strcpy(object->version, "2.1");
  for (size_t field = 0; field < std::size(kLists); ++field) {
    PropertyValue* value = PropertyValue_Append(object->contact.*kLists[field].list);
    for (size_t i = 0; i < texts[field].size(); ++i) {
      PropertyValue_SetText(texts[field][i], value, encode_flags, i);
    }
  }
  return support::BytesWritten([&](OsifStream& stream) { VCard_Write(stream, *object, 1); });
}

// The decoded texts of the only card of a file.
std::vector<ComponentTexts> ReadTexts(const std::string& bytes) {
  std::vector<ComponentTexts> texts;
  auto keep = [](int32_t, OsifObject* object, OsifResult result, void* context) -> int32_t {
    auto& kept = *static_cast<std::vector<ComponentTexts>*>(context);
    EXPECT_EQ(result, OsifResult{OSIF_PARSE_OK});
    for (const ListCase& field : kLists) {
      ComponentTexts components;
      for (size_t i = 0; i < field.components; ++i) {
        components.push_back(DecodedText(object->contact.*field.list, i));
      }
      kept.push_back(components);
    }
    return 0;
  };
  OsifStream stream = support::OpenBytes(bytes);
  EXPECT_EQ(VCard_ReadFile(stream, keep, &texts), OsifResult{OSIF_PARSE_OK});
  return texts;
}

class VCardRoundTrip : public support::TextTest {};

void ExpectAnyRecordBack() {
  EXPECT_TRUE(rc::check([] {
    std::vector<ComponentTexts> texts;
    for (const ListCase& field : kLists) {
      texts.push_back(*rc::gen::container<ComponentTexts>(field.components, AnyWideText()));
    }
    const uint32_t encode_flags = *rc::gen::element(0u, kEncodeQuotedPrintable);
    RC_ASSERT(ReadTexts(WrittenCard(texts, encode_flags)) == texts);
  }));
}

TEST_F(VCardRoundTrip, AnyTextsComeBackWithoutTheVendorsProperties) {
  support::SetSetting(u"DoNotSendMsftProperties", 1);
  ExpectAnyRecordBack();
}

TEST_F(VCardRoundTrip, AnyTextsComeBackFromTheFirstOfTheTwoWrittenOnes) { ExpectAnyRecordBack(); }

}  // namespace
}  // namespace vcard_round_trip_test
