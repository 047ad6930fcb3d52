// Reading object files and writing them, and the whole way of a contact in and out again.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "osif.h"
#include "tests/support/built_files.h"
#include "tests/support/osif_fixture.h"

namespace osif_read_write_test {
namespace {

using namespace support;

template <typename Block>
bool IsZero(const Block& block) {
  static const Block kZero{};
  return std::memcmp(&block, &kZero, sizeof block) == 0;
}

// ---- Reading ----------------------------------------------------------------------------------------

struct Given {
  int32_t store_id;
  std::string name;
  int result;
};

class OsifRead : public OsifTest {
 protected:
  // Reads a file of these bytes and keeps what the callback was given.
  int Read(std::string_view bytes) {
    TempFile file(bytes);
    given_.clear();
    auto keep = [](int32_t store_id, OsifObject* object, OsifResult result,
                   void* context) -> int32_t {
      static_cast<OsifRead*>(context)->given_.push_back(
          {store_id, NameOf(store_id, *object), Code(result)});
      return 77;
    };
    return Code(OSIF_ReadObjects(file.wide_path().c_str(), keep, this));
  }

  // A contact's family name, a message's subject, the summary of any other object.
  static std::string NameOf(int32_t store_id, const OsifObject& object) {
    if (store_id >= OSIF_STORE_MSG_IN) return object.message.subject;
    const PropertyValue* value = store_id == OSIF_STORE_PB    ? object.contact.n
                                 : store_id == OSIF_STORE_CAL ? object.calendar.summary
                                                              : object.note.summary;
    const OsifText* text = value != nullptr ? value->components : nullptr;
    return text != nullptr && text->text != nullptr ? text->text : "";
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const Given& given : given_) names.push_back(given.name);
    return names;
  }

  std::vector<Given> given_;
};

using NameList = std::vector<std::string>;

TEST_F(OsifRead, GivesEachOfTwoValidCardsToTheCallbackWithStoreZeroAndReturnsSuccess) {
  EXPECT_EQ(Read(CardText({"N:Lee"}) + CardText({"N:Ray"})), OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Lee", "Ray"}));
  for (const Given& given : given_) {
    EXPECT_EQ(given.store_id, 0);
    EXPECT_EQ(given.result, OSIF_PARSE_OK);
  }
}

TEST_F(OsifRead, ReturnsSuccessWhenOneOfTwoCardsHadAWarning) {
  EXPECT_EQ(Read(CardText({"N:Lee", "X-STRANGE:1"}) + CardText({"N:Ray"})), OSIF_OK);
  ASSERT_EQ(given_.size(), 2u);
  EXPECT_EQ(given_[0].result, OSIF_PARSE_WARNING);
  EXPECT_EQ(given_[1].result, OSIF_PARSE_WARNING) << "a warning stays for the rest of the file";
}

TEST_F(OsifRead, ReturnsAParseErrorUnchangedAndStops) {
  EXPECT_EQ(Read(CardText({"N:Lee"}) + "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Bad\r\nEND:VCARD\r\n" +
                 CardText({"N:Ray"})),
            OSIF_PARSE_ERROR);
  EXPECT_EQ(Names(), NameList({"Lee"}));
}

TEST_F(OsifRead, ClearsTheRecordBetweenTwoObjects) {
  TempFile file(CardText({"N:Lee", "TITLE:Cook", "X-IRMC-LUID:7"}) + CardText({"N:Ray"}));
  int cards = 0;
  ReadFile(file.wide_path(), [&](OsifObject& object, OsifResult) {
    const bool is_first = ++cards == 1;
    EXPECT_EQ(object.contact.title != nullptr, is_first);
    EXPECT_STREQ(object.xIrmcLuid, is_first ? "7" : "");
  });
  EXPECT_EQ(cards, 2);
}

TEST_F(OsifRead, NeedsNoCallback) {
  TempFile file(CardText({"N:Lee"}));
  EXPECT_EQ(Code(OSIF_ReadObjects(file.wide_path().c_str(), nullptr, nullptr)), OSIF_OK);
}

TEST_F(OsifRead, TakesEitherLineEnd) {
  EXPECT_EQ(Read("BEGIN:VCARD\nVERSION:2.1\nN:Lee\nEND:VCARD\n"), OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Lee"}));
}

TEST_F(OsifRead, FailsForAFileThatIsNotThere) {
  const std::string path = device_.Path("missing.vcf");
  EXPECT_EQ(Code(OSIF_ReadObjects(Wide(path).c_str(), nullptr, nullptr)), OSIF_ERR_FILE_OPEN);
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  Unable to open file '" + path + "' in mode 'rb'"}));
}

class OsifReadAccepted : public OsifRead, public testing::WithParamInterface<const char*> {};

TEST_P(OsifReadAccepted, FirstLine) {
  EXPECT_EQ(Read(GetParam() + std::string("\r\nVERSION:2.1\r\nN:Lee\r\nEND:VCARD\r\n")), OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Lee"}));
}

INSTANTIATE_TEST_SUITE_P(OfACard, OsifReadAccepted,
                         testing::Values("BEGIN:VCARD", "begin:vcard", "Begin : vCard",
                                         "BEGIN:VCARD   ", "BEGIN\t:\tVCARD", "BEGIN;X=1:VCARD"));

struct ObjectOfAType {
  const char* name;
  std::string text;
  int32_t store_id;
};

std::string EventText() {
  return Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", "SUMMARY:Name", "DESCRIPTION:Tea",
                "DTSTART:20050314T101500Z", "END:VEVENT", "END:VCALENDAR"});
}

std::string TodoText() {
  return Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VTODO",
                "CATEGORIES:", "COMPLETED:", "DESCRIPTION:", "DUE:20050314", "PRIORITY:2",
                "STATUS:", "SUMMARY:Name", "END:VTODO", "END:VCALENDAR"});
}

