// Contacts as real programs and devices send them: what is stored of each, and what is sent of it again.
// The files lie in the folder that OSIF_CORPUS names; without it these tests are skipped.
#include <sstream>

#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "btosif/osif_generators/vcard_writer.h"
#include "btosif/osif_util/charset.h"
#include "tests/support/corpus.h"
#include "tests/support/pol_fixture.h"

namespace corpus_contacts_test {
namespace {

using namespace support;

using SentLines = std::vector<std::string>;

// The lines of a card that say something: without its frame, its id and its empty properties.
SentLines FilledLines(const std::string& card) {
  SentLines lines;
  std::istringstream text(card);
  bool goes_on = false;  // the line before was broken
  for (std::string line; std::getline(text, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const bool is_frame = line == "BEGIN:VCARD" || line == "VERSION:2.1" || line == "END:VCARD";
    const bool is_empty = !line.empty() && line.back() == ':';
    const bool is_id = line.rfind("X-IRMC-LUID:", 0) == 0;
    if (goes_on || !(is_frame || is_empty || is_id)) lines.push_back(line);
    goes_on = !line.empty() && line.back() == '=';
  }
  return lines;
}

class CorpusContacts : public TempDeviceTest {
 protected:
  void SetUp() override {
    const std::string corpus = support::CorpusFolder();
    if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
    folder_ = corpus + "/vcard/";
    ForgetCharsetChoices();
    SetSetting(u"DoNotSendMsftProperties", 0);
    ASSERT_EQ(Code(POL_Open()), OSIF_OK);
  }
  void TearDown() override {
    POL_Close();
    ForgetCharsetChoices();
  }

  // Stores the cards of a file; the last of them is the present contact.
  int Receive(const std::string& name) {
    OsifStream stream = Open(folder_ + name + ".vcf", u"rb");
    auto store = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
      IdBuffer id;
      EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_PB, object, id.text, nullptr)), OSIF_OK);
      static_cast<CorpusContacts*>(context)->id_ = id.text;
      return 0;
    };
    const OsifResult result = VCard_ReadFile(stream, store, this);
    if (!id_.empty()) Fetch();
    return Code(result);
  }

  ContactTexts texts_;  // what is stored and not empty; dates as the numbers of their days
  SentLines sent_;      // what is sent of it

 private:
  void AddDate(const char* name, IContact& contact, HRESULT (IContact::*get)(DATE*)) {
    DATE date = 0;
    ASSERT_EQ((contact.*get)(&date), S_OK);
    if (date != DATE_NONE) texts_[name] = Wide(std::to_string(static_cast<int>(date)));
  }

  void Fetch() {
    const LONG oid = static_cast<LONG>(std::stoul(id_, nullptr, 16));
    IDispatch* item = nullptr;
    ASSERT_EQ(pol_Application()->GetItemFromOid(oid, &item), S_OK);
    ComPtr<IContact> contact(static_cast<IContact*>(item));
    texts_ = TextsOfItem(*contact);
    AddDate("Birthday", *contact, &IContact::get_Birthday);
    AddDate("Anniversary", *contact, &IContact::get_Anniversary);
    OwnedObject object(OSIF_STORE_PB);
    ASSERT_EQ(Code(POL_GetObjectById(OSIF_STORE_PB, id_.c_str(), object.get())), OSIF_OK);
    sent_ = FilledLines(BytesWritten([&](OsifStream& stream) { VCard_Write(stream, *object, 1); }));
  }

  std::string folder_;
  std::string id_;
};

