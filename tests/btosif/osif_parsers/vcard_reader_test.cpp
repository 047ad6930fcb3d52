#include "btosif/osif_parsers/vcard_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "btosif/osif_util/object_record.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/contacts.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace vcard_reader_test {
namespace {

using support::Card;
using support::Lines;
using support::OpenBytes;
using support::ReadCard;
using support::ReadCards;
using support::ReadOutcome;
using support::TraceReceiver;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

class VCardReader : public support::TextTest {};

// The file's only card, which is read without a warning.
ReadCard ReadOnlyCard(const std::string& bytes) {
  ReadOutcome outcome = ReadCards(bytes);
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.cards.size(), 1u);
  return outcome.cards.empty() ? ReadCard{} : outcome.cards.front();
}

std::vector<OsifResult> ResultsOf(const ReadOutcome& outcome) {
  std::vector<OsifResult> results;
  for (const ReadCard& card : outcome.cards) results.push_back(card.result);
  return results;
}

// ---- The property table ----

struct NameCase {
  const char* name;
  int index;
};

class PropertyName : public testing::TestWithParam<NameCase> {};

TEST_P(PropertyName, HasItsFixedNumber) {
  EXPECT_EQ(static_cast<int>(PropertyIndex(GetParam().name)), GetParam().index);
}

TEST_P(PropertyName, IsFoundInSmallLetters) {
  std::string name = GetParam().name;
  for (char& c : name) c = static_cast<char>(std::tolower(c));
  EXPECT_EQ(static_cast<int>(PropertyIndex(name)), GetParam().index);
}

INSTANTIATE_TEST_SUITE_P(
    Names, PropertyName,
    testing::Values(NameCase{"BEGIN", 1}, NameCase{"X-IRMC-LUID", 2}, NameCase{"VERSION", 3},
                    NameCase{"N", 4}, NameCase{"FN", 5}, NameCase{"BDAY", 6}, NameCase{"ADR", 7},
                    NameCase{"ORG", 8}, NameCase{"TITLE", 9}, NameCase{"TEL", 10},
                    NameCase{"EMAIL", 11}, NameCase{"END", 12}, NameCase{"URL", 13},
                    NameCase{"NOTE", 14}, NameCase{"NICKNAME", 15}, NameCase{"ROLE", 16},
                    NameCase{"X-SPOUSE", 17}, NameCase{"SPOUSE", 17}, NameCase{"X-CHILDREN", 18},
                    NameCase{"CHILDREN", 18}, NameCase{"X-ASSISTANT", 19},
                    NameCase{"X-MICROSOFT-ASSISTANT", 19}, NameCase{"X-ANNIVERSARY", 20},
                    NameCase{"ANNIVERSARY", 20}, NameCase{"X-CAT", 21}, NameCase{"CATEGORIES", 21},
                    NameCase{"DEPT", 22}, NameCase{"X-MICROSOFT-ASST_TEL", 23},
                    NameCase{"X-MICROSOFT-OFFICELOC", 24}, NameCase{"", 0}, NameCase{"PHOTO", 0},
                    NameCase{"NN", 0}, NameCase{"ASSISTANT", 0}, NameCase{"TELEPHONE", 0},
                    NameCase{"TE", 0}));

struct FieldCase {
  const char* line;
  const char* field;
  std::vector<std::string> components;
};

class PropertyField : public support::TextTest, public testing::WithParamInterface<FieldCase> {};

