// Notes as real programs and telephones send them: what is in the record of each, which file it becomes, and
// what that file's text is. The files lie in the folder that OSIF_CORPUS names; without it these tests are
// skipped.
#include <gmock/gmock.h>

#include <functional>
#include <utility>

#include "btosif/osif_parsers/vnote_reader.h"
#include "tests/support/corpus.h"
#include "tests/support/files.h"
#include "tests/support/notes.h"
#include "tests/support/settings.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace corpus_notes_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Texts = std::vector<std::string>;

constexpr const char* kAbsent = "(no such line)";

// What a note's lines say, and its text once decoded. The ink document has CR LF between the lines.
struct ExpectedNote {
  std::string body;
  std::u16string text;
  Texts body_params = {};
  std::string created = kAbsent;
  std::string modified = kAbsent;
  std::string summary = kAbsent;
  std::string categories = kAbsent;
  std::string class_ = kAbsent;
  std::string luid = {};
};

struct CorpusFile {
  const char* name;
  OsifResult result;
  std::vector<ExpectedNote> notes;
  Texts trace = {};
};

void PrintTo(const CorpusFile& file, std::ostream* out) { *out << file.name; }

constexpr const char* kUnknownUid = "OSIF:  Warning - Parser encountered unknown property: 'UID'";
constexpr const char* kUnknownBtm =
    "OSIF:  Warning - Parser encountered unknown property: 'X-SAMSUNG-BTM'";

const Texts kQp = {"ENCODING=QUOTED-PRINTABLE"};
const Texts kQpUtf8 = {"ENCODING=QUOTED-PRINTABLE", "CHARSET=UTF-8"};
const Texts kUtf8Qp = {"CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"};