TEST_F(CorpusContacts, OfAnAndroidPhone) {
  EXPECT_EQ(Receive("android-vcard__v21_complicated"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Gump"},
                                  {"FirstName", u"Forrest"},
                                  {"MiddleName", u"Hoge"},
                                  {"Title", u"Pos"},
                                  {"Suffix", u"Tao"},
                                  {"FileAs", u"Joe Due"},
                                  {"CompanyName", u"Gump Shrimp Co."},
                                  {"Department", u"Sales Dept.;Manager"},
                                  {"JobTitle", u"Shrimp Man"},
                                  {"BusinessTelephoneNumber", u"(111) 555-1212"},
                                  {"HomeTelephoneNumber", u"(404) 555-1212"},
                                  {"Home2TelephoneNumber", u"0333333333"},
                                  {"MobileTelephoneNumber", u"0311111111"},
                                  {"BusinessAddressStreet", u"100 Waters Edge"},
                                  {"BusinessAddressCity", u"Baytown"},
                                  {"BusinessAddressState", u"LA"},
                                  {"BusinessAddressPostalCode", u"30314"},
                                  {"BusinessAddressCountry", u"United States of America"},
                                  {"HomeAddressStreet", u"42 Plantation St."},
                                  {"HomeAddressCity", u"Baytown"},
                                  {"HomeAddressState", u"LA"},
                                  {"HomeAddressPostalCode", u"30314"},
                                  {"HomeAddressCountry", u"United States of America"},
                                  {"Email1Address", u"forrestgump@walladalla.com"},
                                  {"Body", u"The following note is the example from RFC 2045."},
                                  {"WebPage", u"http://www.example.com/"},
                                  {"Birthday", u"29221"}}));
  EXPECT_EQ(
      sent_,
      SentLines({"N:Gump;Forrest;Hoge;Pos;Tao", "FN:Joe Due", "BDAY:19800101",
                 "ADR;HOME:;;42 Plantation St.;Baytown;LA;30314;United States of America",
                 "ADR;WORK:;;100 Waters Edge;Baytown;LA;30314;United States of America",
                 "ORG:Gump Shrimp Co.;Sales Dept.\\;Manager", "TITLE:Shrimp Man",
                 "TEL;HOME;VOICE:(404) 555-1212", "TEL;HOME;VOICE:0333333333",
                 "TEL;WORK;VOICE:(111) 555-1212", "TEL;CELL:0311111111",
                 "URL:http://www.example.com/", "EMAIL;INTERNET;PREF:forrestgump@walladalla.com",
                 "NOTE:The following note is the example from RFC 2045.",
                 "DEPT:Sales Dept.\\;Manager"}));
}

TEST_F(CorpusContacts, OfAWindowsPhone) {
  EXPECT_EQ(Receive("android-vcard__v21_winmo_65"), OSIF_PARSE_WARNING);
  EXPECT_EQ(
      texts_,
      ContactTexts({{"LastName", u"Example"}, {"FileAs", u"Example"}, {"Anniversary", u"40096"}}));
  EXPECT_EQ(sent_, SentLines({"N:Example", "FN:Example", "X-ANNIVERSARY:20091010",
                              "ANNIVERSARY:20091010"}));
}

// Its character set goes by a name that is not known here (with an underscore).
TEST_F(CorpusContacts, OfAJapanesePhoneInAnUnknownCharacterSetAreReadInTheDefaultOne) {
  EXPECT_EQ(Receive("android-vcard__v21_japanese_1"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_,
            ContactTexts({{"LastName", u"\u02C6\u00C0\u201C\u00A1\u0192\u008D\u0192C\u0192h"},
                          {"HomeTelephoneNumber", u"0300000000"}}));
  EXPECT_EQ(sent_, SentLines({"N;CHARSET=UTF-8:\xCB\x86\xC3\x80\xE2\x80\x9C\xC2\xA1\xC6\x92\xC2\x8D"
                              "\xC6\x92"
                              "C\xC6\x92h",
                              "TEL;HOME;VOICE:0300000000"}));
}

TEST_F(CorpusContacts, OfAJapanesePhoneAreReadWhereTheirCharacterSetIsTheDefault) {
  SetSetting(u"DefaultInputCharset", u"SJIS");
  ForgetCharsetChoices();
  Receive("android-vcard__v21_japanese_1");
  EXPECT_EQ(texts_["LastName"], u"\u5B89\u85E4\u30ED\u30A4\u30C9");
  ASSERT_FALSE(sent_.empty());
  EXPECT_EQ(sent_[0],
            "N;CHARSET=UTF-8:\xE5\xAE\x89\xE8\x97\xA4\xE3\x83\xAD\xE3\x82\xA4\xE3\x83\x89");
}

// Some of its characters end in a byte that looks like a backslash and so hides the ";" behind it.
TEST_F(CorpusContacts, OfAJapanesePhoneLoseSeparatorsBehindABackslashByte) {
  EXPECT_EQ(Receive("android-vcard__v21_japanese_3"), OSIF_PARSE_OK);
  EXPECT_EQ(texts_, ContactTexts(
                        {{"LastName", u"\u02C6\u00C9\u201D;\u0152\u02C6\u00EA"},
                         {"FirstName", u"\u02C6\u00C9\u2014;"},
                         {"FileAs", u"\u02C6\u00C9\u201D \u0152\u02C6\u00EA \u02C6\u00C9\u2014"}}));
}

TEST_F(CorpusContacts, InHebrewAreReadInTheDefaultCharacterSet) {
  EXPECT_EQ(Receive("folkerkinzel__MultiAnsiFilterTests_Hebrew"), OSIF_PARSE_OK);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Kishon"},
                                  {"FirstName", u"Ephraim"},
                                  {"FileAs",
                                   u"\u00E0\u00F4\u00F8\u00E9\u00ED "
                                   u"\u00F7\u00E9\u00F9\u00E5\u00EF"}}));
}