TEST_P(PropertyField, ReceivesTheValue) {
  Card text;
  text.Line("N:x").Line(GetParam().line);
  ReadCard card = ReadOnlyCard(text.Text());
  EXPECT_EQ(card.First(GetParam().field), GetParam().components);
  EXPECT_EQ(card.fields.size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, PropertyField,
    testing::Values(
        FieldCase{"FN:Ann;Lee", "fn", {"Ann"}}, FieldCase{"BDAY:19700101;x", "bday", {"19700101"}},
        FieldCase{"ADR:a;b;c;d;e;f;g;h", "adr", {"a", "b", "c", "d", "e", "f", "g"}},
        FieldCase{"ORG:a;b;c", "org", {"a", "b"}}, FieldCase{"TITLE:a;b", "title", {"a"}},
        FieldCase{"TEL:1;2", "tel", {"1"}}, FieldCase{"EMAIL:a@b;c", "email", {"a@b"}},
        FieldCase{"URL:http://x/;y", "url", {"http://x/"}},
        FieldCase{"NOTE:a\\;b;c", "note", {"a\\;b"}}, FieldCase{"NICKNAME:a;b", "nickname", {"a"}},
        FieldCase{"ROLE:a;b", "role", {"a"}}, FieldCase{"X-SPOUSE:a", "xSpouse", {"a"}},
        FieldCase{"SPOUSE:a", "xSpouse", {"a"}}, FieldCase{"X-CHILDREN:a", "xChildren", {"a"}},
        FieldCase{"CHILDREN:a", "xChildren", {"a"}},
        FieldCase{"X-ASSISTANT:a", "xAssistant", {"a"}},
        FieldCase{"X-MICROSOFT-ASSISTANT:a", "xAssistant", {"a"}},
        FieldCase{"X-ANNIVERSARY:a", "xAnniversary", {"a"}},
        FieldCase{"ANNIVERSARY:a", "xAnniversary", {"a"}}, FieldCase{"X-CAT:a", "xCat", {"a"}},
        FieldCase{"CATEGORIES:a", "xCat", {"a"}},
        FieldCase{"X-MICROSOFT-OFFICELOC:a", "xMicrosoftOfficeloc", {"a"}}));

TEST_F(VCardReader, ANameHasFiveComponents) {
  EXPECT_THAT(ReadOnlyCard(Card().Line("N:Lee;Ann;B;Dr;jr;more").Text()).First("n"),
              ElementsAre("Lee", "Ann", "B", "Dr", "jr"));
}

TEST_F(VCardReader, EveryOccurrenceIsAValueInTheOrderReceived) {
  ReadCard card = ReadOnlyCard(
      Card().Line("N:x").Line("TEL;HOME:1").Line("TEL;CELL;VOICE:2").Line("N:y").Text());
  ASSERT_EQ(card.fields.at("tel").size(), 2u);
  EXPECT_THAT(card.fields.at("tel").at(0).components, ElementsAre("1"));
  EXPECT_THAT(card.fields.at("tel").at(0).params, ElementsAre("HOME"));
  EXPECT_THAT(card.fields.at("tel").at(1).components, ElementsAre("2"));
  EXPECT_THAT(card.fields.at("tel").at(1).params, ElementsAre("CELL", "VOICE"));
  EXPECT_EQ(card.fields.at("n").size(), 2u);
}

TEST_F(VCardReader, TheValuesFlagsFollowItsParameters) {
  ReadCard card =
      ReadOnlyCard(Card().Line("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:J=C3=BCrgen").Text());
  EXPECT_EQ(card.fields.at("n").at(0).flags, 0x1u | 0x8u);
  EXPECT_THAT(card.First("n"), ElementsAre("J=C3=BCrgen"));
}

TEST_F(VCardReader, BlanksAreRemovedFromNamesAndParametersButNotFromValues) {
  ReadCard card =
      ReadOnlyCard(Card().Line("n : Lee").Line("T E L ; HOME ; CHARSET = UTF-8 : 1 2").Text());
  EXPECT_THAT(card.First("n"), ElementsAre(" Lee"));
  EXPECT_THAT(card.First("tel"), ElementsAre(" 1 2"));
  EXPECT_THAT(card.fields.at("tel").at(0).params, ElementsAre("HOME", "CHARSET=UTF-8"));
}

TEST_F(VCardReader, TheIdIsCopied) {
  EXPECT_EQ(ReadOnlyCard(Card().Line("N:x").Line("X-IRMC-LUID:0000002a").Text()).luid, "0000002a");
}

TEST_F(VCardReader, AnIdIsCutToItsField) {
  for (size_t length : {510u, 511u, 512u, 100000u}) {
    ReadCard card =
        ReadOnlyCard(Card().Line("N:x").Line("X-IRMC-LUID:" + std::string(length, '7')).Text());
    EXPECT_EQ(card.luid, std::string(std::min<size_t>(length, 511), '7'));
    EXPECT_EQ(card.version, "2.1");
  }
}

// ---- Organisation, department, assistant ----

TEST_F(VCardReader, ASecondOrganisationOverwritesTheComponentsOfTheFirst) {
  ReadCard card = ReadOnlyCard(Card().Line("N:x").Line("ORG:A;B").Line("ORG:C;D").Text());
  EXPECT_EQ(card.fields.at("org").size(), 1u);
  EXPECT_THAT(card.First("org"), ElementsAre("C", "D"));
  EXPECT_THAT(ReadOnlyCard(Card().Line("N:x").Line("ORG:A;B").Line("ORG:C").Text()).First("org"),
              ElementsAre("C", "B"));
}

TEST_F(VCardReader, ADepartmentBecomesTheSecondComponentOfTheOrganisation) {
  EXPECT_THAT(ReadOnlyCard(Card().Line("N:x").Line("ORG:A").Line("DEPT:Sales").Text()).First("org"),
              ElementsAre("A", "Sales"));
  EXPECT_THAT(
      ReadOnlyCard(Card().Line("N:x").Line("ORG:A;B").Line("DEPT:Sales").Text()).First("org"),
      ElementsAre("A", "Sales"));
}

TEST_F(VCardReader, ADepartmentWithoutAnOrganisationMakesOne) {
  EXPECT_THAT(ReadOnlyCard(Card().Line("N:x").Line("DEPT:Sales").Text()).First("org"),
              ElementsAre("<null>", "Sales"));
}

TEST_F(VCardReader, AnOrganisationBehindTheDepartmentKeepsItUnlessItHasTwoComponents) {
  EXPECT_THAT(ReadOnlyCard(Card().Line("N:x").Line("DEPT:Sales").Line("ORG:A").Text()).First("org"),
              ElementsAre("A", "Sales"));
  EXPECT_THAT(
      ReadOnlyCard(Card().Line("N:x").Line("DEPT:Sales").Line("ORG:A;B").Text()).First("org"),
      ElementsAre("A", "B"));
}

TEST_F(VCardReader, ADepartmentsWholeValueCountsAndItsParametersDoNot) {
  ReadCard card =
      ReadOnlyCard(Card().Line("N:x").Line("DEPT;CHARSET=UTF-8;QUOTED-PRINTABLE:a;b=3D").Text());
  EXPECT_THAT(card.First("org"), ElementsAre("<null>", "a;b=3D"));
  EXPECT_THAT(card.fields.at("org").at(0).params, IsEmpty());
  EXPECT_EQ(card.fields.at("org").at(0).flags, 0u);
  EXPECT_EQ(card.fields.count("dept"), 0u);
}

TEST_F(VCardReader, TheAssistantsNumberArrivesAsATelephoneNumberMarkedAsTheAssistants) {
  ReadCard card = ReadOnlyCard(
      Card().Line("N:x").Line("TEL;HOME:1").Line("X-MICROSOFT-ASST_TEL;WORK;VOICE:2;3").Text());
  ASSERT_EQ(card.fields.at("tel").size(), 2u);
  EXPECT_THAT(card.fields.at("tel").at(1).components, ElementsAre("2"));
  EXPECT_THAT(card.fields.at("tel").at(1).params, ElementsAre("X-ASSISTANT"));
  EXPECT_EQ(card.fields.count("xMicrosoftAsstTel"), 0u);
}

// ---- Versions ----

class AcceptedVersion : public support::TextTest,
                        public testing::WithParamInterface<const char*> {};

TEST_P(AcceptedVersion, IsKeptAsItIs) {
  ReadCard card = ReadOnlyCard(Card("VERSION:" + std::string(GetParam())).Line("N:x").Text());
  EXPECT_EQ(card.version, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Texts, AcceptedVersion,
                         testing::Values("1.0", "2.1", "2.0", "2", "0.5", "-1", " 2.1", "2.10",
                                         "2.1 beta", "2.1;x"));

class RefusedVersion : public support::TextTest, public testing::WithParamInterface<const char*> {};

TEST_P(RefusedVersion, IsToldAndTheCardIsNotDelivered) {
  TraceReceiver trace;
  ReadOutcome outcome =
      ReadCards(Card().Line("N:x").Line("VERSION:" + std::string(GetParam())).Text());
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vCard version '" +
                                         std::string(GetParam()) + "' is not supported"));
}

