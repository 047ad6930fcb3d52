// Messages: properties, the body's stream, recipients, and when they are stored.
#include "tests/platform/device/mail/fixture.h"

namespace message_test {
namespace {

using namespace mapi_test;
using testing::ElementsAre;

using MapiMessage = MapiTest;

TEST_F(MapiMessage, KeepsWhatWasPutIntoIt) {
  std::string id;
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    EXPECT_EQ(Set(*message, Text(PR_SUBJECT, u"Lunch")), S_OK);
    EXPECT_EQ(Set(*message, Time(PR_MESSAGE_DELIVERY_TIME, 0x89ABCDEF, 0x01C01234)), S_OK);
    EXPECT_EQ(WriteBody(*message, {"H\0i\0\0\0", 6}), S_OK);
    EXPECT_EQ(Set(*message, Number(PR_MESSAGE_FLAGS, 0x21)), S_OK);
    EXPECT_EQ(Set(*message, Text(PR_SENDER_EMAIL_ADDRESS, u"ann@example.org")), S_OK);
    EXPECT_EQ(AddRecipients(*message, {{MAPI_TO, u"bob@example.org"}}), S_OK);
    id = EntryId(*message);
  }
  Restart();
  const ComPtr<IMessage> message = Open(inbox(), id);
  const Props values = Get(
      *message, {PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME, PR_MESSAGE_FLAGS, PR_SENDER_EMAIL_ADDRESS});
  EXPECT_EQ(std::u16string(values[0].Value.lpszW), u"Lunch");
  EXPECT_EQ(values[1].ulPropTag, PR_MESSAGE_DELIVERY_TIME);
  EXPECT_EQ(values[1].Value.ft.dwLowDateTime, 0x89ABCDEFu);
  EXPECT_EQ(values[1].Value.ft.dwHighDateTime, 0x01C01234u);
  EXPECT_EQ(values[2].Value.l, 0x21);
  EXPECT_EQ(std::u16string(values[3].Value.lpszW), u"ann@example.org");
  EXPECT_EQ(ReadBody(*message), std::string("H\0i\0\0\0", 6));
  EXPECT_THAT(Addresses(*message), ElementsAre(u"bob@example.org"));
}

TEST_F(MapiMessage, CreatesPropertiesOfTagsThatItDoesNotKnow) {
  constexpr ULONG kText = PROP_TAG(PT_UNICODE, 0x8001);
  constexpr ULONG kBytes = PROP_TAG(PT_BINARY, 0x8002);
  constexpr ULONG kFlag = PROP_TAG(PT_BOOLEAN, 0x8003);
  constexpr ULONG kShort = PROP_TAG(PT_I2, 0x8004);
  constexpr ULONG kLarge = PROP_TAG(PT_I8, 0x8005);
  BYTE bytes[] = {1, 0, 255};
  SPropValue given[5] = {Text(kText, u"x")};
  given[1].ulPropTag = kBytes;
  given[1].Value.bin = {3, bytes};
  given[2].ulPropTag = kFlag;
  given[2].Value.b = 1;
  given[3].ulPropTag = kShort;
  given[3].Value.i = -2;
  given[4].ulPropTag = kLarge;
  given[4].Value.li = INT64_MIN;
  std::string id;
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    EXPECT_EQ(message->SetProps(5, given, nullptr), S_OK);
    id = EntryId(*message);
  }
  const Props values = Get(*Open(inbox(), id), {kLarge, kShort, kFlag, kBytes, kText});
  EXPECT_EQ(values[0].Value.li, INT64_MIN);
  EXPECT_EQ(values[1].Value.i, -2);
  EXPECT_EQ(values[2].Value.b, 1);
  EXPECT_EQ(Bytes(values[3].Value.bin), std::string("\1\0\377", 3));
  EXPECT_EQ(std::u16string(values[4].Value.lpszW), u"x");
}

TEST_F(MapiMessage, KeepsUnpairedSurrogates) {
  const std::string id = Store(u"a\xD800z");
  EXPECT_EQ(Subject(*Open(inbox(), id)), u"a\xD800z");
}

TEST_F(MapiMessage, GivesTheValueOfAnUnspecifiedTypeWithItsType) {
  const std::string id = Store(u"Lunch");
  const ULONG unspecified = CHANGE_PROP_TYPE(PR_SUBJECT, PT_UNSPECIFIED);
  EXPECT_EQ(Get(*Open(inbox(), id), {unspecified})[0].ulPropTag, PR_SUBJECT);
}