TEST_F(CorpusContacts, InHebrewAreReadAsTheSettingSays) {
  SetSetting(u"DefaultInputCharset", u"WINDOWS-1255");
  ForgetCharsetChoices();
  Receive("folkerkinzel__MultiAnsiFilterTests_Hebrew");
  EXPECT_EQ(texts_["FileAs"], u"\u05D0\u05E4\u05E8\u05D9\u05DD \u05E7\u05D9\u05E9\u05D5\u05DF");
  EXPECT_EQ(sent_, SentLines({"N:Kishon;Ephraim",
                              "FN;CHARSET=UTF-8:\xD7\x90\xD7\xA4\xD7\xA8\xD7\x99\xD7\x9D "
                              "\xD7\xA7\xD7\x99\xD7\xA9\xD7\x95\xD7\x9F"}));
}

// Its picture ends in a single "=", which joins the line with the next one: that of the name.
TEST_F(CorpusContacts, OfAServerWhoseNameIsSwallowedByAPictureIsRefused) {
  EXPECT_EQ(Receive("horde-turba__export_21"), OSIF_PARSE_ERROR);
  EXPECT_TRUE(texts_.empty());
}

TEST_F(CorpusContacts, OfASynchronisationClient) {
  EXPECT_EQ(Receive("funambol-cpp__WinContactTest_vcard4Wcontact21-2"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Presley"},
                                  {"FirstName", u"Elvis"},
                                  {"CompanyName", u"Funambol"},
                                  {"BusinessTelephoneNumber", u"+39 0000 00000"},
                                  {"HomeTelephoneNumber", u"+39 0382 34291"},
                                  {"MobileTelephoneNumber", u"+39 1111 1111"},
                                  {"WebPage", u"www.elvis.com"},
                                  {"Email1Address", u"theking@elvispresley.com"},
                                  {"Email2Address", u"theonlyking@elvis.com"},
                                  {"Email3Address", u"Iam@thepelvis.com"},
                                  {"HomeAddressStreet", u"somewhere"},
                                  {"HomeAddressCity", u"tupelo"},
                                  {"HomeAddressState", u"MS"},
                                  {"HomeAddressPostalCode", u"909090"},
                                  {"Birthday", u"12792"}}));
  EXPECT_EQ(
      sent_,
      SentLines({"N:Presley;Elvis", "BDAY:19350108", "ADR;HOME:;;somewhere;tupelo;MS;909090",
                 "ORG:Funambol", "TEL;HOME;VOICE:+39 0382 34291", "TEL;WORK;VOICE:+39 0000 00000",
                 "TEL;CELL:+39 1111 1111", "URL:www.elvis.com",
                 "EMAIL;INTERNET;PREF:theking@elvispresley.com",
                 "EMAIL;INTERNET:theonlyking@elvis.com", "EMAIL;INTERNET:Iam@thepelvis.com"}));
}

TEST_F(CorpusContacts, OfADesktopAddressBook) {
  EXPECT_EQ(Receive("kcontacts__vcard1.vcf.2_1ref"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"FileAs", u"Frank Dawson"},
                                  {"CompanyName", u"Lotus Development Corporation"},
                                  {"BusinessAddressStreet", u"6544 Battleford Drive"},
                                  {"BusinessAddressCity", u"Raleigh"},
                                  {"BusinessAddressState", u"NC"},
                                  {"BusinessAddressPostalCode", u"27613-3502"},
                                  {"BusinessAddressCountry", u"U.S.A."},
                                  {"BusinessTelephoneNumber", u"+1-919-676-9515"},
                                  {"BusinessFaxNumber", u"+1-919-676-9564"},
                                  {"Email1Address", u"Frank_Dawson@Lotus.com"},
                                  {"Email2Address", u"fdawson@earthlink.net"},
                                  {"WebPage", u"http://home.earthlink.net/~fdawson"}}));
  EXPECT_EQ(
      sent_,
      SentLines({"FN:Frank Dawson", "ADR;WORK:;;6544 Battleford Drive;Raleigh;NC;27613-3502;U.S.A.",
                 "ORG:Lotus Development Corporation", "TEL;WORK;VOICE:+1-919-676-9515",
                 "TEL;WORK;FAX:+1-919-676-9564", "URL:http://home.earthlink.net/~fdawson",
                 "EMAIL;INTERNET;PREF:Frank_Dawson@Lotus.com",
                 "EMAIL;INTERNET:fdawson@earthlink.net"}));
}