std::string NoteText() {
  return Lines({"BEGIN:VNOTE", "VERSION:1.1", "SUMMARY:Name", "BODY:Tea", "END:VNOTE"});
}

std::string MessageText(const std::string& folder) {
  return Lines({"BEGIN:VMSG", "VERSION:1.1", "X-BT-FOLDER:" + folder, "BEGIN:VENV", "BEGIN:VBODY",
                "Subject:Name", "", "text", "END:VBODY", "END:VENV", "END:VMSG"});
}

class OsifReadTypeWord : public OsifRead, public testing::WithParamInterface<ObjectOfAType> {};

TEST_P(OsifReadTypeWord, ChoosesTheReaderAndTheStore) {
  EXPECT_EQ(Read(GetParam().text), OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Name"}));
  ASSERT_FALSE(given_.empty());
  EXPECT_EQ(given_[0].store_id, GetParam().store_id);
  EXPECT_EQ(given_[0].result, OSIF_PARSE_OK);
}

INSTANTIATE_TEST_SUITE_P(Of, OsifReadTypeWord,
                         testing::Values(ObjectOfAType{"Vcard", CardText({"N:Name"}), 0},
                                         ObjectOfAType{"VcalendarEvent", EventText(), 1},
                                         ObjectOfAType{"VcalendarTodo", TodoText(), 1},
                                         ObjectOfAType{"Vnote", NoteText(), 2},
                                         ObjectOfAType{"VmsgInbox", MessageText("INBOX"), 3},
                                         ObjectOfAType{"VmsgSentbox", MessageText("SENTBOX"), 4},
                                         ObjectOfAType{"VmsgOutbox", MessageText("OUTBOX"), 5}),
                         [](const auto& test) { return test.param.name; });

// The first line chooses the reader, which then begins at the beginning.
TEST_F(OsifRead, APipeCannotBeOpenedBecauseItHasNoBeginningToGoBackTo) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "END:VCARD"});
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], card.data(), card.size()), static_cast<ssize_t>(card.size()));
  close(ends[1]);
  const std::string path = "/proc/self/fd/" + std::to_string(ends[0]);
  EXPECT_EQ(Code(OSIF_ReadObjects(Wide(path).c_str(), nullptr, nullptr)), OSIF_ERR_FILE_OPEN);
  close(ends[0]);
}