const std::vector<CorpusFile> kFiles = {
    {"auto-pts__vnote-two",
     OSIF_PARSE_OK,
     {{"PTS Test Note", u"PTS Test Note"}, {"PTS Test Note 2", u"PTS Test Note 2"}}},

    // UID is no property of a note.
    {"citadel__horde-sample",
     OSIF_PARSE_WARNING,
     {{.body = "HORDE_1", .text = u"HORDE_1", .created = "20061129T101109Z"}},
     {kUnknownUid}},

    // A soft line break stands at the very beginning of the body, and one behind its first line.
    {"ewsoftware-pdi__TestVNote",
     OSIF_PARSE_OK,
     {{.body = "A Note=0D=0ALine 2 of body",
       .text = u"A Note\r\nLine 2 of body",
       .body_params = kQpUtf8,
       .created = "20070813T144006Z",
       .modified = "20070813T144006Z"}}},

    {"funambol-win__no-body",
     OSIF_PARSE_OK,
     {{.body = "",
       .text = u"",
       .created = "20091001T120000Z",
       .modified = "20091001T120000Z",
       .summary = "Subject"}}},

    // There is a SUMMARY, but it is empty.
    {"funambol-win__no-subject",
     OSIF_PARSE_OK,
     {{.body = "What a great example!",
       .text = u"What a great example!",
       .created = "20091001T120000Z",
       .modified = "20091001T120000Z",
       .summary = ""}}},

    {"gammu__nokia",
     OSIF_PARSE_OK,
     {{.body = "Some text is here.",
       .text = u"Some text is here.",
       .created = "20051030T111735Z",
       .modified = "20051030T112041Z"}}},

    // Folded before the value: the line end and the first blank are one blank, the other twelve stay.
    {"horde-icalendar__vnote",
     OSIF_PARSE_OK,
     {{.body = "             food=0D=0Asoup=20540=0D=0Aduck=201690=0D=0Abeer=20590=0D=0A",
       .text = u"             food\r\nsoup 540\r\nduck 1690\r\nbeer 590\r\n",
       .body_params = kQp,
       .created = "20030523T192529Z",
       .modified = "20030523T211027Z"}}},

    {"idx__clojure-vnote",
     OSIF_PARSE_OK,
     {{.body = "good morning=0D=0Ahello=0D=0Agood night",
       .text = u"good morning\r\nhello\r\ngood night",
       .body_params = kUtf8Qp,
       .created = "20130130T231151",
       .modified = "20130130T231151"}}},

    // A body has one component: what stands behind a ";" that is not escaped is lost.
    {"idx__go-vnt-accents",
     OSIF_PARSE_OK,
     {{.body = "Fran=C3=A7ois-J=C3=A9r=C3=B4me : test ",
       .text = u"Fran\u00E7ois-J\u00E9r\u00F4me : test ",
       .body_params = kUtf8Qp,
       .created = "20171007T161520",
       .modified = "20171108T171055"}}},

    {"idx__motorola-quicknote",
     OSIF_PARSE_OK,
     {{.body = "Where is my dog ??",
       .text = u"Where is my dog ??",
       .created = "20061203T181902Z",
       .modified = "20061203T181902Z"}}},

    // The maker's own property is no property of a note.
    {"idx__samsung-b5722-btm",
     OSIF_PARSE_WARNING,
     {{.body = "Sample Text",
       .text = u"Sample Text",
       .body_params = kQpUtf8,
       .created = "20220612T221205"}},
     {kUnknownBtm}},

    // Without CHARSET the bytes are of code page 1252. The soft line breaks go, the "=0A" stay.
    {"idx__sonyericsson-latin1-qp",
     OSIF_PARSE_OK,
     {{.body = "Sexta=0A12.10 almo=E7o=0A4.30 salgados + refresco=0ADomingo=0A2.00=0A"
               "13.00 na press=E3o=0A3.50 sorvete=0A2.00=0ASegunda=0A9.40=0A3.90 sorvete=0A"
               "Quarta=0A12.10=0A6.80 shampoo=0A10.90 pizza patroni=0AQuinta=0A1.50=0A10.90=0A"
               "34.80=0A1.90",
       .text = u"Sexta\n12.10 almo\u00E7o\n4.30 salgados + refresco\nDomingo\n2.00\n"
               u"13.00 na press\u00E3o\n3.50 sorvete\n2.00\nSegunda\n9.40\n3.90 sorvete\n"
               u"Quarta\n12.10\n6.80 shampoo\n10.90 pizza patroni\nQuinta\n1.50\n10.90\n"
               u"34.80\n1.90",
       .body_params = kQp,
       .created = "20081024T110847Z",
       .modified = "20081030T232034Z",
       .class_ = "PUBLIC",
       .luid = "0000000100A9"}}},

    // The blank line behind the note begins no other one, and ends the reading in silence.
    {"opensync__vnote-minimal", OSIF_PARSE_OK, {{"This is just a test", u"This is just a test"}}},

    {"opensync__vnote1",
     OSIF_PARSE_OK,
     {{.body = "This is just a test",
       .text = u"This is just a test",
       .created = "2005-04-05",
       .modified = "2005-04-06",
       .summary = "This is a summary",
       .categories = "Birthday,Friends",
       .class_ = "PUBLIC",
       .luid = "someuid"}}},
    {"opensync__vnote1-same",
     OSIF_PARSE_OK,
     {{.body = "This is just a test",
       .text = u"This is just a test",
       .created = "2005-04-07",
       .modified = "2005-04-08",
       .summary = "This is a summary",
       .categories = "Birthday,Friends",
       .class_ = "PUBLIC",
       .luid = "someuid5"}}},
    {"opensync__vnote1-similar",
     OSIF_PARSE_OK,
     {{.body = "This is just a test",
       .text = u"This is just a test",
       .created = "2005-04-06",
       .modified = "2005-04-07",
       .summary = "This is a summary",
       .categories = "Birthday,Friends,Test",
       .class_ = "PRIVATE",
       .luid = "someuid3"}}},

    {"vnt-decoder__test",
     OSIF_PARSE_OK,
     {{.body = "=D0=9F=D1=80=D0=B8=D0=B2=D0=B5=D1=82=20=D0=BC=D0=B8=D1=80=0A",
       .text = u"\u041F\u0440\u0438\u0432\u0435\u0442 \u043C\u0438\u0440\n",
       .body_params = kUtf8Qp,
       .created = "20201104T004634",
       .modified = "20201104T004634"}}},
};

enum class LineEnds { kAsPublished, kLf, kCrLf };

std::string WithLineEnds(const std::string& bytes, LineEnds line_ends) {
  if (line_ends == LineEnds::kAsPublished) return bytes;
  std::string result;
  for (char c : bytes) {
    if (c == '\r') continue;
    if (c == '\n' && line_ends == LineEnds::kCrLf) result += '\r';
    result += c;
  }
  return result;
}

std::u16string WithCrLf(std::u16string_view text) {
  std::u16string result;
  for (char16_t c : text) {
    if (c == u'\n' && !result.ends_with(u'\r')) result += u'\r';
    result += c;
  }
  return result;
}

// The text of the only value of a list.
std::string RawText(const PropertyValue* list) {
  if (list == nullptr) return kAbsent;
  EXPECT_EQ(list->next, nullptr);
  return std::string(ComponentText(list, 0));
}

void ExpectNote(const ExpectedNote& expected, OsifObject& object) {
  EXPECT_STREQ(object.version, "1.1");
  EXPECT_EQ(object.xIrmcLuid, expected.luid);
  const OsifNote& note = object.note;
  EXPECT_EQ(RawText(note.body), expected.body);
  EXPECT_EQ(support::ParamsOf(*note.body), expected.body_params);
  EXPECT_EQ(RawText(note.dCreated), expected.created);
  EXPECT_EQ(RawText(note.lastModified), expected.modified);
  EXPECT_EQ(RawText(note.summary), expected.summary);
  EXPECT_EQ(RawText(note.categories), expected.categories);
  EXPECT_EQ(RawText(note.class_), expected.class_);
  EXPECT_EQ(DecodedText(note.body, 0), expected.text);
}