// Folds leave a blank, "\n" is no line break in this version, and VERSION stands near the end.
TEST_F(CorpusContacts, OfAnotherDesktopAddressBookWithFoldsAndUmlauts) {
  EXPECT_EQ(Receive("opensync__kdepim-umlaute-2.1"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_,
            ContactTexts({{"LastName", u"familynames"},
                          {"FirstName", u"givenname"},
                          {"MiddleName", u"additional names"},
                          {"Title", u"prefix "},
                          {"Suffix", u"suffix"},
                          {"FileAs", u"givenname familynames"},
                          {"CompanyName", u"organization"},
                          {"BusinessAddressStreet", u"pobox2\r\nStreet1 work"},
                          {"BusinessAddressCity", u"locale2"},
                          {"BusinessAddressState", u"regi on2"},
                          {"BusinessAddressPostalCode", u"postalcode2"},
                          {"BusinessAddressCountry", u"Germany"},
                          {"HomeAddressStreet", u"pobox1\r\nHomeAddress1nm ultine"},
                          {"HomeAddressCity", u"local1"},
                          {"HomeAddressState", u"region1"},
                          {"HomeAddressPostalCode", u"postalcode1"},
                          {"HomeAddressCountry", u"Germany"},
                          {"Body",
                           u"This is a multine note! \u00F6\u00E4\u00E4\u00FC\u00DF\u00F6\u00E4"
                           u"\u00FCnwithnmu ltiplenlines"},
                          {"BusinessTelephoneNumber", u"workphone"},
                          {"BusinessFaxNumber", u"work fax"},
                          {"HomeTelephoneNumber", u"homephone"},
                          {"HomeFaxNumber", u"homefax"},
                          {"MobileTelephoneNumber", u"mobilephone"},
                          {"PagerNumber", u"pager"},
                          {"CarTelephoneNumber", u"car"},
                          {"WebPage", u"homepage"},
                          {"Birthday", u"38409"}}));
  EXPECT_EQ(sent_,
            SentLines({"N:familynames;givenname;additional names;prefix ;suffix",
                       "FN:givenname familynames", "BDAY:20050226",
                       "ADR;HOME;ENCODING=QUOTED-PRINTABLE:;;pobox1=0D=0A=",
                       "HomeAddress1nm ultine;local1;region1;postalcode1;Germany",
                       "ADR;WORK;ENCODING=QUOTED-PRINTABLE:;;pobox2=0D=0A=",
                       "Street1 work;locale2;regi on2;postalcode2;Germany", "ORG:organization",
                       "TEL;HOME;VOICE:homephone", "TEL;WORK;VOICE:workphone",
                       "TEL;HOME;FAX:homefax", "TEL;WORK;FAX:work fax", "TEL;CELL:mobilephone",
                       "TEL;PAGER:pager", "TEL;CAR:car", "URL:homepage",
                       "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:This is a multine note! "
                       "=C3=B6=C3=A4=C3=A4=C3=BC=C3=9F=C3=B6=C3=A4=C3=BCnwithnmu ltiplenlines"}));
}

TEST_F(CorpusContacts, OfAPhoneManagerWithALineBreakInTheName) {
  EXPECT_EQ(Receive("gammu__quoted-printable-ascii"), OSIF_PARSE_OK);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Nobody\rNowhere"}, {"Body", u"Nobody\rNowhere"}}));
  EXPECT_EQ(sent_, SentLines({"N;ENCODING=QUOTED-PRINTABLE:Nobody=0DNowhere",
                              "NOTE;ENCODING=QUOTED-PRINTABLE:Nobody=0DNowhere"}));
}

TEST_F(CorpusContacts, OfADesktopOrganizer) {
  EXPECT_EQ(Receive("ez-vcard__outlook-2003"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Doe"},
                                  {"FirstName", u"John"},
                                  {"Title", u"Mr."},
                                  {"Suffix", u"III"},
                                  {"FileAs", u"John Doe III"},
                                  {"CompanyName", u"Company, The"},
                                  {"Department", u"TheDepartment"},
                                  {"JobTitle", u"The Job Title"},
                                  {"Body",
                                   u"This is the note field!!\r\nSecond line\r\n\r\n"
                                   u"Third line is empty\r\n"},
                                  {"BusinessTelephoneNumber", u"BusinessPhone"},
                                  {"HomeTelephoneNumber", u"HomePhone"},
                                  {"MobileTelephoneNumber", u"MobilePhone"},
                                  {"BusinessFaxNumber", u"BusinessFaxPhone"},
                                  {"BusinessAddressStreet", u"123 Main St"},
                                  {"BusinessAddressCity", u"Austin"},
                                  {"BusinessAddressState", u"TX"},
                                  {"BusinessAddressPostalCode", u"12345"},
                                  {"BusinessAddressCountry", u"United States of America"},
                                  {"OfficeLocation", u"TheOffice"},
                                  {"WebPage", u"http://web-page-address.com"},
                                  {"Email1Address", u"jdoe@hotmail.com"},
                                  {"Birthday", u"29301"}}));
  EXPECT_EQ(sent_,
            SentLines({"N:Doe;John;;Mr.;III", "FN:John Doe III", "BDAY:19800321",
                       "ADR;WORK:;TheOffice;123 Main St;Austin;TX;12345;United States of America",
                       "ORG:Company, The;TheDepartment", "TITLE:The Job Title",
                       "TEL;HOME;VOICE:HomePhone", "TEL;WORK;VOICE:BusinessPhone",
                       "TEL;WORK;FAX:BusinessFaxPhone", "TEL;CELL:MobilePhone",
                       "URL:http://web-page-address.com", "EMAIL;INTERNET;PREF:jdoe@hotmail.com",
                       "NOTE;ENCODING=QUOTED-PRINTABLE:This is the note field!!=0D=0A=",
                       "Second line=0D=0A=", "=0D=0A=", "Third line is empty=0D=0A",
                       "DEPT:TheDepartment", "X-MICROSOFT-OFFICELOC:TheOffice"}));
}