TEST_F(OsifRead, RunsTheNoteReaderForABeginLineInSmallLettersWithALeadingBlank) {
  EXPECT_EQ(Read(Lines({" begin:vnote", "VERSION:1.1", "SUMMARY:Ideas", "BODY:Tea", "END:VNOTE"})),
            OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Ideas"}));
  ASSERT_FALSE(given_.empty());
  EXPECT_EQ(given_[0].store_id, OSIF_STORE_NOTE);
}

TEST_F(OsifRead, ReadsAFileOfMixedKindsWithTheReaderOfItsFirstObject) {
  EXPECT_EQ(Read(CardText({"N:Lee"}) +
                 Lines({"BEGIN:VNOTE", "VERSION:1.1", "N:Ray", "BODY:Tea", "END:VNOTE"})),
            OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Lee", "Ray"}));
  ASSERT_EQ(given_.size(), 2u);
  EXPECT_EQ(given_[1].store_id, OSIF_STORE_PB);
  EXPECT_EQ(given_[1].result, OSIF_PARSE_WARNING) << "a contact has no BODY";
}

struct RefusedLine {
  std::string line;
  std::string message;
};

class OsifReadRefused : public OsifRead, public testing::WithParamInterface<RefusedLine> {};

TEST_P(OsifReadRefused, FirstLineIsTold) {
  EXPECT_EQ(Read(GetParam().line + "\r\nVERSION:2.1\r\nN:Lee\r\nEND:VCARD\r\n"),
            OSIF_ERR_INVALID_STREAM);
  EXPECT_EQ(Trace(), TraceLines({GetParam().message}));
  EXPECT_TRUE(given_.empty());
}

INSTANTIATE_TEST_SUITE_P(
    WithoutABegin, OsifReadRefused,
    testing::Values(
        RefusedLine{"hello world: x", "OSIF:  Stream 'HELLOWORLD' does not contain BEGIN tag"},
        RefusedLine{"END:VCARD", "OSIF:  Stream 'END' does not contain BEGIN tag"},
        RefusedLine{"", "OSIF:  Stream '' does not contain BEGIN tag"},
        RefusedLine{":BEGIN", "OSIF:  Stream '' does not contain BEGIN tag"},
        RefusedLine{"vcard:begin", "OSIF:  Stream 'VCARD' does not contain BEGIN tag"},
        RefusedLine{"a\\;b\\\\c:d", "OSIF:  Stream 'A;B\\C' does not contain BEGIN tag"},
        RefusedLine{"a\\bc:d", "OSIF:  Stream 'A\\BC' does not contain BEGIN tag"},
        RefusedLine{std::string(600, 'a'),
                    "OSIF:  Stream '" + std::string(511, 'A') + "' does not contain BEGIN tag"}));

INSTANTIATE_TEST_SUITE_P(
    OfAnUnknownType, OsifReadRefused,
    testing::Values(
        RefusedLine{"BEGIN:VJOURNAL", "OSIF:  Stream 'VJOURNAL' does not contain type tag"},
        RefusedLine{"begin: v journal", "OSIF:  Stream 'VJOURNAL' does not contain type tag"},
        RefusedLine{"BEGIN:", "OSIF:  Stream '' does not contain type tag"},
        RefusedLine{"BEGIN", "OSIF:  Stream '' does not contain type tag"},
        RefusedLine{"BEGIN:VCARD;X=1", "OSIF:  Stream 'VCARD;X=1' does not contain type tag"},
        RefusedLine{"BEGIN:VCARDS", "OSIF:  Stream 'VCARDS' does not contain type tag"},
        RefusedLine{"BEGIN:VCARD:", "OSIF:  Stream 'VCARD:' does not contain type tag"}));

TEST_F(OsifRead, RefusesAnEmptyFile) {
  EXPECT_EQ(Read(""), OSIF_ERR_INVALID_STREAM);
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  Stream '' does not contain BEGIN tag"}));
}

TEST_F(OsifRead, LeavesAFirstLineThatOnlyContainsTheWordToTheReader) {
  EXPECT_EQ(Read("X-BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee\r\nEND:VCARD\r\n"), OSIF_PARSE_ERROR);
  EXPECT_TRUE(Traced("OSIF:  Error - vCard does not have a BEGIN tag"));
}

TEST_F(OsifRead, TakesAByteOrderMarkForPartOfTheFirstWord) {
  EXPECT_EQ(Read("\xEF\xBB\xBF" + CardText({"N:Lee"})), OSIF_PARSE_ERROR);
  EXPECT_TRUE(given_.empty());
}

TEST_F(OsifRead, ReadsTheFileFromItsFirstLineAgain) {
  EXPECT_EQ(Read(std::string("BEGIN:VCARD") + std::string(700, ' ') + "\r\nN:Lee\r\nEND:VCARD\r\n"),
            OSIF_OK);
  EXPECT_EQ(Names(), NameList({"Lee"}));
}

TEST_F(OsifRead, LetsTheCallbackStoreWhatItWasLent) {
  TempFile file(CardText({"N:Lee"}) + CardText({"N:Ray"}));
  int code = ReadFile(file.wide_path(), [](OsifObject& object, OsifResult) {
    EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, nullptr, nullptr)), OSIF_OK);
  });
  EXPECT_EQ(code, OSIF_OK);
  EXPECT_EQ(Count(), 2u);
}

