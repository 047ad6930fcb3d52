#include "BtOsif_pol/pol_contact.h"

#include <algorithm>

#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/value_text.h"
#include "tests/support/contact_properties.h"
#include "tests/support/dates.h"
#include "tests/support/pol_fixture.h"

namespace pol_contact_test {
namespace {

using namespace support;

// What an item holds after it was filled from a record; `before` is what it held.
ContactData Filled(ContactRecord record, ContactData before = {}) {
  ComPtr<FakeContact> item(new FakeContact(std::move(before)));
  pol_PutContact(*record, *item);
  return item->data();
}

// The texts that are not empty, less the five parts of the name.
ContactTexts TextsBesidesTheName(const ContactData& data) {
  ContactTexts texts;
  for (const auto& [name, text] : data.texts) {
    if (!text.empty()) texts[name] = text;
  }
  for (const char* part : {"LastName", "FirstName", "MiddleName", "Title", "Suffix"}) {
    texts.erase(part);
  }
  return texts;
}

ContactTexts Addresses(std::initializer_list<std::string_view> lines) {
  ContactRecord record(lines);
  ComPtr<FakeContact> item(new FakeContact);
  pol_PutContact(*record, *item);
  return TextsBesidesTheName(item->data());
}

class PolPutContact : public PolTest {
 protected:
  void SetUp() override { ForgetCharsetChoices(); }
  void TearDown() override {
    PolTest::TearDown();
    ForgetCharsetChoices();
  }
};

// ---- Name -------------------------------------------------------------------------------------------

TEST_F(PolPutContact, WritesTheFivePartsOfTheNameAndTheFormattedName) {
  ContactData data = Filled({"N:Lee;Ann;May;Dr.;Jr", "FN:Ann Lee"});
  EXPECT_EQ(data.texts, ContactTexts({{"LastName", u"Lee"},
                                      {"FirstName", u"Ann"},
                                      {"MiddleName", u"May"},
                                      {"Title", u"Dr."},
                                      {"Suffix", u"Jr"},
                                      {"FileAs", u"Ann Lee"}}));
}

TEST_F(PolPutContact, OfAnEmptyRecordWritesTheNameAsEmptyAndNothingElse) {
  ContactData data =
      Filled({}, {7, {{"LastName", u"Lee"}, {"FileAs", u"x"}, {"Body", u"kept"}}, {}});
  EXPECT_EQ(data.texts, ContactTexts({{"LastName", u""},
                                      {"FirstName", u""},
                                      {"MiddleName", u""},
                                      {"Title", u""},
                                      {"Suffix", u""},
                                      {"FileAs", u""},
                                      {"Body", u"kept"}}));
  EXPECT_TRUE(data.dates.empty());
}

TEST_F(PolPutContact, WritesAbsentPartsOfTheNameAsEmpty) {
  ContactData data = Filled({"N:Lee"}, {7, {{"FirstName", u"Bea"}, {"Suffix", u"Jr"}}, {}});
  EXPECT_EQ(data.Text("LastName"), u"Lee");
  EXPECT_EQ(data.Text("FirstName"), u"");
  EXPECT_EQ(data.Text("Suffix"), u"");
}

TEST_F(PolPutContact, TakesTheFirstValueOfEachField) {
  ContactData data = Filled({"N:Lee;Ann", "N:Ray;Bea", "FN:Ann", "FN:Bea", "NOTE:one", "NOTE:two",
                             "TITLE:Cook", "TITLE:Chef", "BDAY:19700414", "BDAY:19710414"});
  EXPECT_EQ(data.Text("LastName"), u"Lee");
  EXPECT_EQ(data.Text("FirstName"), u"Ann");
  EXPECT_EQ(data.Text("FileAs"), u"Ann");
  EXPECT_EQ(data.Text("Body"), u"one");
  EXPECT_EQ(data.Text("JobTitle"), u"Cook");
  EXPECT_EQ(data.dates.at("Birthday"), 25672.0);
}

// ---- Fields of one place ----------------------------------------------------------------------------

struct PlaceCase {
  const char* line;
  const char* property;
  std::u16string text;
};

class PolPutContactPlace : public PolPutContact, public testing::WithParamInterface<PlaceCase> {};

TEST_P(PolPutContactPlace, TakesItsField) {
  ContactData data = Filled({"N:Lee", GetParam().line});
  EXPECT_EQ(TextsBesidesTheName(data), ContactTexts({{GetParam().property, GetParam().text}}));
}

INSTANTIATE_TEST_SUITE_P(
    EachOfThem, PolPutContactPlace,
    testing::Values(PlaceCase{"FN:Ann Lee", "FileAs", u"Ann Lee"},
                    PlaceCase{"TITLE:Cook", "JobTitle", u"Cook"},
                    PlaceCase{"ORG:Acme", "CompanyName", u"Acme"},
                    PlaceCase{"ORG:;Sales", "Department", u"Sales"},
                    PlaceCase{"DEPT:Sales", "Department", u"Sales"},
                    PlaceCase{"NOTE:Likes tea", "Body", u"Likes tea"},
                    PlaceCase{"X-SPOUSE:Sam", "Spouse", u"Sam"},
                    PlaceCase{"SPOUSE:Sam", "Spouse", u"Sam"},
                    PlaceCase{"X-CHILDREN:Tim, Tom", "Children", u"Tim, Tom"},
                    PlaceCase{"CHILDREN:Tim", "Children", u"Tim"},
                    PlaceCase{"X-ASSISTANT:Ida", "AssistantName", u"Ida"},
                    PlaceCase{"X-MICROSOFT-ASSISTANT:Ida", "AssistantName", u"Ida"},
                    PlaceCase{"X-CAT:Friends", "Categories", u"Friends"},
                    PlaceCase{"CATEGORIES:Friends, Work", "Categories", u"Friends, Work"},
                    PlaceCase{"X-MICROSOFT-OFFICELOC:Room 5", "OfficeLocation", u"Room 5"},
                    PlaceCase{"URL:http://lee.org", "WebPage", u"http://lee.org"}));

TEST_F(PolPutContact, WritesBothPlacesOfAnOrganisation) {
  ContactData data = Filled({"N:Lee", "ORG:Acme;Sales"}, {7, {{"Department", u"old"}}, {}});
  EXPECT_EQ(data.Text("CompanyName"), u"Acme");
  EXPECT_EQ(data.Text("Department"), u"Sales");
  data = Filled({"N:Lee", "ORG:Acme"}, {7, {{"Department", u"old"}}, {}});
  EXPECT_EQ(data.Text("Department"), u"");
}

TEST_F(PolPutContact, ClearsThePlaceOfAFieldThatIsPresentAndEmpty) {
  ContactData before{7, {{"JobTitle", u"Cook"}, {"Body", u"x"}, {"Spouse", u"Sam"}}, {}};
  ContactData data = Filled({"N:Lee", "TITLE:", "NOTE:"}, before);
  EXPECT_EQ(data.Text("JobTitle"), u"");
  EXPECT_EQ(data.Text("Body"), u"");
  EXPECT_EQ(data.Text("Spouse"), u"Sam");
}

TEST_F(PolPutContact, DoesNotStoreNicknameAndRole) {
  ContactData data = Filled({"N:Lee", "NICKNAME:Annie", "ROLE:Boss", "X-IRMC-LUID:0000002a"});
  EXPECT_EQ(TextsBesidesTheName(data), ContactTexts());
}

TEST_F(PolPutContact, DoesNotStoreTheFieldsThatOnlyTheStoreFills) {
  ContactRecord record{"N:Lee"};
  record.With(&OsifContact::dept, {}, {"Sales"});
  record.With(&OsifContact::xMicrosoftAsstTel, {}, {"1"});
  ComPtr<FakeContact> item(new FakeContact);
  pol_PutContact(*record, *item);
  EXPECT_EQ(TextsBesidesTheName(item->data()), ContactTexts());
}

// ---- Dates ------------------------------------------------------------------------------------------

TEST_F(PolPutContact, ReadsTheTwoDates) {
  ContactData data = Filled({"N:Lee", "BDAY:19700414", "X-ANNIVERSARY:19991231"});
  EXPECT_EQ(data.dates,
            (std::map<std::string, DATE>{{"Birthday", 25672.0}, {"Anniversary", 36525.0}}));
}

TEST_F(PolPutContact, ReadsDatesInTheExtendedForm) {
  EXPECT_EQ(Filled({"N:Lee", "BDAY:1970-04-14"}).dates.at("Birthday"), 25672.0);
  EXPECT_EQ(Filled({"N:Lee", "ANNIVERSARY;VALUE=DATE:19991231"}).dates.at("Anniversary"), 36525.0);
}

TEST_F(PolPutContact, LeavesTheDatesOfAnItemAloneWithoutThem) {
  ContactData data = Filled({"N:Lee"}, {7, {}, {{"Birthday", 25672.0}}});
  EXPECT_EQ(data.dates.at("Birthday"), 25672.0);
}

TEST_F(PolPutContact, ClearsADateWithWhatIsNone) {
  for (const char* line : {"BDAY:", "BDAY:soon", "BDAY:19700230"}) {
    ContactData data = Filled({"N:Lee", line}, {7, {}, {{"Birthday", 25672.0}}});
    EXPECT_EQ(data.dates.at("Birthday"), DATE_NONE) << line;
  }
}

// The file time of zero, the automation date of zero, and a day that one of the zones has never had.
TEST_F(PolPutContact, KeepsADayInEveryTimeZone) {
  constexpr std::pair<const char*, DATE> kDays[] = {
      {"01000101", -657434.0},   {"16001231", -109206.0}, {"16010101", -109205.0},
      {"16010102", -109204.0},   {"18991229", -1.0},      {"18991230", 0.0},
      {"18991231", 1.0},         {"19000101", 2.0},       {"20111230", 40907.0},
      {"1601-01-01", -109205.0}, {"99991231", 2958465.0}};
  constexpr const char* kZones[] = {"UTC", "Europe/Berlin", "Asia/Tokyo", "America/New_York",
                                    "Pacific/Apia"};
  for (const char* name : kZones) {
    const TimeZone zone(name);
    for (const auto& [text, day] : kDays) {
      const std::string birthday = "BDAY:" + std::string(text);
      const std::string anniversary = "X-ANNIVERSARY:" + std::string(text);
      ContactData data = Filled({"N:Lee", birthday, anniversary});
      EXPECT_EQ(data.dates.at("Birthday"), day) << text << " in " << name;
      EXPECT_EQ(data.dates.at("Anniversary"), day) << text << " in " << name;
    }
  }
}

TEST_F(PolPutContact, ReadsADateWithATimeAsTheLocalTimeOfThatInstant) {
  const TimeZone zone("Europe/Berlin");
  EXPECT_EQ(Filled({"N:Lee", "BDAY:20060501T230000Z"}).dates.at("Birthday"), 38839.0 + 1.0 / 24);
  EXPECT_EQ(Filled({"N:Lee", "BDAY:20060501T060000"}).dates.at("Birthday"), 38838.25);
}

// ---- Addresses --------------------------------------------------------------------------------------

constexpr std::string_view kAddressText = ":;;Main 2;Town;County;12345;Land";

ContactTexts AddressTexts(const std::string& kind) {
  return {{kind + "AddressStreet", u"Main 2"},
          {kind + "AddressCity", u"Town"},
          {kind + "AddressState", u"County"},
          {kind + "AddressPostalCode", u"12345"},
          {kind + "AddressCountry", u"Land"}};
}

struct AddressCase {
  const char* params;
  const char* kind;
};

class PolPutAddress : public PolPutContact, public testing::WithParamInterface<AddressCase> {};

TEST_P(PolPutAddress, AloneBecomesTheAddressOfItsKind) {
  const std::string line = "ADR" + std::string(GetParam().params) + std::string(kAddressText);
  EXPECT_EQ(Addresses({line}), AddressTexts(GetParam().kind));
}

INSTANTIATE_TEST_SUITE_P(
    OfEachKind, PolPutAddress,
    testing::Values(AddressCase{";HOME", "Home"}, AddressCase{";WORK", "Business"},
                    AddressCase{"", "Other"}, AddressCase{";DOM;POSTAL", "Other"},
                    AddressCase{";HOME;WORK", "Home"}, AddressCase{";WORK;HOME", "Home"},
                    AddressCase{";home", "Home"}, AddressCase{";TYPE=work", "Business"},
                    AddressCase{";TYPE=POSTAL,HOME", "Home"},
                    AddressCase{";TYPE=\"WORK,PREF\"", "Business"},
                    AddressCase{";X-HOMELESS", "Other"}, AddressCase{";WORKSHOP", "Other"}));

TEST_F(PolPutContact, TakesOneAddressOfEachKind) {
  ContactTexts texts = Addresses({"ADR;WORK:;;W;;;;", "ADR:;;O;;;;", "ADR;HOME:;;H;;;;"});
  EXPECT_EQ(texts, ContactTexts({{"HomeAddressStreet", u"H"},
                                 {"BusinessAddressStreet", u"W"},
                                 {"OtherAddressStreet", u"O"}}));
}

TEST_F(PolPutContact, TakesASecondHomeAddressAsTheOtherOne) {
  EXPECT_EQ(Addresses({"ADR;HOME:;;H1", "ADR;HOME:;;H2"}),
            ContactTexts({{"HomeAddressStreet", u"H1"}, {"OtherAddressStreet", u"H2"}}));
}

TEST_F(PolPutContact, TakesASecondHomeAddressThatIsAlsoOfWorkAsTheBusinessOne) {
  EXPECT_EQ(Addresses({"ADR;HOME:;;H1", "ADR;HOME;WORK:;;H2"}),
            ContactTexts({{"HomeAddressStreet", u"H1"}, {"BusinessAddressStreet", u"H2"}}));
}

TEST_F(PolPutContact, TakesASecondWorkAddressAsTheOtherOne) {
  EXPECT_EQ(Addresses({"ADR;WORK:;;W1", "ADR;WORK:;;W2"}),
            ContactTexts({{"BusinessAddressStreet", u"W1"}, {"OtherAddressStreet", u"W2"}}));
}

TEST_F(PolPutContact, TakesAWorkAddressBehindAHomeAddressThatIsAlsoOfWork) {
  EXPECT_EQ(Addresses({"ADR;HOME;WORK:;;H", "ADR;WORK:;;W"}),
            ContactTexts({{"HomeAddressStreet", u"H"}, {"BusinessAddressStreet", u"W"}}));
}

TEST_F(PolPutContact, DropsAddressesThatHaveNoPlaceLeft) {
  EXPECT_EQ(Addresses({"ADR:;;O1", "ADR:;;O2", "ADR;HOME:;;H1", "ADR;HOME:;;H2"}),
            ContactTexts({{"OtherAddressStreet", u"O1"}, {"HomeAddressStreet", u"H1"}}));
}

TEST_F(PolPutContact, PassesOverAddressesWithoutText) {
  EXPECT_EQ(Addresses({"ADR;HOME:;;;;;;", "ADR;HOME:", "ADR;HOME:;;H"}),
            ContactTexts({{"HomeAddressStreet", u"H"}}));
}

TEST_F(PolPutContact, JoinsPostOfficeBoxExtensionAndStreetOfHomeAndOtherAddress) {
  EXPECT_EQ(Addresses({"ADR;HOME:PO 1;Floor 3;Main 2", "ADR:PO 2;Floor 4;Main 3"}),
            ContactTexts({{"HomeAddressStreet", u"PO 1\r\nFloor 3\r\nMain 2"},
                          {"OtherAddressStreet", u"PO 2\r\nFloor 4\r\nMain 3"}}));
}

TEST_F(PolPutContact, StoresAHomeAddressOfBoxAndStreetWithALineBreakBetweenThem) {
  EXPECT_EQ(Addresses({"ADR;HOME:PO 1;;Main 2"}),
            ContactTexts({{"HomeAddressStreet", u"PO 1\r\nMain 2"}}));
}

TEST_F(PolPutContact, AddsNoSeparatorForAnEmptyPartOfTheStreet) {
  EXPECT_EQ(Addresses({"ADR;HOME:;Floor 3;"}), ContactTexts({{"HomeAddressStreet", u"Floor 3"}}));
  EXPECT_EQ(
      Addresses({"ADR;HOME:PO 1;Floor 3;;Town"}),
      ContactTexts({{"HomeAddressStreet", u"PO 1\r\nFloor 3"}, {"HomeAddressCity", u"Town"}}));
}

TEST_F(PolPutContact, TakesTheExtensionOfTheBusinessAddressForTheOffice) {
  EXPECT_EQ(Addresses({"ADR;WORK:;Room 5;Main St 1;Town;;12345;Land"}),
            ContactTexts({{"BusinessAddressStreet", u"Main St 1"},
                          {"BusinessAddressCity", u"Town"},
                          {"BusinessAddressPostalCode", u"12345"},
                          {"BusinessAddressCountry", u"Land"},
                          {"OfficeLocation", u"Room 5"}}));
}

TEST_F(PolPutContact, JoinsPostOfficeBoxAndStreetOfTheBusinessAddress) {
  EXPECT_EQ(Addresses({"ADR;WORK:PO 1;Room 5;Main St 1"}),
            ContactTexts(
                {{"BusinessAddressStreet", u"PO 1\r\nMain St 1"}, {"OfficeLocation", u"Room 5"}}));
}

TEST_F(PolPutContact, PrefersTheOfficeLocationThatHasAPropertyOfItsOwn) {
  EXPECT_EQ(Addresses({"ADR;WORK:;Room 5;Main St 1", "X-MICROSOFT-OFFICELOC:Room 7"}),
            ContactTexts({{"BusinessAddressStreet", u"Main St 1"}, {"OfficeLocation", u"Room 7"}}));
}

TEST_F(PolPutContact, LeavesTheOfficeAloneForHomeAndOtherAddress) {
  EXPECT_EQ(Addresses({"ADR;HOME:;Floor 3;", "ADR:;Floor 4;"}),
            ContactTexts({{"HomeAddressStreet", u"Floor 3"}, {"OtherAddressStreet", u"Floor 4"}}));
}

TEST_F(PolPutContact, ClearsThePartsThatANewAddressLacks) {
  ContactData data = Filled({"N:Lee", "ADR;HOME:;;Main 2"},
                            {7, {{"HomeAddressCity", u"Old"}, {"OtherAddressCity", u"kept"}}, {}});
  EXPECT_EQ(data.Text("HomeAddressCity"), u"");
  EXPECT_EQ(data.Text("OtherAddressCity"), u"kept");
}

TEST_F(PolPutContact, DecodesEveryPartOfAnAddress) {
  EXPECT_EQ(Addresses({"ADR;HOME;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:;;Stra=C3=9Fe 1=0D=0AHof;"
                       "K=C3=B6ln;a=5C=3Bb"}),
            ContactTexts({{"HomeAddressStreet", u"Stra\u00DFe 1\r\nHof"},
                          {"HomeAddressCity", u"K\u00F6ln"},
                          {"HomeAddressState", u"a;b"}}));
}

// ---- Web page ---------------------------------------------------------------------------------------

TEST_F(PolPutContact, TakesTheFirstWebPageThatIsNotOfHome) {
  EXPECT_EQ(Filled({"N:Lee", "URL;HOME:h", "URL:", "URL;WORK:w", "URL:x"}).Text("WebPage"), u"w");
}

TEST_F(PolPutContact, LeavesTheWebPageWithoutOneThatIsNotOfHome) {
  ContactData data = Filled({"N:Lee", "URL;HOME:h", "URL:"}, {7, {{"WebPage", u"old"}}, {}});
  EXPECT_EQ(data.Text("WebPage"), u"old");
}

// ---- E-mail -----------------------------------------------------------------------------------------

std::vector<std::u16string> Mails(std::initializer_list<std::string_view> lines) {
  ContactRecord record(lines);
  ComPtr<FakeContact> item(new FakeContact);
  pol_PutContact(*record, *item);
  std::vector<std::u16string> mails;
  for (const char* name : {"Email1Address", "Email2Address", "Email3Address"}) {
    mails.push_back(item->data().Has(name) ? item->data().Text(name) : u"<not written>");
  }
  return mails;
}

using MailTexts = std::vector<std::u16string>;

TEST_F(PolPutContact, PutsThePreferredMailAddressFirstAndDropsTheFourth) {
  EXPECT_EQ(Mails({"EMAIL;INTERNET:a", "EMAIL;INTERNET;PREF:b", "EMAIL;INTERNET:c",
                   "EMAIL;INTERNET:d", "EMAIL;X400:e"}),
            MailTexts({u"b", u"a", u"c"}));
}

// So a contact that has no first address is the same after it was sent and received.
TEST_F(PolPutContact, PutsAPreferredMailAddressFirstAlsoWhenItIsEmpty) {
  EXPECT_EQ(Mails({"EMAIL;INTERNET;PREF:", "EMAIL;INTERNET:a"}),
            MailTexts({u"", u"a", u"<not written>"}));
}

TEST_F(PolPutContact, KeepsTheOrderOfMailAddressesWithoutAPreferredOne) {
  EXPECT_EQ(Mails({"EMAIL;INTERNET:a", "EMAIL;INTERNET:b", "EMAIL;INTERNET:c", "EMAIL;INTERNET:d"}),
            MailTexts({u"a", u"b", u"c"}));
}

TEST_F(PolPutContact, PrefersTheLastOfSeveralPreferredMailAddresses) {
  EXPECT_EQ(Mails({"EMAIL;PREF;INTERNET:a", "EMAIL;INTERNET:b", "EMAIL;PREF;INTERNET:c"}),
            MailTexts({u"c", u"a", u"b"}));
}

TEST_F(PolPutContact, NeverStoresAMailAddressThatIsNotOfTheInternet) {
  EXPECT_EQ(Mails({"EMAIL;X400:a", "EMAIL:b", "EMAIL;PREF:c", "EMAIL;HOME:d"}),
            MailTexts({u"<not written>", u"<not written>", u"<not written>"}));
}

TEST_F(PolPutContact, DoesNotPreferAMailAddressThatIsNotOfTheInternet) {
  EXPECT_EQ(Mails({"EMAIL;INTERNET:a", "EMAIL;X400;PREF:b"}),
            MailTexts({u"a", u"<not written>", u"<not written>"}));
}

TEST_F(PolPutContact, PassesOverMailAddressesWithoutText) {
  EXPECT_EQ(Mails({"EMAIL;INTERNET:", "EMAIL;INTERNET:a", "EMAIL;INTERNET:", "EMAIL;INTERNET:b"}),
            MailTexts({u"a", u"b", u"<not written>"}));
}

TEST_F(PolPutContact, KnowsTheKindsOfMailAddressesInEveryForm) {
  EXPECT_EQ(Mails({"EMAIL;type=internet:a", "EMAIL;TYPE=INTERNET,PREF:b",
                   "EMAIL;Type=Internet;Type=Home:c"}),
            MailTexts({u"b", u"a", u"c"}));
}

TEST_F(PolPutContact, LeavesThePlacesOfFurtherMailAddressesAlone) {
  ContactData data = Filled({"N:Lee", "EMAIL;INTERNET:a"},
                            {7, {{"Email1Address", u"old1"}, {"Email2Address", u"old2"}}, {}});
  EXPECT_EQ(data.Text("Email1Address"), u"a");
  EXPECT_EQ(data.Text("Email2Address"), u"old2");
}

// ---- Character sets ---------------------------------------------------------------------------------

TEST_F(PolPutContact, ReadsTextsThatNameNoCharacterSetAsTheSettingSays) {
  EXPECT_EQ(Filled({"N:M\xFCller"}).Text("LastName"), u"M\u00FCller");
  ForgetCharsetChoices();
  SetSetting(u"DefaultInputCharset", u"WINDOWS-1255");
  EXPECT_EQ(Filled({"N:\xF9\xEC\xE5\xED"}).Text("LastName"), u"\u05E9\u05DC\u05D5\u05DD");
}

TEST_F(PolPutContact, ReadsTextsInTheCharacterSetThatTheyName) {
  EXPECT_EQ(Filled({"N;CHARSET=ISO-8859-2:Nov\xE1k;\xA9\xE1rka"}).Text("FirstName"),
            u"\u0160\u00E1rka");
  EXPECT_EQ(Filled({"N;CHARSET=UTF-8:\xE5\xB1\xB1"}).Text("LastName"), u"\u5C71");
}

TEST_F(PolPutContact, TakesEscapesOut) {
  EXPECT_EQ(Filled({"N:Lee\\;Ray;A\\\\B"}).Text("LastName"), u"Lee;Ray");
  EXPECT_EQ(Filled({"N:Lee\\;Ray;A\\\\B"}).Text("FirstName"), u"A\\B");
}

// ---- Item to record ---------------------------------------------------------------------------------

// A value in one line: its parameters joined by ",", a colon, its decoded components joined by "|" without
// the empty ones at the end.
std::u16string Shown(PropertyValue& value) {
  std::u16string line;
  for (const std::string& param : ParamsOf(value)) {
    line += (line.empty() ? u"" : u",") + Wide(param);
  }
  line += u':';
  const size_t count = ComponentsOf(value).size();
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) line += u'|';
    line += DecodedText(&value, i);
  }
  while (line.back() == u'|') line.pop_back();
  return line;
}

