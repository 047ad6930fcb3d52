// Messages as telephones and programs really write them: what is stored of each, and what is sent of it
// again. The files lie in the folder that OSIF_CORPUS names; without it these tests are skipped.
//
// Most makers put their message's text among its headers, under names of their own, or leave the envelope
// out. What the library refuses for that is given an envelope here, as the tests say, so that one sees what
// would become of it.
#include <cstring>

#include "BtOsif_pol/pol_dispatch.h"
#include "btosif/osif_generators/vmessage_writer.h"
#include "btosif/osif_parsers/vmessage_reader.h"
#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/object_record.h"
#include "mapi/mapi_session.h"
#include "tests/platform/device/mail/fixture.h"
#include "tests/support/corpus.h"
#include "tests/support/dates.h"
#include "tests/support/files.h"
#include "tests/support/messages.h"
#include "tests/support/settings.h"
#include "tests/support/trace_receiver.h"

namespace corpus_messages_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

// Adjusts unsigned result codes to the names' own type.
int Code(OsifResult result) { return static_cast<int>(result); }

// What the messaging store holds of a message. A property that it has not is none.
struct Stored {
  std::optional<std::u16string> subject;
  std::optional<int64_t> delivered;  // seconds since 1970, UTC
  std::optional<std::u16string> sender;
  LONG flags = -1;
  std::optional<std::u16string> body;
  std::vector<std::u16string> recipients;  // "1 SMTP address"; 1 is To, 2 is Cc
};

// A message that was received: where, what is stored of it, and what is sent of it.
struct Received {
  int32_t store = -1;
  OsifResult result = OSIF_OK;
  std::string id;
  Stored stored;
  std::string sent;
};

// The four properties of a message that the library reads and writes.
constexpr ULONG kTags[] = {4, PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME, PR_SENDER_EMAIL_ADDRESS,
                           PR_MESSAGE_FLAGS};

std::optional<std::u16string> TextOf(const SPropValue& value) {
  if (PROP_TYPE(value.ulPropTag) == PT_ERROR) return std::nullopt;
  return value.Value.lpszW;
}