// ---- Writing ----------------------------------------------------------------------------------------

class OsifWrite : public OsifTest {
 protected:
  // The stored contact, in a record of the caller's.
  void Get(const std::string& id, OsifObject& object) {
    ASSERT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object)), OSIF_OK);
    trace_.Lines();
  }

  int Write(OsifObject& object, const std::string& path, uint8_t truncate,
            int32_t store_id = OSIF_STORE_PB) {
    return Code(OSIF_WriteObject(store_id, &object, Wide(path).c_str(), truncate));
  }

  std::string TraceLine(int store_id, OsifObject& object, const std::string& path,
                        const char* truncate) {
    char line[500];
    std::snprintf(line, sizeof line,
                  "OSIF:  OSIF_WriteObject(store_id=%d, pObject=%p, pszFileName=%s, bTruncate=%s)",
                  store_id, static_cast<void*>(&object), path.c_str(), truncate);
    return line;
  }
};

TEST_F(OsifWrite, TellsItsArguments) {
  TempFile file;
  OsifObject object{};
  Write(object, file.path(), 1);
  EXPECT_EQ(Trace(), TraceLines({TraceLine(0, object, file.path(), "TRUE")}));
  Write(object, file.path(), 0);
  EXPECT_EQ(Trace(), TraceLines({TraceLine(0, object, file.path(), "FALSE")}));
  Write(object, file.path(), 2);
  EXPECT_EQ(Trace(), TraceLines({TraceLine(0, object, file.path(), "TRUE")}));
}

TEST_F(OsifWrite, WritesARecordWithoutAnyFieldAsACardWithAnEmptyName) {
  TempFile file;
  OsifObject object{};
  EXPECT_EQ(Write(object, file.path(), 1), OSIF_OK);
  EXPECT_EQ(file.Bytes(), "BEGIN:VCARD\r\nVERSION:\r\nN:\r\nEND:VCARD\r\n");
}

TEST_F(OsifWrite, ReplacesTheFileOrAppendsToIt) {
  TempFile file("old\r\n");
  const std::string card = "BEGIN:VCARD\r\nVERSION:\r\nN:\r\nEND:VCARD\r\n";
  OsifObject object{};
  EXPECT_EQ(Write(object, file.path(), 0), OSIF_OK);
  EXPECT_EQ(file.Bytes(), "old\r\n" + card);
  EXPECT_EQ(Write(object, file.path(), 1), OSIF_OK);
  EXPECT_EQ(file.Bytes(), card);
  EXPECT_EQ(Write(object, file.path(), 0), OSIF_OK);
  EXPECT_EQ(file.Bytes(), card + card);
}