INSTANTIATE_TEST_SUITE_P(Texts, RefusedVersion,
                         testing::Values("3.0", "2.2", "2.11", "4", "0", "0.0", "", "abc", "nan",
                                         "inf", "0x2", "99999999999999999999"));

TEST_F(VCardReader, AVersionOf30IsRejectedAndThoseOf10And21AreAccepted) {
  for (const char* version : {"1.0", "2.1"}) {
    ReadOutcome outcome = ReadCards(Card("VERSION:" + std::string(version)).Line("N:x").Text());
    EXPECT_EQ(outcome.result, kOk) << version;
    EXPECT_THAT(ResultsOf(outcome), ElementsAre(kOk)) << version;
  }
  TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("VERSION:3.0").Text());
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vCard version '3.0' is not supported"));
}

TEST_F(VCardReader, AVersionTextThatIsNoNumberIsRejected) {
  TraceReceiver trace;
  EXPECT_EQ(ReadCards(Card().Line("N:x").Line("VERSION:two").Text()).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vCard version 'two' is not supported"));
}

TEST_F(VCardReader, NothingBehindARefusedVersionIsRead) {
  ReadOutcome outcome =
      ReadCards(Card("VERSION:3.0").Line("N:x").Text() + Card().Line("N:y").Text());
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
}

TEST_F(VCardReader, ARefusedVersionBeforeTheNameIsToldWithTheMissingName) {
  TraceReceiver trace;
  ReadCards(Card("VERSION:3.0").Line("N:x").Text());
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Error - vCard version '3.0' is not supported",
                          "OSIF:  Error - vCard missing END tago or does not contain required "
                          "VERSION or N properties"));
}