TEST_F(MapiMessage, DoesNotGiveAPropertyAsAnotherType) {
  const std::string id = Store(u"Lunch");
  const ULONG binary = CHANGE_PROP_TYPE(PR_SUBJECT, PT_BINARY);
  const Props values = Get(*Open(inbox(), id), {binary}, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(values[0].ulPropTag, CHANGE_PROP_TYPE(PR_SUBJECT, PT_ERROR));
  EXPECT_EQ(values[0].Value.err, MAPI_E_UNEXPECTED_TYPE);
}

TEST_F(MapiMessage, ReportsWhatItDoesNotTakeAsProblemsAndTakesTheRest) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  SPropValue values[] = {Text(PR_ENTRYID, u"x"),
                         Text(PR_SUBJECT, u"Lunch"),
                         Number(CHANGE_PROP_TYPE(PR_SENDER_EMAIL_ADDRESS, PT_LONG), 1),
                         Number(CHANGE_PROP_TYPE(PR_SUBJECT, PT_STRING8), 0),
                         Number(PROP_TAG(PT_STRING8, 0x8001), 0),
                         Text(PR_BODY, u"x")};
  LPSPropProblemArray problems = nullptr;
  ASSERT_EQ(message->SetProps(6, values, &problems), S_OK);
  ASSERT_NE(problems, nullptr);
  ASSERT_EQ(problems->cProblem, 5u);
  const SPropProblem* problem = problems->aProblem;
  EXPECT_EQ(problem[0].ulIndex, 0u);
  EXPECT_EQ(problem[0].ulPropTag, values[0].ulPropTag);
  EXPECT_EQ(problem[0].scode, MAPI_E_COMPUTED);
  EXPECT_EQ(problem[1].ulIndex, 2u);
  EXPECT_EQ(problem[1].scode, MAPI_E_UNEXPECTED_TYPE);
  EXPECT_EQ(problem[2].scode, MAPI_E_UNEXPECTED_TYPE);
  EXPECT_EQ(problem[3].scode, MAPI_E_INVALID_TYPE);
  EXPECT_EQ(problem[4].scode, MAPI_E_NO_SUPPORT);
  MAPIFreeBuffer(problems);
  EXPECT_EQ(Subject(*message), u"Lunch");
}

TEST_F(MapiMessage, WithoutAPlaceForProblemsTheFirstIsTheResultAndNothingIsSet) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  SPropValue values[] = {Text(PR_SUBJECT, u"Lunch"), Text(PR_SENDER_NAME, nullptr)};
  EXPECT_EQ(message->SetProps(2, values, nullptr), MAPI_E_INVALID_PARAMETER);
  Get(*message, {PR_SUBJECT}, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(message->SetProps(0, values, nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST_F(MapiMessage, KnowsItsFolderAndWhatItIs) {
  const ComPtr<IMessage> message = NewMessage(outbox());
  const Props values = Get(*message, {PR_PARENT_ENTRYID, PR_OBJECT_TYPE});
  EXPECT_EQ(Bytes(values[0].Value.bin), EntryId(outbox()));
  EXPECT_EQ(values[1].Value.l, 5);
}

TEST_F(MapiMessage, OpensFromAnyFolder) {
  const std::string id = Store(u"Lunch");
  EXPECT_EQ(Subject(*Open(outbox(), id)), u"Lunch");
}

// ---- When a message is stored ----------------------------------------------------------------

TEST_F(MapiMessage, IsNotThereBeforeItsLastRelease) {
  ComPtr<IMessage> message = NewMessage(inbox());
  Set(*message, Text(PR_SUBJECT, u"Lunch"));
  const std::string id = EntryId(*message);
  EXPECT_THAT(Subjects(inbox()), ElementsAre());
  ComPtr<IMessage> none;
  EXPECT_EQ(Open(inbox(), id, &none), MAPI_E_NOT_FOUND);
  message.reset();
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"Lunch"));
  EXPECT_EQ(Subject(*Open(inbox(), id)), u"Lunch");
}

TEST_F(MapiMessage, IsThereAfterSaveChangesAndTakesLaterChangesAtItsRelease) {
  ComPtr<IMessage> message = NewMessage(inbox());
  Set(*message, Text(PR_SUBJECT, u"Lunch"));
  EXPECT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"Lunch"));
  Set(*message, Text(PR_SUBJECT, u"Dinner"));
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"Lunch"));
  message.reset();
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"Dinner"));
}

TEST_F(MapiMessage, WaitsForItsStream) {
  ComPtr<IMessage> message = NewMessage(inbox());
  const std::string id = EntryId(*message);
  ComPtr<IStream> stream;
  ASSERT_EQ(OpenBody(*message, MAPI_CREATE | MAPI_MODIFY, &stream), S_OK);
  message.reset();
  EXPECT_THAT(Subjects(inbox()), ElementsAre());
  EXPECT_EQ(stream->Write("a\0", 2, nullptr), S_OK);
  stream.reset();
  EXPECT_EQ(ReadBody(*Open(inbox(), id)), std::string("a\0", 2));
}