TEST_F(CorpusContacts, OfAPenOrganizer) {
  EXPECT_EQ(Receive("symbian-organizer__Epoc_4"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_,
            ContactTexts({{"LastName", u"Example"},
                          {"FirstName", u"A"},
                          {"Title", u"Mr."},
                          {"FileAs", u"A N Example (E-mail)"},
                          {"CompanyName", u"Symbian Foundation"},
                          {"Department", u"A Example Services"},
                          {"JobTitle", u"E-Example Project Manager"},
                          {"BusinessTelephoneNumber", u"+44 (01632) 960000"},
                          {"HomeTelephoneNumber", u"+44 (01632) 960001"},
                          {"MobileTelephoneNumber", u"+44 (07700) 900000"},
                          {"BusinessFaxNumber", u"+44 (01632) 960002"},
                          {"BusinessAddressStreet", u"Example House\r\nExample Road\r\nExample"},
                          {"BusinessAddressCity", u"Town"},
                          {"BusinessAddressState", u"UK"},
                          {"BusinessAddressPostalCode", u"ZZ99 EXP"},
                          {"BusinessAddressCountry", u"United Kingdom"},
                          {"OfficeLocation", u"Example House, Example"},
                          {"Email1Address", u"symbian.foundation@exp.example.test"}}));
  EXPECT_EQ(
      sent_,
      SentLines({"N:Example;A;;Mr.", "FN:A N Example (E-mail)",
                 "ADR;WORK;ENCODING=QUOTED-PRINTABLE:;Example House, Example;"
                 "Example House=0D=0A=",
                 "Example Road=0D=0A=", "Example;Town;UK;ZZ99 EXP;United Kingdom",
                 "ORG:Symbian Foundation;A Example Services", "TITLE:E-Example Project Manager",
                 "TEL;HOME;VOICE:+44 (01632) 960001", "TEL;WORK;VOICE:+44 (01632) 960000",
                 "TEL;WORK;FAX:+44 (01632) 960002", "TEL;CELL:+44 (07700) 900000",
                 "EMAIL;INTERNET;PREF:symbian.foundation@exp.example.test",
                 "DEPT:A Example Services", "X-MICROSOFT-OFFICELOC:Example House, Example"}));
}

TEST_F(CorpusContacts, OfAMailProgramThatNamesNoCharacterSet) {
  EXPECT_EQ(Receive("roundcube__thebat"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Iksi\u00F1ski"},
                                  {"FirstName", u"Piotr"},
                                  {"FileAs", u"Piotr Iksi\u00F1ski"},
                                  {"Email1Address", u"piotr.iksinski@somedomain.com"}}));
  EXPECT_EQ(sent_, SentLines({"N;CHARSET=UTF-8:Iksi\xC3\xB1ski;Piotr",
                              "FN;CHARSET=UTF-8:Piotr Iksi\xC3\xB1ski",
                              "EMAIL;INTERNET;PREF:piotr.iksinski@somedomain.com"}));
}