using ShownValues = std::vector<std::u16string>;

ShownValues Shown(PropertyValue* list) {
  ShownValues lines;
  for (PropertyValue& value : Values(list)) lines.push_back(Shown(value));
  return lines;
}

class PolGetContact : public PolTest {
 protected:
  void SetUp() override {
    ForgetCharsetChoices();
    Suppress(0);
  }
  void TearDown() override {
    PolTest::TearDown();
    ForgetCharsetChoices();
  }

  void Suppress(uint32_t setting) {
    SetSetting(u"DoNotSendMsftProperties", setting);
    POL_Close();
    Open();
  }

  OsifContact& Get(ContactTexts texts, std::map<std::string, DATE> dates = {}) {
    FreeObject(OSIF_STORE_PB, *object_);
    ComPtr<FakeContact> item(new FakeContact({42, std::move(texts), std::move(dates)}));
    pol_GetContact(*item, *object_);
    return object_->contact;
  }

  OwnedObject object_{OSIF_STORE_PB};
};

TEST_F(PolGetContact, GivesIdAndVersion) {
  Get({});
  EXPECT_STREQ(object_->xIrmcLuid, "0000002a");
  EXPECT_STREQ(object_->version, "2.1");
}

TEST_F(PolGetContact, GivesTheFivePartsOfTheName) {
  OsifContact& contact = Get({{"LastName", u"Lee"},
                              {"FirstName", u"Ann"},
                              {"MiddleName", u"May"},
                              {"Title", u"Dr."},
                              {"Suffix", u"Jr"},
                              {"FileAs", u"Lee, Ann"}});
  EXPECT_EQ(Shown(contact.n), ShownValues({u":Lee|Ann|May|Dr.|Jr"}));
  EXPECT_EQ(Shown(contact.fn), ShownValues({u":Lee, Ann"}));
}