TEST_F(VCardReader, ACardWithoutVersionIsDeliveredAs21WithTheResultUnchanged) {
  TraceReceiver trace;
  ReadCard card = ReadOnlyCard(Card("").Line("N:x").Text());
  EXPECT_EQ(card.version, "2.1");
  EXPECT_EQ(card.result, kOk);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  WARNING - vCard missing VERSION property.  Assuming '2.1'."));
}

TEST_F(VCardReader, AVersionIsCutToItsField) {
  for (size_t zeros : {20u, 21u, 22u, 1000u}) {
    ReadCard card = ReadOnlyCard(Card("VERSION:2.1" + std::string(zeros, '0')).Line("N:x").Text());
    EXPECT_EQ(card.version, "2.1" + std::string(std::min<size_t>(zeros, 21), '0'));
  }
}

// ---- Warnings ----

TEST_F(VCardReader, AnUnknownPropertyIsAWarningAndTheCardIsDelivered) {
  TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("X-FOO;BAR:1").Line("FN:y").Text());
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kWarning));
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("y"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encountered unknown property: 'X-FOO'"));
}

TEST_F(VCardReader, ALineWithoutADelimiterIsAnUnknownProperty) {
  TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("just text").Text());
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encountered unknown property: 'justtext'"));
}

TEST_F(VCardReader, ABlankLineIsAWarningAndTheCardIsDelivered) {
  TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("").Line("FN:y").Text());
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kWarning));
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("y"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encounted a blank line in vCard"));
}

// ---- Errors ----