std::u16string DigitsOf(LONG number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

std::vector<std::u16string> RecipientsOf(IMessage& mail) {
  std::vector<std::u16string> recipients;
  ComPtr<IMAPITable> table;
  if (mail.GetRecipientTable(0, table.put()) != S_OK) return recipients;
  const mapi_test::Rows rows = mapi_test::Query(*table, 100);
  for (ULONG i = 0; i < rows->cRows; ++i) {
    recipients.push_back(DigitsOf(mapi_test::Cell(rows, i, 0).Value.l) + u" " +
                         mapi_test::Cell(rows, i, 1).Value.lpszW + u" " +
                         mapi_test::Cell(rows, i, 2).Value.lpszW);
  }
  return recipients;
}

Stored StoredOf(IMessage& mail) {
  std::vector<ULONG> tags(std::begin(kTags), std::end(kTags));
  ULONG count = 0;
  LPSPropValue values = nullptr;
  mail.GetProps(reinterpret_cast<LPSPropTagArray>(tags.data()), MAPI_UNICODE, &count, &values);
  const mapi_test::Props properties(values);
  Stored stored;
  EXPECT_EQ(count, 4u);
  if (count != 4) return stored;
  stored.subject = TextOf(properties[0]);
  if (PROP_TYPE(properties[1].ulPropTag) != PT_ERROR) {
    stored.delivered = support::Unix(properties[1].Value.ft);
  }
  stored.sender = TextOf(properties[2]);
  stored.flags = properties[3].Value.l;
  if (const std::optional<std::string> body = mapi_test::ReadBody(mail)) {
    stored.body.emplace(body->size() / sizeof(char16_t), u'?');
    std::memcpy(stored.body->data(), body->data(), body->size() / 2 * 2);
  }
  stored.recipients = RecipientsOf(mail);
  return stored;
}

std::string BytesOfHex(const std::string& id) {
  std::string bytes;
  for (size_t i = 0; i + 1 < id.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(id.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

// A stored message fetched and written, as the exported functions do it.
std::string SentText(int32_t store_id, const std::string& id) {
  OwnedObject object(store_id);
  EXPECT_EQ(Code(POL_GetObjectById(store_id, id.c_str(), object.get())), OSIF_OK);
  return support::BytesWritten([&](OsifStream& stream) { VMessage_Write(stream, *object, 1); });
}

int32_t StoreMessage(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  char id[OSIF_ID_SIZE] = "";
  EXPECT_EQ(Code(POL_AddObject(store_id, object, id, nullptr)), OSIF_OK);
  static_cast<std::vector<Received>*>(context)->push_back({store_id, result, id, {}, {}});
  return 0;
}

class CorpusMessagesStored : public testing::Test {
 protected:
  void SetUp() override {
    const std::string corpus = support::CorpusFolder();
    if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
    folder_ = corpus + "/vmessage/";
    UseCodePage(1252);
  }
  void TearDown() override {
    MAPI_DeInit();
    ForgetCharsetChoices();
  }

  static void UseCodePage(uint32_t code_page) {
    support::SetSystemCodePage(code_page);
    ForgetCharsetChoices();
  }

  // One that takes what it receives for its own character set, which the mails name "Shift_JIS".
  static void UseJapaneseDevice() {
    support::SetSetting(u"DefaultInputCharset", u"NATIVE");
    UseCodePage(932);
  }

  std::string Bytes(const std::string& name) const {
    const std::string bytes = support::BytesOf(folder_ + name);
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
  }

  // Stores the messages of a text, then looks at each as another program of the handheld does, and sends it.
  // All of them come into the Inbox: no maker names the folder as it should be named.
  std::vector<Received> Receive(const std::string& bytes) {
    std::vector<Received> messages;
    OsifStream stream = support::OpenBytes(bytes);
    VMessage_ReadFile(stream, StoreMessage, &messages);
    mapi_test::Program program;
    program.Open();
    EXPECT_TRUE(program.inbox);
    for (Received& message : messages) {
      EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
      const ComPtr<IMessage> mail = mapi_test::Open(*program.inbox, BytesOfHex(message.id));
      if (mail) message.stored = StoredOf(*mail);
      message.sent = SentText(message.store, message.id);
    }
    return messages;
  }

  Received Only(const std::string& bytes) {
    const std::vector<Received> messages = Receive(bytes);
    EXPECT_THAT(messages, SizeIs(1));
    return messages.size() == 1 ? messages[0] : Received();
  }

  // Nothing but a subject, where there is one, came into the store, and it is sent as it is.
  static void ExpectOnlyASubject(const Received& message, const std::string& subject) {
    std::optional<std::u16string> stored;
    if (!subject.empty()) stored = support::Wide(subject);
    EXPECT_EQ(message.stored.subject, stored);
    EXPECT_EQ(message.stored.delivered, std::nullopt);
    EXPECT_EQ(message.stored.sender, std::nullopt);
    EXPECT_EQ(message.stored.flags, 0x20);  // of this device's own, unread
    EXPECT_EQ(message.stored.body, std::nullopt);
    EXPECT_THAT(message.stored.recipients, IsEmpty());
    EXPECT_EQ(
        message.sent,
        Lines({"BEGIN:VMSG", "VERSION:1.1", "X-IRMC-STATUS:READ", "X-IRMC-TYPE:MSG",
               "X-IRMC-LUID:" + message.id, "X-BT-FOLDER:INBOX", "BEGIN:VENV", "BEGIN:VBODY",
               "From:", "To:", "Subject:" + subject, "", "END:VBODY", "END:VENV", "END:VMSG"}));
  }

  // The two mails of one telephone, on a device of its country.
  static void ExpectMail(const Received& message, std::u16string_view subject,
                         std::u16string_view body, int64_t delivered) {
    EXPECT_EQ(Code(message.result), OSIF_PARSE_WARNING);  // X-IRMC-BOX, Bcc
    EXPECT_EQ(message.stored.subject, subject);
    EXPECT_EQ(message.stored.delivered, delivered);
    EXPECT_EQ(message.stored.sender, u"guy@co.jp");
    EXPECT_EQ(message.stored.flags, 0x21);  // read
    EXPECT_EQ(message.stored.body, std::u16string(body) + u'\0');
    // The Cc header is a blank.
    EXPECT_THAT(message.stored.recipients, ElementsAre(u"1 SMTP girl@co.jp"));
  }

  static void ExpectSentMail(const Received& message, const std::string& date,
                             const std::string& subject, const std::string& body) {
    EXPECT_EQ(message.sent,
              Lines({"BEGIN:VMSG", "VERSION:1.1", "X-IRMC-STATUS:READ", "X-IRMC-TYPE:MSG",
                     "X-IRMC-LUID:" + message.id, "X-BT-FOLDER:INBOX", "BEGIN:VENV", "BEGIN:VBODY",
                     "Date:" + date, "From:guy@co.jp", "To:girl@co.jp", "Subject:" + subject,
                     "Content-Type:text/plain; charset=UTF-8",
                     "Content-Transfer-Encoding:quoted-printable", ""}) +
                  body + Lines({"END:VBODY", "END:VENV", "END:VMSG"}));
  }

  std::string folder_;
  TempDevice device_;
  support::TraceReceiver trace_;
  support::TimeZone zone_{"America/New_York"};  // no time of a message is of this zone
};

// ---- Files that are read ----

// Subject and text are of the code page 932, in which a character may end in the byte of a backslash.
TEST_F(CorpusMessagesStored, OfAJapaneseTelephoneWithAMail) {
  UseJapaneseDevice();
  const Received message = Only(Bytes("vmg-output__E2__0000.vmg"));
  // 3 June 2011, 9:09:09 in Japan is nine minutes past midnight in UTC.
  ExpectMail(message, u"明日の予定", u"おはよう。\r\n明日は朝8時に駅集合で。\r\n\r\n", 1307059749);
  ExpectSentMail(message, "Fri, 03 Jun 2011 00:09:09 UT",
                 "\x96\xBE\x93\xFA\x82\xCC\x97\x5C\x92\xE8",
                 Lines({"=E3=81=8A=E3=81=AF=E3=82=88=E3=81=86=E3=80=82",
                        "=E6=98=8E=E6=97=A5=E3=81=AF=E6=9C=9D8=E6=99=82=E3=81=AB=E9=A7=85"
                        "=E9=9B=86=E5=90=88=E3=81=A7=E3=80=82",
                        ""}));
}

TEST_F(CorpusMessagesStored, OfAJapaneseTelephoneWithAnAnswer) {
  UseJapaneseDevice();
  const Received message = Only(Bytes("vmg-output__E2__0002.vmg"));
  ExpectMail(message, u"Re:Re:明日の予定", u"駅で何か買って現地で食べましょう。\r\n\r\n",
             1307060420);
  ExpectSentMail(message, "Fri, 03 Jun 2011 00:20:20 UT",
                 "Re:Re:\x96\xBE\x93\xFA\x82\xCC\x97\x5C\x92\xE8",
                 Lines({"=E9=A7=85=E3=81=A7=E4=BD=95=E3=81=8B=E8=B2=B7=E3=81=A3=E3=81=A6=E7=8F=BE"
                        "=E5=9C=B0=E3=81=A7=E9=A3=9F=E3=81=B9=E3=81=BE=E3=81=97=E3=82=87=E3=81=86"
                        "=E3=80=82",
                        ""}));
}

// The subject does not say its character set and is taken for the device's own.
TEST_F(CorpusMessagesStored, OfAJapaneseTelephoneOnADeviceOfAnotherCountryThatExpectsIt) {
  support::SetSetting(u"DefaultInputCharset", u"SJIS");
  ForgetCharsetChoices();
  const Received message = Only(Bytes("vmg-output__E2__0002.vmg"));
  ExpectMail(message, u"Re:Re:\u2013\u00BE\u201C\u00FA\u201A\u00CC\u2014\\\u2019\u00E8",
             u"駅で何か買って現地で食べましょう。\r\n\r\n", 1307060420);
}

// The name of the text's character set, written with a "_", is none that is known.
TEST_F(CorpusMessagesStored, OfAJapaneseTelephoneOnADeviceOfAnotherCountry) {
  const Received message = Only(Bytes("vmg-output__E2__0002.vmg"));
  ExpectMail(message, u"Re:Re:\u2013\u00BE\u201C\u00FA\u201A\u00CC\u2014\\\u2019\u00E8",
             u"\u2030w\u201A\u00C5\u2030\u00BD\u201A\u00A9\u201D\u0192\u201A"
             u"\u00C1\u201A\u00C4\u0152\u00BB\u2019n\u201A\u00C5\x90"
             u"H\u201A"
             u"\u00D7\u201A\u00DC\u201A\u00B5\u201A\u00E5\u201A\u00A4\x81"
             u"B\r\n\r\n",
             1307060420);
}

// "13/12/2003 12:12:26" is a date in none of the forms, the text stands among the headers, and the card
// clears the status before it.
TEST_F(CorpusMessagesStored, OfATelephoneWithAMessageOfSeveralLines) {
  const Received message = Only(Bytes("textmessageviewer__nokia-multiline.vmg"));
  EXPECT_EQ(Code(message.result), OSIF_PARSE_WARNING);
  ExpectOnlyASubject(message, "");
}

// Its date counts milliseconds.
TEST_F(CorpusMessagesStored, OfAConverter) {
  const Received message = Only(Bytes("vmg-converter__readme-sample.vmg"));
  EXPECT_EQ(Code(message.result), OSIF_PARSE_WARNING);
  ExpectOnlyASubject(message, "");
}

// ---- Files that are read once they have an envelope ----

TEST_F(CorpusMessagesStored, OfATestProgram) {
  ExpectOnlyASubject(Only(support::WithEnvelopes(Bytes("auto-pts__vmsg-single.vmg"))), "");
}

TEST_F(CorpusMessagesStored, OfATestProgramWithTwoMessages) {
  const std::vector<Received> messages =
      Receive(support::WithEnvelopes(Bytes("auto-pts__vmsg-two.vmg")));
  ASSERT_THAT(messages, SizeIs(2));
  for (const Received& message : messages) ExpectOnlyASubject(message, "");
  EXPECT_NE(messages[0].id, messages[1].id);
}

// A header's value is taken as it stands, whatever its parameters say of its encoding. The blank behind the
// "=" keeps its line from being joined with the next.
TEST_F(CorpusMessagesStored, OfATelephoneWithBlanksBehindEachLine) {
  ExpectOnlyASubject(Only(support::WithEnvelopes(Bytes("idx__perl-lg-trailing-space.vmg"))),
                     "=4F=6B=2E=20=53=74=61= ");
}

TEST_F(CorpusMessagesStored, OfAPhoneService) {
  ExpectOnlyASubject(Only(support::WithEnvelopes(Bytes("idx__tizen-msg-sample.vmg"))), "");
}

TEST_F(CorpusMessagesStored, OfABackup) {
  const std::vector<Received> messages =
      Receive(support::WithEnvelopes(Bytes("idx__zte-blade-sms.vmg")));
  ASSERT_THAT(messages, SizeIs(2));
  ExpectOnlyASubject(messages[0], "=68=69=20=74=68=65=72=65");
  ExpectOnlyASubject(messages[1], "plain text");
}

TEST_F(CorpusMessagesStored, OfATelephoneWithItsTextInTheSubject) {
  ExpectOnlyASubject(Only(support::WithEnvelopes(Bytes("vmsg2csv__comment-sample.vmg"))),
                     "=30=31=32=33=34=35=36");
}

// Its file is of wide characters, which no reader of this kind takes; narrow ones are.
TEST_F(CorpusMessagesStored, OfADesktopSuiteOnceItsCharactersAreNarrow) {
  const std::string wide = Bytes("xiirus__nokia-pcsuite.vmg");
  EXPECT_THAT(Receive(wide), IsEmpty());
  std::string narrow;
  for (size_t i = 0; i < wide.size(); i += 2) narrow += wide[i];
  ExpectOnlyASubject(Only(narrow), "");
}

}  // namespace
}  // namespace corpus_messages_test
