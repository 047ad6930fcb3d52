// Where each telephone number of a record goes: an item has eleven places, first come first served.
#include "BtOsif_pol/pol_contact.h"
#include "tests/support/pol_fixture.h"

namespace pol_contact_telephones_test {
namespace {

using namespace support;

// The telephone places that are not empty.
ContactTexts TelephonesOf(ContactRecord& record) {
  ComPtr<FakeContact> item(new FakeContact);
  pol_PutContact(*record, *item);
  ContactTexts places;
  for (const auto& [name, text] : item->data().texts) {
    if (name.find("Number") != std::string::npos && !text.empty()) places[name] = text;
  }
  return places;
}

ContactTexts Telephones(std::initializer_list<std::string_view> lines) {
  ContactRecord record(lines);
  return TelephonesOf(record);
}

using PolTelephones = PolTest;

struct KindCase {
  const char* params;
  const char* place;  // null: dropped
};

class PolTelephoneKind : public PolTest, public testing::WithParamInterface<KindCase> {};

TEST_P(PolTelephoneKind, HasItsPlace) {
  const std::string line = "TEL" + std::string(GetParam().params) + ":1";
  ContactTexts expected;
  if (GetParam().place) expected[GetParam().place] = u"1";
  EXPECT_EQ(Telephones({line}), expected) << line;
}

INSTANTIATE_TEST_SUITE_P(
    OfHome, PolTelephoneKind,
    testing::Values(KindCase{"", "HomeTelephoneNumber"}, KindCase{";HOME", "HomeTelephoneNumber"},
                    KindCase{";HOME;VOICE", "HomeTelephoneNumber"},
                    KindCase{";VOICE", "HomeTelephoneNumber"},
                    KindCase{";PREF;VOICE", "HomeTelephoneNumber"},
                    KindCase{";PREF;HOME", "HomeTelephoneNumber"},
                    KindCase{";HOME;MSG", "HomeTelephoneNumber"}, KindCase{";FAX", "HomeFaxNumber"},
                    KindCase{";FAX;VOICE", "HomeFaxNumber"}, KindCase{";PREF;FAX", "HomeFaxNumber"},
                    KindCase{";HOME;FAX", "HomeFaxNumber"}));

INSTANTIATE_TEST_SUITE_P(OfWork, PolTelephoneKind,
                         testing::Values(KindCase{";WORK", "BusinessTelephoneNumber"},
                                         KindCase{";WORK;VOICE", "BusinessTelephoneNumber"},
                                         KindCase{";VOICE;WORK", "BusinessTelephoneNumber"},
                                         KindCase{";WORK;PREF", "BusinessTelephoneNumber"},
                                         KindCase{";MSG;VOICE;WORK", "BusinessTelephoneNumber"},
                                         KindCase{";WORK;FAX", "BusinessFaxNumber"},
                                         KindCase{";FAX;WORK", "BusinessFaxNumber"},
                                         KindCase{";WORK;FAX;VOICE", "BusinessFaxNumber"}));

INSTANTIATE_TEST_SUITE_P(OfBothIsHome, PolTelephoneKind,
                         testing::Values(KindCase{";HOME;WORK", "HomeTelephoneNumber"},
                                         KindCase{";WORK;HOME;VOICE", "HomeTelephoneNumber"},
                                         KindCase{";WORK;HOME;FAX", "HomeFaxNumber"}));

INSTANTIATE_TEST_SUITE_P(Special, PolTelephoneKind,
                         testing::Values(KindCase{";CELL", "MobileTelephoneNumber"},
                                         KindCase{";PAGER", "PagerNumber"},
                                         KindCase{";CAR", "CarTelephoneNumber"},
                                         KindCase{";X-ASSISTANT", "AssistantTelephoneNumber"},
                                         KindCase{";RADIO", "RadioTelephoneNumber"},
                                         KindCase{";X-RADIO", "RadioTelephoneNumber"}));

INSTANTIATE_TEST_SUITE_P(SpecialIsNeitherHomeNorWork, PolTelephoneKind,
                         testing::Values(KindCase{";CELL;HOME", "MobileTelephoneNumber"},
                                         KindCase{";CELL;WORK", "MobileTelephoneNumber"},
                                         KindCase{";CELL;VOICE", "MobileTelephoneNumber"},
                                         KindCase{";CELL;FAX", "MobileTelephoneNumber"},
                                         KindCase{";PREF;CELL;VOICE;MSG", "MobileTelephoneNumber"},
                                         KindCase{";PAGER;VOICE", "PagerNumber"},
                                         KindCase{";CAR;WORK;FAX", "CarTelephoneNumber"},
                                         KindCase{";HOME;X-ASSISTANT", "AssistantTelephoneNumber"},
                                         KindCase{";HOME;X-RADIO", "RadioTelephoneNumber"}));

INSTANTIATE_TEST_SUITE_P(WithoutAPlaceIsDropped, PolTelephoneKind,
                         testing::Values(KindCase{";PREF", nullptr}, KindCase{";MSG", nullptr},
                                         KindCase{";MODEM", nullptr}, KindCase{";ISDN", nullptr},
                                         KindCase{";VIDEO", nullptr}, KindCase{";BBS", nullptr},
                                         KindCase{";PCS", nullptr}, KindCase{";X-CUSTOM", nullptr},
                                         KindCase{";CHARSET=UTF-8", nullptr}));

INSTANTIATE_TEST_SUITE_P(IsKnownInEveryForm, PolTelephoneKind,
                         testing::Values(KindCase{";cell", "MobileTelephoneNumber"},
                                         KindCase{";Work;Fax", "BusinessFaxNumber"},
                                         KindCase{";TYPE=WORK", "BusinessTelephoneNumber"},
                                         KindCase{";type=work;type=fax", "BusinessFaxNumber"},
                                         KindCase{";TYPE=HOME,VOICE", "HomeTelephoneNumber"},
                                         KindCase{";TYPE=work,fax,pref", "BusinessFaxNumber"},
                                         KindCase{";TYPE=\"CELL,VOICE\"", "MobileTelephoneNumber"},
                                         KindCase{";TYPE=X-ASSISTANT", "AssistantTelephoneNumber"},
                                         KindCase{";TYPE=X-RADIO", "RadioTelephoneNumber"}));

INSTANTIATE_TEST_SUITE_P(
    IsAWholeWord, PolTelephoneKind,
    testing::Values(KindCase{";CELLULAR", nullptr}, KindCase{";X-HOME", nullptr},
                    KindCase{";TYPE=HOMEWORK", nullptr}, KindCase{";X-TYPE=WORK", nullptr},
                    KindCase{";CARD", nullptr}, KindCase{";HOME,VOICE", nullptr}));

TEST_F(PolTelephones, WithoutParametersBecomeTheHomeNumber) {
  EXPECT_EQ(Telephones({"TEL:1"}), ContactTexts({{"HomeTelephoneNumber", u"1"}}));
}

TEST_F(PolTelephones, WithFaxAloneBecomeTheHomeFax) {
  EXPECT_EQ(Telephones({"TEL;FAX:1"}), ContactTexts({{"HomeFaxNumber", u"1"}}));
}

TEST_F(PolTelephones, WithWorkAndFaxBecomeTheBusinessFax) {
  EXPECT_EQ(Telephones({"TEL;WORK;FAX:1"}), ContactTexts({{"BusinessFaxNumber", u"1"}}));
}

TEST_F(PolTelephones, WithPrefAloneAreDropped) {
  EXPECT_EQ(Telephones({"TEL;PREF:1"}), ContactTexts());
}

TEST_F(PolTelephones, WithCellAndHomeBecomeOnlyTheMobileNumber) {
  EXPECT_EQ(Telephones({"TEL;CELL;HOME:1"}), ContactTexts({{"MobileTelephoneNumber", u"1"}}));
}

TEST_F(PolTelephones, HaveTwoPlacesForHomeVoiceNumbersAndDropTheThird) {
  EXPECT_EQ(Telephones({"TEL;HOME:1", "TEL;HOME;VOICE:2", "TEL:3"}),
            ContactTexts({{"HomeTelephoneNumber", u"1"}, {"Home2TelephoneNumber", u"2"}}));
}

TEST_F(PolTelephones, HaveTwoPlacesForWorkVoiceNumbersAndDropTheThird) {
  EXPECT_EQ(Telephones({"TEL;WORK:1", "TEL;WORK;VOICE:2", "TEL;WORK:3"}),
            ContactTexts({{"BusinessTelephoneNumber", u"1"}, {"Business2TelephoneNumber", u"2"}}));
}

TEST_F(PolTelephones, HaveOnePlaceForEachFax) {
  EXPECT_EQ(Telephones({"TEL;HOME;FAX:1", "TEL;FAX:2", "TEL;WORK;FAX:3", "TEL;WORK;FAX:4"}),
            ContactTexts({{"HomeFaxNumber", u"1"}, {"BusinessFaxNumber", u"3"}}));
}

TEST_F(PolTelephones, HaveOnePlaceForEachSpecialKind) {
  EXPECT_EQ(Telephones({"TEL;CELL:1", "TEL;CELL:2", "TEL;PAGER:3", "TEL;PAGER:4", "TEL;CAR:5",
                        "TEL;CAR:6", "TEL;X-ASSISTANT:7", "TEL;X-ASSISTANT:8", "TEL;RADIO:9",
                        "TEL;X-RADIO:10"}),
            ContactTexts({{"MobileTelephoneNumber", u"1"},
                          {"PagerNumber", u"3"},
                          {"CarTelephoneNumber", u"5"},
                          {"AssistantTelephoneNumber", u"7"},
                          {"RadioTelephoneNumber", u"9"}}));
}

TEST_F(PolTelephones, OfTwoSpecialKindsTakeBothPlaces) {
  EXPECT_EQ(Telephones({"TEL;CELL;CAR:1"}),
            ContactTexts({{"MobileTelephoneNumber", u"1"}, {"CarTelephoneNumber", u"1"}}));
  EXPECT_EQ(Telephones({"TEL;CELL:1", "TEL;CELL;CAR:2"}),
            ContactTexts({{"MobileTelephoneNumber", u"1"}, {"CarTelephoneNumber", u"2"}}));
}

TEST_F(PolTelephones, OfAFaxTakeNoPlaceOfAVoiceNumber) {
  EXPECT_EQ(Telephones({"TEL;HOME;FAX:1", "TEL;HOME:2", "TEL;HOME;FAX:3", "TEL;HOME:4"}),
            ContactTexts({{"HomeFaxNumber", u"1"},
                          {"HomeTelephoneNumber", u"2"},
                          {"Home2TelephoneNumber", u"4"}}));
}

TEST_F(PolTelephones, WithoutAValueTakeNoPlace) {
  EXPECT_EQ(Telephones({"TEL;HOME:", "TEL;CELL:", "TEL;HOME:1", "TEL;CELL:2", "TEL;WORK;FAX:"}),
            ContactTexts({{"HomeTelephoneNumber", u"1"}, {"MobileTelephoneNumber", u"2"}}));
}

TEST_F(PolTelephones, LeavePlacesAloneForWhichThereIsNoNumber) {
  ContactRecord record{"N:Lee", "TEL;CELL:1"};
  ComPtr<FakeContact> item(new FakeContact({7, {{"HomeTelephoneNumber", u"old"}}, {}}));
  pol_PutContact(*record, *item);
  EXPECT_EQ(item->data().Text("HomeTelephoneNumber"), u"old");
  EXPECT_FALSE(item->data().Has("PagerNumber"));
}

TEST_F(PolTelephones, OfTheAssistantArriveUnderTheNameOfTheVendor) {
  EXPECT_EQ(Telephones({"X-MICROSOFT-ASST_TEL:1"}),
            ContactTexts({{"AssistantTelephoneNumber", u"1"}}));
}

struct OwnTextCase {
  const char* param;
  const char* place;
};

class PolTelephoneOwnText : public PolTest, public testing::WithParamInterface<OwnTextCase> {};

TEST_P(PolTelephoneOwnText, IsUnderstoodAgain) {
  ContactRecord record{"N:Lee"};
  record.With(&OsifContact::tel, {GetParam().param}, {"1"});
  EXPECT_EQ(TelephonesOf(record), ContactTexts({{GetParam().place, u"1"}}));
}

INSTANTIATE_TEST_SUITE_P(OfTheStore, PolTelephoneOwnText,
                         testing::Values(OwnTextCase{"HOME;VOICE", "HomeTelephoneNumber"},
                                         OwnTextCase{"WORK;VOICE", "BusinessTelephoneNumber"},
                                         OwnTextCase{"HOME;FAX", "HomeFaxNumber"},
                                         OwnTextCase{"WORK;FAX", "BusinessFaxNumber"},
                                         OwnTextCase{"TYPE=X-ASSISTANT",
                                                     "AssistantTelephoneNumber"},
                                         OwnTextCase{"TYPE=X-RADIO", "RadioTelephoneNumber"},
                                         OwnTextCase{"RADIO", "RadioTelephoneNumber"}));

TEST_F(PolTelephones, AreDecoded) {
  EXPECT_EQ(Telephones({"TEL;CELL;ENCODING=QUOTED-PRINTABLE:=2B49 1"}),
            ContactTexts({{"MobileTelephoneNumber", u"+49 1"}}));
}

}  // namespace
}  // namespace pol_contact_telephones_test