constexpr char kMissing[] =
    "OSIF:  Error - vCard missing END tago or does not contain required VERSION or N properties";

TEST_F(VCardReader, ACardWithoutANameIsAnError) {
  TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Card().Line("FN:x").Text() + Card().Line("N:y").Text());
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kMissing));
}

TEST_F(VCardReader, ACardWithoutAnEndIsAnError) {
  for (const char* end : {"\r\n", ""}) {
    TraceReceiver trace;
    ReadOutcome outcome = ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x" + std::string(end));
    EXPECT_EQ(outcome.result, kError);
    EXPECT_THAT(outcome.cards, IsEmpty());
    EXPECT_THAT(trace.Lines(), ElementsAre(kMissing));
  }
}

TEST_F(VCardReader, ABeginLineAloneIsAnError) {
  EXPECT_EQ(ReadCards("BEGIN:VCARD\r\n").result, kError);
  EXPECT_EQ(ReadCards("BEGIN").result, kError);
}

TEST_F(VCardReader, AFileWithoutABeginLineIsToldAndAnError) {
  TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Lines({"VERSION:2.1", "N:x", "END:VCARD"}));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vCard does not have a BEGIN tag"));
}

TEST_F(VCardReader, AnEmptyFileIsAnError) { EXPECT_EQ(ReadCards("").result, kError); }

TEST_F(VCardReader, AStreamAtItsEndIsAnErrorWithoutAWordInTheTrace) {
  OsifStream stream = OpenBytes("x");
  uint32_t character = 0;
  while (FILE_Eof(stream) == 0) FILE_GetChar(&character, stream);
  TraceReceiver trace;
  EXPECT_EQ(VCard_ReadFile(stream, nullptr, nullptr), kError);
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

// ---- Nested objects ----

TEST_F(VCardReader, OfANestedObjectOnlyTheOuterPropertiesAreKept) {
  ReadCard card = ReadOnlyCard(Card()
                                   .Line("N:Outer")
                                   .Line("BEGIN:VCARD")
                                   .Line("VERSION:3.0")
                                   .Line("X-IRMC-LUID:9")
                                   .Line("N:Inner")
                                   .Line("TEL:1")
                                   .Line("ORG:A")
                                   .Line("DEPT:B")
                                   .Line("X-MICROSOFT-ASST_TEL:2")
                                   .Line("END:VCARD")
                                   .Line("FN:Outer")
                                   .Text());
  EXPECT_EQ(card.fields.size(), 2u);
  EXPECT_THAT(card.First("n"), ElementsAre("Outer"));
  EXPECT_THAT(card.First("fn"), ElementsAre("Outer"));
  EXPECT_EQ(card.luid, "");
  EXPECT_EQ(card.version, "2.1");
}

TEST_F(VCardReader, AnUnknownPropertyOfANestedObjectIsAWarning) {
  ReadOutcome outcome =
      ReadCards(Card().Line("N:x").Line("BEGIN:X").Line("X-FOO:1").Line("END:X").Text());
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kWarning));
}

TEST_F(VCardReader, TheNameOfANestedObjectCountsAsSeen) {
  ReadCard card = ReadOnlyCard(Card().Line("BEGIN:VCARD").Line("N:Inner").Line("END:VCARD").Text());
  EXPECT_EQ(card.fields.size(), 0u);
}

TEST_F(VCardReader, TheVersionOfANestedObjectDoesNotCount) {
  TraceReceiver trace;
  ReadOnlyCard(
      Card("").Line("N:x").Line("BEGIN:VCARD").Line("VERSION:2.1").Line("END:VCARD").Text());
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  WARNING - vCard missing VERSION property.  Assuming '2.1'."));
}

TEST_F(VCardReader, ANestedObjectThatIsNotEndedTakesTheEndOfTheCard) {
  EXPECT_EQ(ReadCards(Card().Line("N:x").Line("BEGIN:VCARD").Text()).result, kError);
}

// ---- Several cards ----