TEST_F(OsifWrite, MakesAFileThatIsNotThere) {
  for (uint8_t truncate : {uint8_t{0}, uint8_t{1}}) {
    TempFolder folder;
    OsifObject object{};
    EXPECT_EQ(Write(object, folder.File("new.vcf"), truncate), OSIF_OK);
    EXPECT_TRUE(std::filesystem::exists(folder.File("new.vcf")));
  }
}

TEST_F(OsifWrite, WritesTheIdOfTheRecord) {
  TempFile file;
  OsifObject object{};
  std::strcpy(object.xIrmcLuid, "0000002a");
  EXPECT_EQ(Write(object, file.path(), 1), OSIF_OK);
  EXPECT_EQ(file.Bytes(), "BEGIN:VCARD\r\nVERSION:\r\nN:\r\nX-IRMC-LUID:0000002a\r\nEND:VCARD\r\n");
}

struct WrittenStore {
  int32_t store_id;
  std::string type_word;
  std::string text;  // of an object of the store
};

class OsifWriteStore : public OsifWrite, public testing::WithParamInterface<WrittenStore> {};

TEST_P(OsifWriteStore, HasItsFormatWithTheIdOfTheRecordWhichIsReleased) {
  const WrittenStore& store = GetParam();
  TempFile in(store.text);
  TempFile out;
  int objects = 0;
  EXPECT_EQ(ReadFile(in.wide_path(),
                     [&](OsifObject& object, OsifResult) {
                       ++objects;
                       std::strcpy(object.xIrmcLuid, "0000002a");
                       EXPECT_EQ(Write(object, out.path(), 1, store.store_id), OSIF_OK);
                       EXPECT_TRUE(IsZero(object));
                     }),
            OSIF_OK);
  EXPECT_EQ(objects, 1);
  const std::string bytes = out.Bytes();
  EXPECT_THAT(bytes, testing::StartsWith("BEGIN:" + store.type_word + "\r\nVERSION:"));
  EXPECT_THAT(bytes, testing::HasSubstr("\r\nX-IRMC-LUID:0000002a\r\n"));
  EXPECT_THAT(bytes, testing::HasSubstr(":Name\r\n"));
  EXPECT_THAT(bytes, testing::EndsWith("\r\nEND:" + store.type_word + "\r\n"));
}

INSTANTIATE_TEST_SUITE_P(Each, OsifWriteStore,
                         testing::Values(WrittenStore{0, "VCARD", CardText({"N:Name"})},
                                         WrittenStore{1, "VCALENDAR", EventText()},
                                         WrittenStore{2, "VNOTE", NoteText()},
                                         WrittenStore{3, "VMSG", MessageText("INBOX")},
                                         WrittenStore{4, "VMSG", MessageText("SENTBOX")},
                                         WrittenStore{5, "VMSG", MessageText("OUTBOX")}),
                         [](const auto& test) {
                           return "Store" + std::to_string(test.param.store_id);
                         });

TEST_F(OsifWrite, ReleasesTheRecord) {
  const std::string id = Add({"N:Lee;Ann", "NOTE:Tea"});
  OsifObject object;
  Get(id, object);
  TempFile file;
  EXPECT_EQ(Write(object, file.path(), 1), OSIF_OK);
  EXPECT_TRUE(IsZero(object));
}