TEST_F(PolGetContact, GivesTheThreeAddressesInTheirOrder) {
  OsifContact& contact = Get({{"HomeAddressStreet", u"H1"},
                              {"HomeAddressCity", u"H2"},
                              {"HomeAddressState", u"H3"},
                              {"HomeAddressPostalCode", u"H4"},
                              {"HomeAddressCountry", u"H5"},
                              {"BusinessAddressStreet", u"W1"},
                              {"BusinessAddressCity", u"W2"},
                              {"BusinessAddressState", u"W3"},
                              {"BusinessAddressPostalCode", u"W4"},
                              {"BusinessAddressCountry", u"W5"},
                              {"OtherAddressStreet", u"O1"},
                              {"OtherAddressCity", u"O2"},
                              {"OtherAddressState", u"O3"},
                              {"OtherAddressPostalCode", u"O4"},
                              {"OtherAddressCountry", u"O5"},
                              {"OfficeLocation", u"Room 5"}});
  EXPECT_EQ(Shown(contact.adr),
            ShownValues(
                {u"HOME:||H1|H2|H3|H4|H5", u"WORK:|Room 5|W1|W2|W3|W4|W5", u":||O1|O2|O3|O4|O5"}));
  EXPECT_EQ(Shown(contact.xMicrosoftOfficeloc), ShownValues({u":Room 5"}));
}