TEST_F(VCardReader, EveryCardOfAFileIsDelivered) {
  ReadOutcome outcome = ReadCards(Card().Line("N:one").Line("TEL:1").Text() +
                                  Card().Line("N:two").Text() + Card().Line("N:three").Text());
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(ResultsOf(outcome), ElementsAre(kOk, kOk, kOk));
  EXPECT_THAT(outcome.cards.at(0).First("n"), ElementsAre("one"));
  EXPECT_THAT(outcome.cards.at(1).First("n"), ElementsAre("two"));
  EXPECT_EQ(outcome.cards.at(1).fields.size(), 1u) << "something of the first card is left";
  EXPECT_THAT(outcome.cards.at(2).First("n"), ElementsAre("three"));
  for (const ReadCard& card : outcome.cards) EXPECT_EQ(card.store, 0);
}

TEST_F(VCardReader, ARecordIsClearedBeforeTheNextCard) {
  ReadOutcome outcome = ReadCards(Card("VERSION:1.0").Line("N:one").Line("X-IRMC-LUID:1").Text() +
                                  Card("").Line("N:two").Text());
  ASSERT_EQ(outcome.cards.size(), 2u);
  EXPECT_EQ(outcome.cards.at(1).luid, "");
  EXPECT_EQ(outcome.cards.at(1).version, "2.1");
}

TEST_F(VCardReader, AWarningStaysForTheRestOfTheFile) {
  std::string good = Card().Line("N:x").Text();
  std::string odd = Card().Line("N:x").Line("X-FOO:1").Text();
  EXPECT_THAT(ResultsOf(ReadCards(odd + good)), ElementsAre(kWarning, kWarning));
  EXPECT_THAT(ResultsOf(ReadCards(good + odd + good)), ElementsAre(kOk, kWarning, kWarning));
  EXPECT_EQ(ReadCards(good + odd).result, kWarning);
}

TEST_F(VCardReader, OfTwoCardsTheFirstWithAnUnknownPropertyBothCallbacksGetAWarning) {
  ReadOutcome outcome =
      ReadCards(Card().Line("N:one").Line("X-FOO:1").Text() + Card().Line("N:two").Text());
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kWarning, kWarning));
}

TEST_F(VCardReader, ARefusedCardEndsTheReading) {
  ReadOutcome outcome = ReadCards(Card().Line("N:one").Text() + Card("VERSION:3.0").Text() +
                                  Card().Line("N:three").Text());
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kOk));
}

TEST_F(VCardReader, AnyOtherLineBetweenCardsEndsTheReading) {
  std::string one = Card().Line("N:one").Text();
  for (const char* between : {"\r\n", "garbage\r\n", "END:VCARD\r\n", "N:x\r\n"}) {
    ReadOutcome outcome = ReadCards(one + between + Card().Line("N:two").Text());
    EXPECT_EQ(outcome.result, kOk) << between;
    EXPECT_EQ(outcome.cards.size(), 1u) << between;
  }
}

TEST_F(VCardReader, TheWordBehindBeginIsNotLookedAt) {
  EXPECT_THAT(
      ReadOnlyCard(Lines({"begin : anything", "VERSION:2.1", "N:x", "End: whatever"})).First("n"),
      ElementsAre("x"));
}

TEST_F(VCardReader, NoCallbackIsNeeded) {
  OsifStream stream = OpenBytes(Card().Line("N:x").Text() + Card().Line("N:y").Text());
  EXPECT_EQ(VCard_ReadFile(stream, nullptr, nullptr), kOk);
}

// ---- One card ----

TEST_F(VCardReader, ReadOneReadsTheLinesBehindBegin) {
  OsifStream stream = OpenBytes(Lines({"VERSION:2.1", "N:x", "END:VCARD", "left"}));
  OwnedObject object(OSIF_STORE_PB);
  EXPECT_EQ(VCard_ReadOne(stream, *object), kOk);
  EXPECT_STREQ(object->version, "2.1");
  EXPECT_EQ(ComponentText(object->contact.n, 0), "x");
  char rest[kLineRoom];
  EXPECT_EQ(FILE_ReadLine(rest, stream), 0);
  EXPECT_STREQ(rest, "left");
}