TEST_F(CorpusContacts, OfALinuxPhone) {
  EXPECT_EQ(Receive("qtmoko__Pamela-Brown-vcard"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_,
            ContactTexts({{"LastName", u"Brown"},
                          {"FirstName", u"Pamela"},
                          {"MiddleName", u"John"},
                          {"Title", u"Miss"},
                          {"FileAs", u"Pamela Brown"},
                          {"JobTitle", u"Raw material component supply manager (PLC Controls)"},
                          {"HomeAddressStreet", u"1600 Pennsylvania Avenue NW, Washington"},
                          {"HomeAddressCity", u" DC 20500"},
                          {"HomeAddressState", u"USA"},
                          {"BusinessAddressStreet", u"Diagon Alley"},
                          {"BusinessAddressCity", u"Mumbai"},
                          {"BusinessAddressState", u"Maharashtra"},
                          {"BusinessAddressPostalCode", u"400013"},
                          {"BusinessAddressCountry", u"India"},
                          {"HomeTelephoneNumber", u"876 555 8324"},
                          {"MobileTelephoneNumber", u"982 555 7355"},
                          {"BusinessTelephoneNumber", u"567 555 3795"},
                          {"BusinessFaxNumber", u"567 555 8809"},
                          {"WebPage", u"http://work.example.com"},
                          {"Email1Address", u"Pamela_2000@mail.example.net"},
                          {"Email2Address", u"pamy@example.com"},
                          {"Body", u"Supply chain manager."}}));
  EXPECT_EQ(sent_, SentLines({"N:Brown;Pamela;John;Miss", "FN:Pamela Brown",
                              "ADR;HOME:;;1600 Pennsylvania Avenue NW, Washington; DC 20500;USA",
                              "ADR;WORK:;;Diagon Alley;Mumbai;Maharashtra;400013;India",
                              "TITLE:Raw material component supply manager (PLC Controls)",
                              "TEL;HOME;VOICE:876 555 8324", "TEL;WORK;VOICE:567 555 3795",
                              "TEL;WORK;FAX:567 555 8809", "TEL;CELL:982 555 7355",
                              "URL:http://work.example.com",
                              "EMAIL;INTERNET;PREF:Pamela_2000@mail.example.net",
                              "EMAIL;INTERNET:pamy@example.com", "NOTE:Supply chain manager."}));
}

// Its mail addresses do not say that they are of the internet; empty values come first and stand for all.
TEST_F(CorpusContacts, OfASecondLinuxPhoneWithEmptyValuesInFront) {
  EXPECT_EQ(Receive("buteo__vcard1"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Udupa"},
                                  {"FirstName", u"Kiran"},
                                  {"MiddleName", u"Shama"},
                                  {"Title", u"Mr."},
                                  {"FileAs", u"\"Udupa Kiran\""},
                                  {"CompanyName", u"Wipro"},
                                  {"JobTitle", u"Test Lead"},
                                  {"HomeTelephoneNumber", u"99999"},
                                  {"Home2TelephoneNumber", u"33333"},
                                  {"BusinessTelephoneNumber", u"11111"},
                                  {"HomeFaxNumber", u"88888"},
                                  {"BusinessFaxNumber", u"77777"},
                                  {"MobileTelephoneNumber", u"44444"},
                                  {"PagerNumber", u"66666"},
                                  {"WebPage", u"www.web.com"},
                                  {"Body", u"notes notes"}}));
  EXPECT_EQ(sent_, SentLines({"N:Udupa;Kiran;Shama;Mr.", "FN:\"Udupa Kiran\"", "ORG:Wipro",
                              "TITLE:Test Lead", "TEL;HOME;VOICE:99999", "TEL;HOME;VOICE:33333",
                              "TEL;WORK;VOICE:11111", "TEL;HOME;FAX:88888", "TEL;WORK;FAX:77777",
                              "TEL;CELL:44444", "TEL;PAGER:66666", "URL:www.web.com",
                              "NOTE:notes notes"}));
}