class CorpusNotes : public support::NoteTest, public testing::WithParamInterface<CorpusFile> {
 protected:
  // Called for each note, with what is expected of it.
  using Visit = std::function<void(const ExpectedNote&, OsifObject&)>;

  void SetUp() override {
    const std::string corpus = support::CorpusFolder();
    if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
    path_ = corpus + "/vnote/" + GetParam().name + ".vnt";
    ASSERT_TRUE(std::filesystem::exists(path_)) << path_;
    support::SetSystemCodePage(1252);
    ForgetCharsetChoices();
    NoteTest::SetUp();
  }
  void TearDown() override {
    NoteTest::TearDown();
    ForgetCharsetChoices();
  }

  void Read(LineEnds line_ends, const Visit& visit) {
    struct Reading {
      const Visit& visit;
      size_t notes = 0;
    } reading{visit};
    const auto take = [](int32_t store_id, OsifObject* object, OsifResult result,
                         void* context) -> int32_t {
      auto& taken = *static_cast<Reading*>(context);
      EXPECT_EQ(store_id, OSIF_STORE_NOTE);
      EXPECT_EQ(result, GetParam().result);
      const size_t number = taken.notes++;
      if (number < GetParam().notes.size()) taken.visit(GetParam().notes[number], *object);
      return 0;
    };
    OsifStream stream = support::OpenBytes(WithLineEnds(support::BytesOf(path_), line_ends));
    EXPECT_EQ(VNote_ReadFile(stream, take, &reading), GetParam().result);
    EXPECT_EQ(reading.notes, GetParam().notes.size());
  }

  std::string path_;
};

TEST_P(CorpusNotes, SayWhatTheirLinesSayWhateverTheLineEnds) {
  for (LineEnds line_ends : {LineEnds::kAsPublished, LineEnds::kLf, LineEnds::kCrLf}) {
    SCOPED_TRACE(static_cast<int>(line_ends));
    support::TraceReceiver trace;
    Read(line_ends, ExpectNote);
    EXPECT_EQ(trace.Lines(), GetParam().trace);
  }
}

TEST_P(CorpusNotes, AreStoredUnderTheirSummaryAndMissAFieldWithoutOne) {
  Read(LineEnds::kAsPublished, [&](const ExpectedNote& expected, OsifObject& object) {
    const bool has_name = expected.summary != kAbsent && !expected.summary.empty();
    char id[OSIF_ID_SIZE] = "";
    EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, &object, id, nullptr),
              OsifResult{has_name ? OSIF_OK : OSIF_ERR_MISSING_FIELD});
    EXPECT_EQ(id, has_name ? expected.summary : "");
    EXPECT_EQ(Found(&object), has_name ? expected.summary : "not found");
    if (has_name) {
      EXPECT_THAT(Files(), ElementsAre(expected.summary + ".pwi"));
      EXPECT_EQ(TextOf(expected.summary + ".pwi"), WithCrLf(expected.text));
    } else {
      EXPECT_THAT(Files(), IsEmpty());
    }
  });
}

// So that the texts of the nameless ones, most of them, go the whole way, too.
TEST_P(CorpusNotes, GivenANameHaveTheirWholeTextInTheirFile) {
  Read(LineEnds::kAsPublished, [&](const ExpectedNote& expected, OsifObject& object) {
    PropertyValue_Free(std::exchange(object.note.summary, nullptr));
    PropertyValue_SetText(u"Named", PropertyValue_Append(object.note.summary), 0, 0);
    EXPECT_EQ(Add(&object), "Named");
    EXPECT_THAT(Files(), ElementsAre("Named.pwi"));
    EXPECT_EQ(TextOf("Named.pwi"), WithCrLf(expected.text));
  });
}

INSTANTIATE_TEST_SUITE_P(Files, CorpusNotes, testing::ValuesIn(kFiles), [](const auto& test) {
  std::string name = test.param.name;
  for (char& c : name) {
    if (c == '-') c = '_';
  }
  return name;
});

TEST(CorpusNotesFolder, HoldsNoFileThatIsNotExpectedHere) {
  const std::string corpus = support::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
  std::vector<std::string> there;
  for (const auto& file : std::filesystem::directory_iterator(corpus + "/vnote")) {
    there.push_back(file.path().stem());
  }
  std::vector<std::string> expected;
  for (const CorpusFile& file : kFiles) expected.push_back(file.name);
  EXPECT_THAT(there, testing::UnorderedElementsAreArray(expected));
}

}  // namespace
}  // namespace corpus_notes_test