TEST_F(OsifWrite, KeepsTheRecordOfAFileThatCannotBeOpened) {
  const std::string id = Add({"N:Lee;Ann"});
  OutsideObject object;
  Get(id, object.object);
  const std::string path = device_.Path("no/such/folder.vcf");
  for (uint8_t truncate : {uint8_t{1}, uint8_t{0}}) {
    EXPECT_EQ(Write(object.object, path, truncate), OSIF_ERR_FILE_OPEN);
    ASSERT_NE(object->contact.n, nullptr);
    EXPECT_STREQ(object->contact.n->components->text, "Lee");
    EXPECT_EQ(Trace(), TraceLines({TraceLine(0, object.object, path, truncate ? "TRUE" : "FALSE"),
                                   "OSIF:  Unable to open file '" + path + "' in mode '" +
                                       (truncate ? "w" : "a+") + "'"}));
  }
}

TEST_F(OsifWrite, OfStoreSixEmptiesTheFileWritesNothingAndReleasesTheRecord) {
  for (int32_t store_id : {6, -1}) {
    OsifObject object{};
    std::strcpy(object.xIrmcLuid, "0000002a");
    std::strcpy(object.version, "2.1");
    TempFile file("old");
    EXPECT_EQ(Write(object, file.path(), 1, store_id), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(file.Bytes(), "");
    EXPECT_TRUE(IsZero(object));
  }
}

TEST_F(OsifWrite, OfStoreSixCreatesTheFile) {
  TempFolder folder;
  OsifObject object{};
  EXPECT_EQ(Write(object, folder.File("new.vcf"), 0, 6), OSIF_ERR_TYPE_NOT_SUPPORTED);
  EXPECT_TRUE(std::filesystem::exists(folder.File("new.vcf")));
}

TEST_F(OsifWrite, OfStoreSixKeepsWhatTheFileHoldsWhenItAppends) {
  TempFile file("old");
  OsifObject object{};
  EXPECT_EQ(Write(object, file.path(), 0, 6), OSIF_ERR_TYPE_NOT_SUPPORTED);
  EXPECT_EQ(file.Bytes(), "old");
}

TEST_F(OsifWrite, WritesFilesThatAreReadAsTheSameObjects) {
  const std::string first = Add({"N:Lee;Ann", "TEL;CELL:1"});
  const std::string second = Add({"N:Ray;Bea"});
  TempFile file;
  OsifObject object;
  Get(first, object);
  ASSERT_EQ(Write(object, file.path(), 1), OSIF_OK);
  Get(second, object);
  ASSERT_EQ(Write(object, file.path(), 0), OSIF_OK);
  NameList ids;
  EXPECT_EQ(ReadFile(file.wide_path(),
                     [&](OsifObject& read, OsifResult result) {
                       EXPECT_EQ(Code(result), OSIF_PARSE_OK) << "it knows all that it writes";
                       ids.push_back(read.xIrmcLuid);
                     }),
            OSIF_OK);
  EXPECT_EQ(ids, NameList({first, second}));
}

TEST_F(OsifWrite, LeavesOutWhatOnlyTheVendorKnowsWhenSuppressed) {
  SetSetting(u"DoNotSendMsftProperties", 1);
  OSIF_Close();
  ASSERT_EQ(Code(OSIF_Open()), OSIF_OK);
  const std::string id = Add({"N:Lee;Ann", "ORG:Acme;Sales", "X-MICROSOFT-OFFICELOC:Room 5",
                              "X-SPOUSE:Sam", "X-MICROSOFT-ASST_TEL:10", "TEL;RADIO:11"});
  OsifObject object;
  Get(id, object);
  TempFile file;
  ASSERT_EQ(Write(object, file.path(), 1), OSIF_OK);
  EXPECT_EQ(file.Bytes(), Lines({"BEGIN:VCARD",
                                 "VERSION:2.1",
                                 "N:Lee;Ann",
                                 "FN:",
                                 "BDAY:",
                                 "ADR;HOME:",
                                 "ADR;WORK:;Room 5",
                                 "ADR:",
                                 "ORG:Acme;Sales",
                                 "TITLE:",
                                 "TEL;HOME;VOICE:",
                                 "TEL;HOME;VOICE:",
                                 "TEL;WORK;VOICE:",
                                 "TEL;WORK;VOICE:",
                                 "TEL;HOME;FAX:",
                                 "TEL;WORK;FAX:",
                                 "TEL;CELL:",
                                 "TEL;PAGER:",
                                 "TEL;CAR:",
                                 "TEL;TYPE=X-ASSISTANT:10",
                                 "TEL;TYPE=X-RADIO:11",
                                 "URL:",
                                 "EMAIL;INTERNET;PREF:",
                                 "EMAIL;INTERNET:",
                                 "EMAIL;INTERNET:",
                                 "NOTE:",
                                 "X-SPOUSE:Sam",
                                 "X-ANNIVERSARY:",
                                 "X-CHILDREN:",
                                 "X-ASSISTANT:",
                                 "X-CAT:",
                                 "X-IRMC-LUID:" + id,
                                 "END:VCARD"}));
}

// ---- The whole way ----------------------------------------------------------------------------------

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Text files of the tests have LF; what the library writes has CR LF.
std::string WithCrLf(const std::string& text) {
  std::string bytes;
  for (char c : text) {
    if (c == '\n') bytes += '\r';
    bytes += c;
  }
  return bytes;
}

std::string Replaced(std::string text, const std::string& word, const std::string& by) {
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + by.size())) {
    text.replace(at, word.size(), by);
  }
  return text;
}