TEST_F(PolGetContact, NeverGivesAPostOfficeBox) {
  OsifContact& contact = Get({{"HomeAddressStreet", u"PO 1\r\nMain 2"}});
  EXPECT_EQ(ComponentText(contact.adr, 0), "");
  EXPECT_EQ(DecodedText(contact.adr, 2), u"PO 1\r\nMain 2");
}

TEST_F(PolGetContact, GivesTheOrganisationAndItsDepartmentTwice) {
  OsifContact& contact = Get({{"CompanyName", u"Acme"}, {"Department", u"Sales"}});
  EXPECT_EQ(Shown(contact.org), ShownValues({u":Acme|Sales"}));
  EXPECT_EQ(Shown(contact.dept), ShownValues({u":Sales"}));
}

// A value is encoded as a whole only where it has to be.
TEST_F(PolGetContact, GivesTheDepartmentByItselfAsItIs) {
  OsifContact& contact = Get({{"CompanyName", u"Acme\r\nLtd"}, {"Department", u"R: D"}});
  EXPECT_EQ(ComponentText(contact.org, 1), "R=3A D");
  EXPECT_EQ(ParamsOf(*contact.org), std::vector<std::string>({"ENCODING=QUOTED-PRINTABLE"}));
  EXPECT_EQ(ComponentText(contact.dept, 0), "R: D");
  EXPECT_EQ(ParamsOf(*contact.dept), std::vector<std::string>());
  EXPECT_EQ(contact.dept->flags, 0u);
}