// It encodes every blank; a no-break space in the address makes UTF-8 of it.
TEST_F(CorpusContacts, OfASymbianPhoneThatEncodesEveryField) {
  EXPECT_EQ(Receive("symbian-appsupport__CONTACT.NNA3"), OSIF_PARSE_WARNING);
  EXPECT_EQ(
      texts_,
      ContactTexts(
          {{"LastName", u"Jones"},
           {"FirstName", u"Tom"},
           {"Title", u"King of Cool"},
           {"CompanyName", u"Gut Records  inc."},
           {"JobTitle", u"Singer"},
           {"BusinessAddressStreet", u"PO\u00A0BOX 9214"},
           {"BusinessAddressCity", u"London"},
           {"BusinessTelephoneNumber", u"66335  209"},
           {"Email1Address", u"tom.jones@anonymous.com"},
           {"WebPage", u"www.tomjonesistheman.com"},
           {"Body",
            u"In his native Wales, he is known as \"Jones the Voice\". Today, he is one of the "
            u"enduring personalities in the music entertainment buisness, His unique vocal "
            u"power, ability, and charismatica persona make him one of the most respected, "
            u"admired and loved performers in modern music."}}));
  EXPECT_EQ(
      sent_,
      SentLines({"N:Jones;Tom;;King of Cool",
                 "ADR;WORK;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:;;PO=C2=A0BOX 9214;London",
                 "ORG:Gut Records  inc.", "TITLE:Singer", "TEL;WORK;VOICE:66335  209",
                 "URL:www.tomjonesistheman.com", "EMAIL;INTERNET;PREF:tom.jones@anonymous.com",
                 "NOTE:In his native Wales, he is known as \"Jones the Voice\". Today, he is "
                 "one of the enduring personalities in the music entertainment buisness, His "
                 "unique vocal power, ability, and charismatica persona make him one of the "
                 "most respected, admired and loved performers in modern music."}));
}

// It escapes as later versions do: a break is an "n" here, and the note ends at its bare semicolon.
TEST_F(CorpusContacts, OfAWebServiceThatEscapesAsLaterVersionsDo) {
  EXPECT_EQ(Receive("vcards-js__v2.1WorkingCard"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Doe"},
                                  {"FirstName", u"John"},
                                  {"MiddleName", u"D"},
                                  {"Title", u"M;R"},
                                  {"Suffix", u"J\\R"},
                                  {"FileAs", u"John D Doe"},
                                  {"CompanyName", u"ACME Corporation"},
                                  {"JobTitle", u"Crash Test Dummy"},
                                  {"HomeAddressStreet", u"123 Main Street"},
                                  {"HomeAddressCity", u"Chicago"},
                                  {"HomeAddressState", u"IL"},
                                  {"HomeAddressPostalCode", u"12345"},
                                  {"HomeAddressCountry", u"United States of America"},
                                  {"BusinessAddressStreet", u"123 Corporate LoopnSuite 500"},
                                  {"BusinessAddressCity", u"Los Angeles"},
                                  {"BusinessAddressState", u"CA"},
                                  {"BusinessAddressPostalCode", u"54321"},
                                  {"BusinessAddressCountry", u"California Republic"},
                                  {"HomeTelephoneNumber", u"312-555-1313"},
                                  {"BusinessTelephoneNumber", u"312-555-1212"},
                                  {"HomeFaxNumber", u"312-555-1616"},
                                  {"BusinessFaxNumber", u"312-555-1717"},
                                  {"MobileTelephoneNumber", u"12345678900"},
                                  {"PagerNumber", u"312-555-1515"},
                                  {"WebPage", u"http://johndoe"},
                                  {"Email1Address", u"john.doe@testmail"},
                                  {"Email2Address", u"john.doe@workmail"},
                                  {"Body", u"John Doe's nnotes"},
                                  {"Birthday", u"43435"}}));
  EXPECT_EQ(
      sent_,
      SentLines({"N:Doe;John;D;M\\;R;J\\\\R", "FN:John D Doe", "BDAY:20181201",
                 "ADR;HOME:;;123 Main Street;Chicago;IL;12345;United States of America",
                 "ADR;WORK:;;123 Corporate LoopnSuite 500;Los Angeles;CA;54321;California Republic",
                 "ORG:ACME Corporation", "TITLE:Crash Test Dummy", "TEL;HOME;VOICE:312-555-1313",
                 "TEL;WORK;VOICE:312-555-1212", "TEL;HOME;FAX:312-555-1616",
                 "TEL;WORK;FAX:312-555-1717", "TEL;CELL:12345678900", "TEL;PAGER:312-555-1515",
                 "URL:http://johndoe", "EMAIL;INTERNET;PREF:john.doe@testmail",
                 "EMAIL;INTERNET:john.doe@workmail", "NOTE:John Doe's nnotes"}));
}

