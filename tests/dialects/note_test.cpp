#include "dialects/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "btosif/osif_util/value_text.h"
#include "dialects/forms.h"
#include "dialects/people_page.h"
#include "platform/utf8.h"
#include "tests/dialects/strict_reading.h"

namespace note_test {
namespace {

using namespace dialects;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

ObjectText Object(std::string_view lines) {
  return {ObjectKind::kNote, "BEGIN:VNOTE\r\n" + std::string(lines) + "END:VNOTE\r\n"};
}

StrictObject Strict(std::string_view lines) {
  return StrictNotes(Object(lines), TextSettings()).front();
}

// The strict note without the lines that each has.
std::string StrictLines(std::string_view lines) {
  const std::string text = Strict(lines).text;
  constexpr std::string_view kBegin = "BEGIN:VNOTE\r\nVERSION:1.1\r\n";
  constexpr std::string_view kEnd = "END:VNOTE\r\n";
  EXPECT_TRUE(text.starts_with(kBegin) && text.ends_with(kEnd)) << text;
  return text.substr(kBegin.size(), text.size() - kBegin.size() - kEnd.size());
}

TEST(StrictNote, IsAsItCameWhenItIsStrict) {
  constexpr std::string_view kLines =
      "VERSION:1.1\r\nDCREATED:20200102T030405Z\r\nSUMMARY:Milk\r\nBODY:Buy it\r\n"
      "CATEGORIES:Home,Food\r\nCLASS:PUBLIC\r\nX-IRMC-LUID:a;b\r\n";
  const StrictObject strict = Strict(kLines);
  EXPECT_EQ(strict.text, Object(kLines).text);
  EXPECT_TRUE(strict.report.IsEmpty());
}

TEST(StrictNote, HasVersionOnePointOneWhateverItHad) {
  EXPECT_EQ(StrictLines("SUMMARY:a\r\n"), "SUMMARY:a\r\n");
  EXPECT_EQ(StrictLines("VERSION:2.1\r\nSUMMARY:a\r\n"), "SUMMARY:a\r\n");
  EXPECT_THAT(Strict("VERSION:2.1\r\nSUMMARY:a\r\n").report.changed,
              ElementsAre(Pair("version", 1)));
}

TEST(StrictNote, TakesItsNameFromTheSubject) {
  EXPECT_EQ(StrictLines("SUBJECT:Milk\r\nBODY:x\r\n"), "SUMMARY:Milk\r\nBODY:x\r\n");
}

TEST(StrictNote, TakesItsNameFromTheFirstLineOfTheBodyThatSaysSomething) {
  const StrictObject strict = Strict(
      "VERSION:1.1\r\nSUMMARY:\r\nBODY;ENCODING=QUOTED-PRINTABLE:=0D=0A---=0AMilk=0D=0Aand "
      "tea\r\n");
  EXPECT_EQ(strict.text,
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:Milk\r\n"
            "BODY;ENCODING=QUOTED-PRINTABLE:=0D=0A---=0D=0AMilk=0D=0Aand tea\r\nEND:VNOTE\r\n");
  EXPECT_THAT(strict.report.guessed, ElementsAre(Pair("name of the note", 1)));
}

TEST(StrictNote, CutsANameThatItMakesAtAWord) {
  EXPECT_EQ(StrictLines("BODY:" + std::string(50, 'a') + " bbbb cccccc\r\n"),
            "SUMMARY:" + std::string(50, 'a') + " bbbb\r\nBODY:" + std::string(50, 'a') +
                " bbbb cccccc\r\n");
  EXPECT_EQ(StrictLines("BODY:" + std::string(70, 'a') + "\r\n"),
            "SUMMARY:" + std::string(60, 'a') + "\r\nBODY:" + std::string(70, 'a') + "\r\n");
}

TEST(StrictNote, TakesItsNameFromItsDateWhenThereIsNoText) {
  EXPECT_EQ(StrictLines("DCREATED:20200102T030405\r\n"),
            "DCREATED:20200102T030405\r\nSUMMARY:Note 20200102T030405\r\n");
  EXPECT_EQ(StrictLines(""), "SUMMARY:Note\r\n");
}

TEST(StrictNote, GetsAnotherNameWhenNoFileCouldHaveIts) {
  EXPECT_EQ(StrictLines("SUMMARY:???\r\nBODY:Milk\r\n"), "SUMMARY:Milk\r\nBODY:Milk\r\n");
}

TEST(StrictNote, KeepsWhatStandsBehindASemicolon) {
  EXPECT_EQ(StrictLines("SUMMARY:a\r\nBODY:one; two\r\n"), "SUMMARY:a\r\nBODY:one\\; two\r\n");
}

TEST(StrictNote, DeclaresUtf8) {
  EXPECT_EQ(StrictLines("SUMMARY:a\r\nBODY:\xC3\xA4\r\n"),
            "SUMMARY:a\r\nBODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A4\r\n");
}

TEST(StrictNote, TakesBase64ThatIsNoUtf8ForTheSettingsCharacterSet) {
  const StrictObject strict = Strict("VERSION:1.1\r\nSUMMARY:a\r\nBODY;ENCODING=BASE64:5A==\r\n");
  EXPECT_THAT(strict.text,
              ::testing::HasSubstr("BODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A4\r\n"));
  EXPECT_THAT(strict.report.guessed, ElementsAre(Pair("character set", 1)));
}

TEST(StrictNote, TakesCategoriesBetweenSemicolons) {
  EXPECT_EQ(StrictLines("SUMMARY:a\r\nCATEGORIES:Home;Food\r\n"),
            "SUMMARY:a\r\nCATEGORIES:Home,Food\r\n");
}

TEST(StrictNote, JoinsTwoBodies) {
  EXPECT_EQ(StrictLines("SUMMARY:a\r\nBODY:x\r\nBODY:y\r\n"),
            "SUMMARY:a\r\nBODY;ENCODING=QUOTED-PRINTABLE:x=0D=0A=0D=0Ay\r\n");
}

TEST(StrictNote, LosesTheBlanksOfAFoldBeforeItsText) {
  EXPECT_EQ(StrictLines("SUMMARY:a\r\nBODY;QUOTED-PRINTABLE:\r\n    x=\r\ny\r\n"),
            "SUMMARY:a\r\nBODY:xy\r\n");
}

TEST(StrictNote, ReportsWhatItHasNoPlaceFor) {
  const StrictObject strict =
      Strict("VERSION:1.1\r\nSUMMARY:a\r\nSUMMARY:b\r\nX-COLOR:red\r\nUID:1 2\r\njunk\r\n");
  EXPECT_THAT(strict.report.dropped,
              ElementsAre(Pair("SUMMARY", 1), Pair("X-COLOR", 1), Pair("line without a colon", 1)));
  EXPECT_EQ(strict.uid, "1 2");
}

// The reader takes an identity as it stands: no encoding could bring another one to it.
TEST(StrictNote, KeepsAnIdentityThatTheReaderTakesAsItStands) {
  const auto is_kept = [](const std::string& luid) {
    Note note;
    note.summary = "a";
    note.luid = luid;
    Report report;
    const std::string text = StrictNoteText(note, report);
    EXPECT_EQ(report.dropped.count("X-IRMC-LUID") == 0, text.find("LUID") != std::string::npos);
    return text.find("X-IRMC-LUID:" + luid + "\r\n") != std::string::npos;
  };
  EXPECT_TRUE(is_kept("a;b=c \\"));
  EXPECT_TRUE(is_kept(std::string(511, 'a')));
  EXPECT_FALSE(is_kept(std::string(512, 'a')));
  EXPECT_FALSE(is_kept("\xC3\xA4"));
  EXPECT_FALSE(is_kept("a\tb"));
  EXPECT_FALSE(is_kept("a="));
}

TEST(StrictNote, OfAFileHasANameOfItsOwn) {
  NoteNames names;
  std::string summaries;
  for (const char* summary : {"Milk", "milk", "Mi?lk", "Tea", "Milk (2)"}) {
    const ObjectText object = Object("VERSION:1.1\r\nSUMMARY:" + std::string(summary) + "\r\n");
    const StrictObject strict = StrictNotes(object, TextSettings(), names).front();
    const size_t begin = strict.text.find("SUMMARY:") + 8;
    summaries += strict.text.substr(begin, strict.text.find('\r', begin) - begin) + ",";
  }
  EXPECT_EQ(summaries, "Milk,milk (2),Mi?lk (3),Tea,Milk (2) (2),");
}

TEST(StrictNote, OfATooLargeObjectIsRefused) {
  ObjectText object;
  object.kind = ObjectKind::kNote;
  object.refusal = "it is too large";
  const StrictObject strict = StrictNotes(object, TextSettings()).front();
  EXPECT_EQ(strict.refusal, "it is too large");
  EXPECT_THAT(strict.text, IsEmpty());
}

// ---- What the library reads ---------------------------------------------------------------------------------

std::string Decoded(PropertyValue* value) { return ToUtf8(DecodedText(value, 0)); }

TEST(StrictNote, IsReadByTheLibraryWithItsTexts) {
  const StrictObject strict = Strict(
      "SUBJECT;CHARSET=utf8;ENCODING=Q:caf=C3=A9; bar\r\nBODY;CHARSET=UTF-8:\xE2\x82\xAC "
      "5=\r\nX-A:1\r\n");
  strict_reading::ReadOne(strict.text, [](OsifObject& object) {
    EXPECT_EQ(Decoded(object.note.summary), "caf\xC3\xA9; bar");
    EXPECT_EQ(Decoded(object.note.body), "\xE2\x82\xAC 5=");
  });
}

TEST(StrictNote, OfARealFileIsReadWhole) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  size_t count = 0;
  for (const auto& path : strict_reading::CorpusFiles("vnote")) {
    SCOPED_TRACE(path.string());
    NoteNames names;
    for (const ObjectText& object : strict_reading::ObjectsOf(path)) {
      ++count;
      Report report;
      const Note note = ReadNote(object, TextSettings(), report);
      const StrictObject strict = StrictNotes(object, TextSettings(), names).front();
      strict_reading::ReadOne(strict.text, [&](OsifObject& record) {
        EXPECT_FALSE(Decoded(record.note.summary).empty());
        EXPECT_EQ(WithLineFeeds(Decoded(record.note.body)), WithLineFeeds(note.body));
      });
    }
  }
  EXPECT_GE(count, 17u);
}

// ---- Writing ------------------------------------------------------------------------------------------------

std::string Written(Form form, std::string_view lines) {
  const WriterSettings settings;
  const auto writer = MakeNoteWriter(form, settings);
  return writer->Begin() + writer->Write(Object(lines)).text + writer->End();
}

TEST(NoteWriter, HasNoOtherForms) {
  const WriterSettings settings;
  EXPECT_EQ(MakeNoteWriter(Form::kEml, settings), nullptr);
  EXPECT_EQ(MakeNoteWriter(Form::kVCard21, settings), nullptr);
}

TEST(NoteWriter, WritesStrictNotesWithNamesOfTheirOwn) {
  const WriterSettings settings;
  const auto writer = MakeNoteWriter(Form::kVNote, settings);
  const ObjectText object = Object("SUMMARY:a\nBODY:b;c\n");
  EXPECT_EQ(writer->Write(object).text,
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:a\r\nBODY:b\\;c\r\nEND:VNOTE\r\n");
  EXPECT_EQ(writer->Write(object).text,
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:a (2)\r\nBODY:b\\;c\r\nEND:VNOTE\r\n");
}

TEST(NoteWriter, WritesTextForPeople) {
  EXPECT_EQ(
      Written(Form::kText,
              "SUMMARY:Milk\nDCREATED:20200102\nBODY;QUOTED-PRINTABLE:one=0D=0Atwo\nCLASS:\n"),
      "Note: Milk\nCreated: 20200102\n\none\ntwo\n\n");
}

TEST(NoteWriter, WritesAPageForPeople) {
  EXPECT_EQ(
      Written(Form::kHtml, "SUMMARY:a<b\nBODY;QUOTED-PRINTABLE:x&y=0Az=01\n"),
      "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>Notes</title>\n</head>\n"
      "<body>\n<article>\n<dl>\n<dt>Note</dt><dd>a&lt;b</dd>\n</dl>\n<p>x&amp;y<br>\nz</p>\n"
      "</article>\n</body>\n</html>\n");
}

TEST(NoteWriter, RefusesWhatHasNoText) {
  ObjectText object;
  object.refusal = "it is too large";
  const WriterSettings settings;
  const WrittenObject written = MakeNoteWriter(Form::kText, settings)->Write(object);
  EXPECT_EQ(written.refusal, "it is too large");
  EXPECT_THAT(written.text, IsEmpty());
}

RC_GTEST_PROP(StrictNote, HasAnyTextThatWasEncoded, ()) {
  const auto text =
      *rc::gen::container<std::string>(rc::gen::elementOf(std::string("a ;\\=:\n\t.Z")));
  Note note;
  note.summary = "x";
  note.body = text;
  Report report;
  const ObjectText object{ObjectKind::kNote, StrictNoteText(note, report)};
  std::string expected;
  for (const char c : text) expected += c == '\n' ? std::string("\r\n") : std::string(1, c);
  RC_ASSERT(ReadNote(object, TextSettings(), report).body == expected);
  RC_ASSERT(report.IsEmpty());
}

}  // namespace
}  // namespace note_test