// The colon would be encoded where encoding is asked for. What the peer sees is the same, so only the raw texts tell.
TEST_F(PolGetContact, AsksForEncodingOfTheNoteAndTheAddressesAlone) {
  ContactTexts texts;
  for (const char* name : {"LastName",
                           "FirstName",
                           "MiddleName",
                           "Title",
                           "Suffix",
                           "FileAs",
                           "CompanyName",
                           "Department",
                           "JobTitle",
                           "WebPage",
                           "Spouse",
                           "Children",
                           "AssistantName",
                           "Categories",
                           "OfficeLocation",
                           "HomeTelephoneNumber",
                           "Home2TelephoneNumber",
                           "BusinessTelephoneNumber",
                           "Business2TelephoneNumber",
                           "HomeFaxNumber",
                           "BusinessFaxNumber",
                           "MobileTelephoneNumber",
                           "PagerNumber",
                           "CarTelephoneNumber",
                           "AssistantTelephoneNumber",
                           "RadioTelephoneNumber",
                           "Email1Address",
                           "Email2Address",
                           "Email3Address",
                           "Body",
                           "HomeAddressStreet",
                           "BusinessAddressCity",
                           "OtherAddressCountry"}) {
    texts[name] = u"a: b";
  }
  OsifContact& contact = Get(texts);
  for (PropertyValue* list :
       {contact.n, contact.fn, contact.org, contact.dept, contact.title, contact.url,
        contact.xSpouse, contact.xChildren, contact.xAssistant, contact.xCat, contact.tel,
        contact.email, contact.xMicrosoftOfficeloc, contact.xMicrosoftAsstTel}) {
    for (const PropertyValue& value : Values(list)) {
      EXPECT_EQ(value.flags, 0u);
      EXPECT_EQ(ComponentText(&value, 0), "a: b");
    }
  }
  EXPECT_EQ(ComponentText(contact.org, 1), "a: b");
  EXPECT_EQ(ComponentText(contact.note, 0), "a=3A b");
  std::vector<std::string> addresses;
  for (const PropertyValue& address : Values(contact.adr)) {
    for (size_t i = 1; i < 7; ++i) {
      const std::string_view text = ComponentText(&address, i);
      if (!text.empty()) addresses.emplace_back(text);
    }
  }
  EXPECT_EQ(addresses, std::vector<std::string>(4, "a=3A b"));
}