// ---- Memory shortage ----

TEST_F(VCardReader, MemoryShortageAtAnyPointIsReportedOrLeavesAnOrderlyRecord) {
  std::string bytes =
      Card().Line("N:Lee;Ann").Line("TEL;HOME:1").Line("ORG:A;B").Line("DEPT:C").Text();
  TraceReceiver trace;
  for (int nth = 1; nth <= 60; ++nth) {
    FailAllocation(nth);
    ReadOutcome outcome = ReadCards(bytes);
    FailAllocation(0);
    EXPECT_TRUE(outcome.result == kOk || outcome.result == kWarning || outcome.result == kError ||
                outcome.result == OSIF_ERR_NO_MEMORY)
        << outcome.result;
    EXPECT_LE(outcome.cards.size(), 1u);
  }
  EXPECT_THAT(trace.Lines(), Each(testing::AnyOf(StartsWith("OSIF:  "), StartsWith("ASSERT at "))));
}

// What a file gives when the nth allocation fails: the buffers of the name and of the parameters
// come first, then each folded line; one that is not folded needs none.
struct Shortage {
  ReadOutcome outcome;
  std::vector<std::string> trace;
};

Shortage ReadWithShortage(int nth, const std::string& bytes) {
  TraceReceiver trace;
  FailAllocation(nth);
  ReadOutcome outcome = ReadCards(bytes);
  FailAllocation(0);
  return {std::move(outcome), trace.Lines()};
}

constexpr int kFileBuffers = 2;
constexpr int kCardBuffers = 2;

TEST_F(VCardReader, NoMemoryForTheBuffersOfAFileOrOfACardIsAnAssertionAndToldAndReturned) {
  for (int nth : {1, 2, kFileBuffers + 1, kFileBuffers + 2}) {
    Shortage shortage = ReadWithShortage(nth, Card().Line("N:x").Text());
    EXPECT_EQ(shortage.outcome.result, OsifResult{OSIF_ERR_NO_MEMORY}) << nth;
    EXPECT_THAT(shortage.outcome.cards, IsEmpty()) << nth;
    EXPECT_THAT(shortage.trace,
                ElementsAre(StartsWith("ASSERT at "), "OSIF:  Error - Memory allocation error"))
        << nth;
  }
}

TEST_F(VCardReader, NoMemoryForALineBetweenCardsIsAnError) {
  Shortage shortage =
      ReadWithShortage(kFileBuffers + 1, "BEGIN:V\r\n CARD\r\nVERSION:2.1\r\nN:x\r\nEND:VCARD\r\n");
  EXPECT_EQ(shortage.outcome.result, kError);
  EXPECT_THAT(shortage.outcome.cards, IsEmpty());
  EXPECT_THAT(shortage.trace,
              ElementsAre("OSIF:  Memory allocation of 17 bytes failed in 'FileLine'"));
}

TEST_F(VCardReader, NoMemoryForALineOfACardIsAWarningAndTheCardIsDeliveredWithoutIt) {
  Shortage shortage = ReadWithShortage(kFileBuffers + kCardBuffers + 1,
                                       Card("FN:y\r\n z").Line("VERSION:2.1").Line("N:x").Text());
  EXPECT_EQ(shortage.outcome.result, kWarning);
  EXPECT_THAT(ResultsOf(shortage.outcome), ElementsAre(kWarning));
  EXPECT_EQ(shortage.outcome.cards.at(0).fields.count("fn"), 0u);
  EXPECT_THAT(shortage.outcome.cards.at(0).First("n"), ElementsAre("x"));
  EXPECT_THAT(shortage.trace,
              ElementsAre("OSIF:  Memory allocation of 11 bytes failed in 'FileLine'"));
}

}  // namespace
}  // namespace vcard_reader_test