TEST_F(MapiMessage, AModificationIsStoredAtTheReleaseAndLeavesTheRest) {
  const std::string id = Store(u"Lunch");
  ComPtr<IMessage> message = Open(inbox(), id);
  Set(*message, Number(PR_MESSAGE_FLAGS, MSGFLAG_FROMME));
  Get(*Open(inbox(), id), {PR_MESSAGE_FLAGS}, MAPI_W_ERRORS_RETURNED);
  message.reset();
  const Props values = Get(*Open(inbox(), id), {PR_SUBJECT, PR_MESSAGE_FLAGS});
  EXPECT_EQ(std::u16string(values[0].Value.lpszW), u"Lunch");
  EXPECT_EQ(values[1].Value.l, 0x20);
}

TEST_F(MapiMessage, TwoProgramsMayChangeDifferentPropertiesOfOneMessage) {
  const std::string id = Store(u"Lunch");
  ComPtr<IMessage> first = Open(inbox(), id);
  ComPtr<IMessage> second = Open(inbox(), id);
  Set(*first, Text(PR_SENDER_NAME, u"Ann"));
  Set(*second, Text(PR_MESSAGE_CLASS, u"IPM.Note"));
  first.reset();
  second.reset();
  const Props values = Get(*Open(inbox(), id), {PR_SENDER_NAME, PR_MESSAGE_CLASS});
  EXPECT_EQ(std::u16string(values[0].Value.lpszW), u"Ann");
  EXPECT_EQ(std::u16string(values[1].Value.lpszW), u"IPM.Note");
}

TEST_F(MapiMessage, EntryIdsAreNeverGivenTwice) {
  const std::string first = Store(u"one");
  ASSERT_EQ(device::OpenDatabase()->Execute("DELETE FROM mapi_messages"), SQLITE_OK);
  Restart();
  EXPECT_NE(Store(u"two"), first);
}

// ---- The body --------------------------------------------------------------------------------

TEST_F(MapiMessage, HasNoBodyUntilOneIsWritten) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ComPtr<IStream> stream;
  EXPECT_EQ(OpenBody(*message, 0, &stream), MAPI_E_NOT_FOUND);
  EXPECT_FALSE(stream);
  EXPECT_EQ(WriteBody(*message, "", MAPI_CREATE), S_OK);
  EXPECT_EQ(ReadBody(*message), "");
}

TEST_F(MapiMessage, HasAnEmptyBodyWhenOneIsCreatedAndNotWritten) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ASSERT_EQ(WriteBody(*message, "old"), S_OK);
  ComPtr<IStream> stream;
  ASSERT_EQ(OpenBody(*message, MAPI_CREATE, &stream), S_OK);
  stream.reset();
  EXPECT_EQ(ReadBody(*message), "");
}

TEST_F(MapiMessage, CollectsABodyOfManyWrites) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ComPtr<IStream> stream;
  ASSERT_EQ(OpenBody(*message, MAPI_CREATE | MAPI_MODIFY, &stream), S_OK);
  ULONG written = 0;
  EXPECT_EQ(stream->Write("ab", 2, &written), S_OK);
  EXPECT_EQ(written, 2u);
  EXPECT_EQ(stream->Write("cde", 3, &written), S_OK);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(ReadBody(*message), std::nullopt);
  EXPECT_EQ(stream->Commit(0), S_OK);
  EXPECT_EQ(ReadBody(*message), "abcde");
}

TEST_F(MapiMessage, ReadsABodyInPiecesUpToItsEnd) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ASSERT_EQ(WriteBody(*message, "abcde"), S_OK);
  ComPtr<IStream> stream;
  ASSERT_EQ(OpenBody(*message, 0, &stream), S_OK);
  char piece[4] = {};
  ULONG read = 0;
  EXPECT_EQ(stream->Read(piece, 3, &read), S_OK);
  EXPECT_EQ(std::string(piece, read), "abc");
  EXPECT_EQ(stream->Read(piece, 3, &read), S_OK);
  EXPECT_EQ(std::string(piece, read), "de");
  EXPECT_EQ(stream->Read(piece, 3, &read), S_OK);
  EXPECT_EQ(read, 0u);
}

TEST_F(MapiMessage, AStreamThatOnlyReadsCannotBeWritten) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ASSERT_EQ(WriteBody(*message, "abc"), S_OK);
  EXPECT_EQ(WriteBody(*message, "x", 0), static_cast<HRESULT>(0x80030005));
  EXPECT_EQ(ReadBody(*message), "abc");
}