const ContactTexts kAllTelephones = {
    {"HomeTelephoneNumber", u"1"},     {"Home2TelephoneNumber", u"2"},
    {"BusinessTelephoneNumber", u"3"}, {"Business2TelephoneNumber", u"4"},
    {"HomeFaxNumber", u"5"},           {"BusinessFaxNumber", u"6"},
    {"MobileTelephoneNumber", u"7"},   {"PagerNumber", u"8"},
    {"CarTelephoneNumber", u"9"},      {"AssistantTelephoneNumber", u"10"},
    {"RadioTelephoneNumber", u"11"}};

TEST_F(PolGetContact, GivesTheTelephonesInTwelveRounds) {
  OsifContact& contact = Get(kAllTelephones);
  EXPECT_EQ(Shown(contact.tel),
            ShownValues({u"HOME;VOICE:1", u"HOME;VOICE:2", u"WORK;VOICE:3", u"WORK;VOICE:4",
                         u"HOME;FAX:5", u"WORK;FAX:6", u"CELL:7", u"PAGER:8", u"CAR:9",
                         u"TYPE=X-ASSISTANT:10", u"RADIO:11", u"TYPE=X-RADIO:11"}));
  EXPECT_EQ(Shown(contact.xMicrosoftAsstTel), ShownValues({u":10"}));
}