TEST_F(CorpusContacts, OfALaterDesktopOrganizerInGerman) {
  EXPECT_EQ(Receive("folkerkinzel__Outlook_v2"), OSIF_PARSE_WARNING);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"Mustermann"},
                                  {"FirstName", u"Max"},
                                  {"MiddleName", u"Anderer"},
                                  {"Title", u"Herr"},
                                  {"Suffix", u"sen."},
                                  {"FileAs", u"Herr Max Anderer Mustermann sen."},
                                  {"CompanyName", u"Musterfirma GmbH"},
                                  {"JobTitle", u"Musterposition"},
                                  {"BusinessTelephoneNumber", u"+49 (0611) 123456 - 11"},
                                  {"HomeTelephoneNumber", u"+49 (0611) 123456 - 12"},
                                  {"MobileTelephoneNumber", u"+49 (0611) 123456 - 14"},
                                  {"BusinessFaxNumber", u"+49 (0611) 123456 - 13"},
                                  {"BusinessAddressStreet", u"Musterstrasse 12"},
                                  {"BusinessAddressCity", u"Wiesbaden"},
                                  {"BusinessAddressState", u"Hessen"},
                                  {"BusinessAddressPostalCode", u"65201"},
                                  {"BusinessAddressCountry", u"Deutschland"},
                                  {"WebPage", u"https://www.musterfirma.de"},
                                  {"Email1Address", u"max.mustermann@musterfirma.de"},
                                  {"Body", u"Hier noch ein paar notizen"}}));
  EXPECT_EQ(
      sent_,
      SentLines({"N:Mustermann;Max;Anderer;Herr;sen.", "FN:Herr Max Anderer Mustermann sen.",
                 "ADR;WORK:;;Musterstrasse 12;Wiesbaden;Hessen;65201;Deutschland",
                 "ORG:Musterfirma GmbH", "TITLE:Musterposition",
                 "TEL;HOME;VOICE:+49 (0611) 123456 - 12", "TEL;WORK;VOICE:+49 (0611) 123456 - 11",
                 "TEL;WORK;FAX:+49 (0611) 123456 - 13", "TEL;CELL:+49 (0611) 123456 - 14",
                 "URL:https://www.musterfirma.de",
                 "EMAIL;INTERNET;PREF:max.mustermann@musterfirma.de",
                 "NOTE:Hier noch ein paar notizen"}));
}

TEST_F(CorpusContacts, OfAThirdDesktopAddressBook) {
  EXPECT_EQ(Receive("perl-text-vcard__apple_2.1_unicode"), OSIF_PARSE_OK);
  EXPECT_EQ(texts_, ContactTexts({{"LastName", u"T-surname"},
                                  {"FirstName", u"T-first"},
                                  {"FileAs", u"T-firstname T-surname"},
                                  {"HomeTelephoneNumber", u"020 666 6666"},
                                  {"MobileTelephoneNumber", u"0777 - 777 7777"},
                                  {"HomeAddressStreet", u"Pref Test Road"},
                                  {"HomeAddressCity", u"Pref Test City"},
                                  {"HomeAddressPostalCode", u"Pref Test Postcode"},
                                  {"HomeAddressCountry", u"Pref Test Country"},
                                  {"BusinessAddressStreet", u"Test Road"},
                                  {"BusinessAddressCity", u"Test City"},
                                  {"BusinessAddressPostalCode", u"Test Postcode"},
                                  {"BusinessAddressCountry", u"Test Country"}}));
  EXPECT_EQ(sent_,
            SentLines({"N:T-surname;T-first", "FN:T-firstname T-surname",
                       "ADR;HOME:;;Pref Test Road;Pref Test City;;Pref Test Postcode;Pref Test "
                       "Country",
                       "ADR;WORK:;;Test Road;Test City;;Test Postcode;Test Country",
                       "TEL;HOME;VOICE:020 666 6666", "TEL;CELL:0777 - 777 7777"}));
}

TEST_F(CorpusContacts, InCyrillicAreKeptAndSentInUtf8) {
  EXPECT_EQ(Receive("doublecontact__custom_nonlatin_a8"), OSIF_PARSE_WARNING);
  EXPECT_EQ(
      texts_,
      ContactTexts({{"LastName", u"\u041F\u0440\u0435\u043A\u0440\u0430\u0441\u043D\u0430\u044F"},
                    {"FirstName", u"\u0412\u0430\u0441\u0438\u043B\u0438\u0441\u0430"}}));
  EXPECT_EQ(sent_, SentLines({"N;CHARSET=UTF-8:\xD0\x9F\xD1\x80\xD0\xB5\xD0\xBA\xD1\x80\xD0\xB0\xD1"
                              "\x81\xD0\xBD\xD0\xB0\xD1\x8F;\xD0\x92\xD0\xB0\xD1\x81\xD0\xB8\xD0"
                              "\xBB\xD0\xB8\xD1\x81\xD0\xB0"}));
}

}  // namespace
}  // namespace corpus_contacts_test