TEST_F(MapiMessage, ACreatedBodyReplacesTheOldOneAndAModifiedOneOverwritesIt) {
  std::string id;
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    ASSERT_EQ(WriteBody(*message, "abcdef"), S_OK);
    id = EntryId(*message);
  }
  ASSERT_EQ(WriteBody(*Open(inbox(), id), "XY", MAPI_MODIFY), S_OK);
  EXPECT_EQ(ReadBody(*Open(inbox(), id)), "XYcdef");
  ASSERT_EQ(WriteBody(*Open(inbox(), id), "Z", MAPI_CREATE | MAPI_MODIFY), S_OK);
  EXPECT_EQ(ReadBody(*Open(inbox(), id)), "Z");
}

TEST_F(MapiMessage, KeepsABodyOfTenMegabytes) {
  std::string body(10 << 20, 'b');
  body.back() = 'e';
  std::string id;
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    ASSERT_EQ(WriteBody(*message, body), S_OK);
    id = EntryId(*message);
  }
  Restart();
  EXPECT_TRUE(ReadBody(*Open(inbox(), id)) == body);
}

TEST_F(MapiMessage, OpensNoOtherPropertyAsAStream) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  IUnknown* object = nullptr;
  EXPECT_EQ(message->OpenProperty(PR_SUBJECT, nullptr, 0, 0, &object), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(
      message->OpenProperty(CHANGE_PROP_TYPE(PR_BODY, PT_UNSPECIFIED), nullptr, 0, 0, &object),
      MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(object, nullptr);
}

// ---- Recipients ------------------------------------------------------------------------------

TEST_F(MapiMessage, AddsRecipientsToThoseThatItHas) {
  std::string id;
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    ASSERT_EQ(AddRecipients(*message, {{MAPI_TO, u"a"}, {MAPI_CC, u"b"}}), S_OK);
    id = EntryId(*message);
  }
  {
    const ComPtr<IMessage> message = Open(inbox(), id);
    ASSERT_EQ(AddRecipients(*message, {{MAPI_TO, u"a"}}), S_OK);
    EXPECT_THAT(Addresses(*message), ElementsAre(u"a", u"b", u"a"));
  }
  EXPECT_THAT(Addresses(*Open(inbox(), id)), ElementsAre(u"a", u"b", u"a"));
}

TEST_F(MapiMessage, GivesRecipientsWithTypeAndKindOfAddress) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ASSERT_EQ(AddRecipients(*message, {{MAPI_CC, u"bob@example.org"}}), S_OK);
  ComPtr<IMAPITable> table;
  ASSERT_EQ(message->GetRecipientTable(0, table.put()), S_OK);
  const Rows rows = Query(*table, 10);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_EQ(Cell(rows, 0, 0).ulPropTag, PR_RECIPIENT_TYPE);
  EXPECT_EQ(Cell(rows, 0, 0).Value.l, 2);
  EXPECT_EQ(Cell(rows, 0, 1).ulPropTag, PR_ADDRTYPE);
  EXPECT_EQ(std::u16string(Cell(rows, 0, 1).Value.lpszW), u"SMTP");
  EXPECT_EQ(Cell(rows, 0, 2).ulPropTag, PR_EMAIL_ADDRESS);
  SPropTagArray columns = {1, {PR_ADDRTYPE}};
  EXPECT_EQ(table->SetColumns(&columns, 0), MAPI_E_NO_SUPPORT);
}

TEST_F(MapiMessage, HasNoRecipientTableWithoutRecipients) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ComPtr<IMAPITable> table;
  EXPECT_EQ(message->GetRecipientTable(0, table.put()), MAPI_E_NO_RECIPIENTS);
  EXPECT_FALSE(table);
}

TEST_F(MapiMessage, ARecipientWithoutPropertiesIsNobody) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  ADRLIST list = {1, {{0, 0, nullptr}}};
  EXPECT_EQ(message->ModifyRecipients(MODRECIP_ADD, &list), S_OK);
  EXPECT_THAT(Addresses(*message), ElementsAre());
}

TEST_F(MapiMessage, TakesAListOfRecipientsWholeOrNotAtAll) {
  const ComPtr<IMessage> message = NewMessage(inbox());
  EXPECT_EQ(AddRecipients(*message, {{MAPI_TO, u"a"}, {MAPI_TO, nullptr}}),
            MAPI_E_INVALID_PARAMETER);
  EXPECT_THAT(Addresses(*message), ElementsAre());
  EXPECT_EQ(message->ModifyRecipients(MODRECIP_ADD, nullptr), MAPI_E_INVALID_PARAMETER);
  ADRLIST list = {0, {}};
  EXPECT_EQ(message->ModifyRecipients(8, &list), MAPI_E_UNKNOWN_FLAGS);  // to remove
}

}  // namespace
}  // namespace message_test