TEST_F(PolGetContact, GivesTheKindOfATelephoneAsOneParameterText) {
  OsifContact& contact = Get(kAllTelephones);
  EXPECT_EQ(ParamsOf(*contact.tel), std::vector<std::string>({"HOME;VOICE"}));
}

TEST_F(PolGetContact, GivesThreeMailAddressesTheFirstOfThemPreferred) {
  OsifContact& contact =
      Get({{"Email1Address", u"a@b"}, {"Email2Address", u"c@d"}, {"Email3Address", u"e@f"}});
  EXPECT_EQ(Shown(contact.email),
            ShownValues({u"INTERNET,PREF:a@b", u"INTERNET:c@d", u"INTERNET:e@f"}));
}

TEST_F(PolGetContact, GivesTheFieldsOfOnePlace) {
  OsifContact& contact = Get({{"JobTitle", u"Cook"},
                              {"WebPage", u"lee.org"},
                              {"Body", u"Tea"},
                              {"Spouse", u"Sam"},
                              {"Children", u"Tim"},
                              {"AssistantName", u"Ida"},
                              {"Categories", u"Friends"}},
                             {{"Birthday", 25672.0}, {"Anniversary", 36525.0}});
  EXPECT_EQ(Shown(contact.title), ShownValues({u":Cook"}));
  EXPECT_EQ(Shown(contact.url), ShownValues({u":lee.org"}));
  EXPECT_EQ(Shown(contact.note), ShownValues({u":Tea"}));
  EXPECT_EQ(Shown(contact.xSpouse), ShownValues({u":Sam"}));
  EXPECT_EQ(Shown(contact.xChildren), ShownValues({u":Tim"}));
  EXPECT_EQ(Shown(contact.xAssistant), ShownValues({u":Ida"}));
  EXPECT_EQ(Shown(contact.xCat), ShownValues({u":Friends"}));
  EXPECT_EQ(Shown(contact.bday), ShownValues({u":19700414"}));
  EXPECT_EQ(Shown(contact.xAnniversary), ShownValues({u":19991231"}));
}

// What every read of an empty contact gives when nothing is suppressed.
void ExpectAnEmptyContact(OsifContact& contact) {
  const ShownValues empty = {u":"};
  EXPECT_EQ(Shown(contact.n), empty);
  EXPECT_EQ(Shown(contact.fn), empty);
  EXPECT_EQ(Shown(contact.bday), empty);
  EXPECT_EQ(Shown(contact.adr), ShownValues({u"HOME:", u"WORK:", u":"}));
  EXPECT_EQ(Shown(contact.xMicrosoftOfficeloc), empty);
  EXPECT_EQ(Shown(contact.title), empty);
  EXPECT_EQ(Shown(contact.org), empty);
  EXPECT_EQ(Shown(contact.dept), empty);
  EXPECT_EQ(Shown(contact.tel),
            ShownValues({u"HOME;VOICE:", u"HOME;VOICE:", u"WORK;VOICE:", u"WORK;VOICE:",
                         u"HOME;FAX:", u"WORK;FAX:", u"CELL:", u"PAGER:", u"CAR:",
                         u"TYPE=X-ASSISTANT:", u"RADIO:", u"TYPE=X-RADIO:"}));
  EXPECT_EQ(Shown(contact.xMicrosoftAsstTel), empty);
  EXPECT_EQ(Shown(contact.url), empty);
  EXPECT_EQ(Shown(contact.email), ShownValues({u"INTERNET,PREF:", u"INTERNET:", u"INTERNET:"}));
  EXPECT_EQ(Shown(contact.note), empty);
  EXPECT_EQ(Shown(contact.xSpouse), empty);
  EXPECT_EQ(Shown(contact.xAnniversary), empty);
  EXPECT_EQ(Shown(contact.xChildren), empty);
  EXPECT_EQ(Shown(contact.xAssistant), empty);
  EXPECT_EQ(Shown(contact.xCat), empty);
  EXPECT_EQ(contact.nickname, nullptr);
  EXPECT_EQ(contact.role, nullptr);
}