class OsifWholeWay : public OsifTest, public testing::WithParamInterface<const char*> {};

// A received card is stored, fetched and sent again. Beside each card lies what is to be sent, byte for
// byte, with "@ID@" for the id that the store gave.
TEST_P(OsifWholeWay, InAndOut) {
  const std::string card = kSources + "/tests/btosif/cards/" + std::string(GetParam());
  const std::u16string path = Wide(card + ".vcf");
  std::vector<std::string> ids;
  ASSERT_EQ(ReadFile(path,
                     [&](OsifObject& object, OsifResult) {
                       char id[OSIF_ID_SIZE] = "";
                       EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr)),
                                 OSIF_OK);
                       ids.push_back(id);
                     }),
            OSIF_OK);
  ASSERT_EQ(ids.size(), 1u);
  OsifObject object;
  ASSERT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, ids[0].c_str(), &object)), OSIF_OK);
  TempFile out;
  ASSERT_EQ(Code(OSIF_WriteObject(OSIF_STORE_PB, &object, out.wide_path().c_str(), 1)), OSIF_OK);
  EXPECT_EQ(out.Bytes(), Replaced(WithCrLf(FileBytes(card + ".sent.vcf")), "@ID@", ids[0]));
}

// What was sent comes back and is sent the same again.
TEST_P(OsifWholeWay, AndOnceMoreChangesNothing) {
  const std::string sent =
      kSources + "/tests/btosif/cards/" + std::string(GetParam()) + ".sent.vcf";
  TempFile in(WithCrLf(FileBytes(sent)));
  TempFile out;
  std::string new_id;
  ASSERT_EQ(ReadFile(in.wide_path(),
                     [&](OsifObject& object, OsifResult result) {
                       EXPECT_EQ(Code(result), OSIF_PARSE_OK);
                       char id[OSIF_ID_SIZE] = "";
                       ASSERT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr)),
                                 OSIF_OK);
                       new_id = id;
                     }),
            OSIF_OK);
  OsifObject object;
  ASSERT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, new_id.c_str(), &object)), OSIF_OK);
  ASSERT_EQ(Code(OSIF_WriteObject(OSIF_STORE_PB, &object, out.wide_path().c_str(), 1)), OSIF_OK);
  EXPECT_EQ(out.Bytes(), Replaced(in.Bytes(), "@ID@", new_id));
}

INSTANTIATE_TEST_SUITE_P(OfACard, OsifWholeWay,
                         testing::Values("minimal", "desktop_organizer", "business_phone",
                                         "swedish_phone", "smartphone", "pen_organizer",
                                         "linux_desktop", "japanese_phone", "russian_phone",
                                         "own"));

}  // namespace
}  // namespace osif_read_write_test