TEST_F(PolGetContact, GivesEveryFieldOfAnEmptyContact) { ExpectAnEmptyContact(Get({})); }

TEST_F(PolGetContact, AlwaysGivesThreeAddressesAndTwelveTelephonesOrElevenWhenSuppressed) {
  OsifContact& contact = Get({});
  EXPECT_EQ(Shown(contact.adr).size(), 3u);
  EXPECT_EQ(Shown(contact.tel).size(), 12u);
  Suppress(1);
  OsifContact& suppressed = Get({});
  EXPECT_EQ(Shown(suppressed.adr).size(), 3u);
  EXPECT_EQ(Shown(suppressed.tel).size(), 11u);
}

TEST_F(PolGetContact, TakesWhatCannotBeReadForEmpty) {
  pim_.faults.get_property = E_FAIL;
  ExpectAnEmptyContact(Get({{"LastName", u"Lee"}, {"Body", u"x"}}, {{"Birthday", 25672.0}}));
}

TEST_F(PolGetContact, LeavesOutWhatOnlyTheVendorKnowsWhenSuppressed) {
  Suppress(1);
  ContactTexts texts = kAllTelephones;
  texts.insert({{"OfficeLocation", u"Room 5"}, {"Department", u"Sales"}, {"CompanyName", u"Acme"}});
  OsifContact& contact = Get(texts);
  EXPECT_EQ(contact.xMicrosoftOfficeloc, nullptr);
  EXPECT_EQ(contact.dept, nullptr);
  EXPECT_EQ(contact.xMicrosoftAsstTel, nullptr);
  EXPECT_EQ(Shown(contact.tel),
            ShownValues({u"HOME;VOICE:1", u"HOME;VOICE:2", u"WORK;VOICE:3", u"WORK;VOICE:4",
                         u"HOME;FAX:5", u"WORK;FAX:6", u"CELL:7", u"PAGER:8", u"CAR:9",
                         u"TYPE=X-ASSISTANT:10", u"TYPE=X-RADIO:11"}));
  EXPECT_EQ(Shown(contact.org), ShownValues({u":Acme|Sales"}));
  EXPECT_EQ(Shown(contact.adr)[1], u"WORK:|Room 5");
}

TEST_F(PolGetContact, SuppressesNothingForAnyOtherValueOfTheSetting) {
  for (uint32_t setting : {0u, 2u}) {
    Suppress(setting);
    OsifContact& contact = Get(kAllTelephones);
    EXPECT_EQ(Shown(contact.tel).size(), 12u);
    EXPECT_NE(contact.dept, nullptr);
    EXPECT_NE(contact.xMicrosoftOfficeloc, nullptr);
    EXPECT_NE(contact.xMicrosoftAsstTel, nullptr);
  }
}

TEST_F(PolGetContact, EncodesNoteAndAddressesOnly) {
  OsifContact& contact = Get({{"LastName", u"M\u00FCller"},
                              {"Body", u"Gr\u00FC\u00DFe"},
                              {"HomeAddressStreet", u"Stra\u00DFe"}});
  EXPECT_EQ(ParamsOf(*contact.n), std::vector<std::string>({"CHARSET=UTF-8"}));
  EXPECT_EQ(ComponentsOf(*contact.n)[0], "M\xC3\xBCller");
  EXPECT_EQ(ParamsOf(*contact.note),
            std::vector<std::string>({"CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"}));
  EXPECT_EQ(ComponentsOf(*contact.note)[0], "Gr=C3=BC=C3=9Fe");
  EXPECT_EQ(ParamsOf(*contact.adr),
            std::vector<std::string>({"HOME", "CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"}));
  EXPECT_EQ(ComponentsOf(*contact.adr)[2], "Stra=C3=9Fe");
}

TEST_F(PolGetContact, EscapesSeparators) {
  OsifContact& contact = Get({{"LastName", u"Lee;Ray"}, {"CompanyName", u"A\\B"}});
  EXPECT_EQ(ComponentsOf(*contact.n)[0], "Lee\\;Ray");
  EXPECT_EQ(ComponentsOf(*contact.org)[0], "A\\\\B");
}

TEST_F(PolGetContact, GivesARecordThatFillsAnotherItemWithTheSame) {
  ContactTexts texts = kAllTelephones;
  for (const TextProperty& property : kTextProperties) {
    texts.try_emplace(property.name, u"the " + Wide(property.name));
  }
  std::map<std::string, DATE> dates = {{"Birthday", 25672.0}, {"Anniversary", 36525.0}};
  Get(texts, dates);
  ComPtr<FakeContact> copy(new FakeContact);
  pol_PutContact(*object_, *copy);
  EXPECT_EQ(copy->data().texts, texts);
  EXPECT_EQ(copy->data().dates, dates);
}

TEST_F(PolGetContact, GivesARecordThatClearsTheDatesOfAnotherItemWhereItHasNone) {
  Get({});
  ComPtr<FakeContact> other(new FakeContact({7, {}, {{"Birthday", 25672.0}}}));
  pol_PutContact(*object_, *other);
  EXPECT_EQ(other->data().dates.at("Birthday"), DATE_NONE);
}

}  // namespace
}  // namespace pol_contact_test
