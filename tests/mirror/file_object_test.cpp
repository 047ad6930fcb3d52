#include "mirror/file_object.h"

#include <gmock/gmock.h>

#include "osif.h"
#include "tests/support/text_test.h"

namespace file_object_test {
namespace {

using mirror::FileNameOf;
using mirror::FileObject;
using mirror::MakeUid;
using mirror::ReadFileObject;
using mirror::UidOfFile;
using mirror::WithUid;
using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kCard =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:c1\r\nN:Lee;Ann;;;\r\nFN:Ann Lee\r\nTEL;TYPE=cell:+1 234\r\n"
    "PHOTO;ENCODING=b;TYPE=JPEG:AAAA\r\nEND:VCARD\r\n";

std::string Event(std::string_view lines) {
  return "BEGIN:VEVENT\r\nDTSTART:20270105T100000Z\r\nDTEND:20270105T110000Z\r\nSUMMARY:Tea\r\n" +
         std::string(lines) + "END:VEVENT\r\n";
}

std::string Calendar(std::string_view components) {
  return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:x\r\n" + std::string(components) +
         "END:VCALENDAR\r\n";
}

class MirroredFile : public support::TextTest {};

TEST_F(MirroredFile, OfACardGivesItsUidAndWhatTheStoreTakes) {
  const FileObject file = ReadFileObject(OSIF_STORE_PB, kCard);
  EXPECT_EQ(file.refusal, "");
  EXPECT_EQ(file.uid, "c1");
  EXPECT_EQ(file.stays, "");
  EXPECT_THAT(file.strict, HasSubstr("VERSION:2.1"));
  EXPECT_THAT(file.strict, HasSubstr("N:Lee;Ann"));
}

TEST_F(MirroredFile, WithoutAUidIsReadAllTheSame) {
  const FileObject card =
      ReadFileObject(OSIF_STORE_PB, "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann\nEND:VCARD\n");
  EXPECT_EQ(card.refusal, "");
  EXPECT_EQ(card.uid, "");
  EXPECT_THAT(card.strict, HasSubstr("N:Lee;Ann"));
  const FileObject event = ReadFileObject(OSIF_STORE_CAL, Calendar(Event("")));
  EXPECT_EQ(event.refusal, "");
  EXPECT_EQ(event.uid, "");
  EXPECT_THAT(event.strict, HasSubstr("SUMMARY:Tea"));
}

TEST_F(MirroredFile, IsRefusedWithAReason) {
  const std::string two = std::string(kCard) + std::string(kCard);
  EXPECT_EQ(ReadFileObject(OSIF_STORE_PB, "").refusal, "holds no card");
  EXPECT_EQ(ReadFileObject(OSIF_STORE_PB, "hello\n").refusal, "holds no card");
  EXPECT_EQ(ReadFileObject(OSIF_STORE_PB, Calendar(Event(""))).refusal, "holds no card");
  EXPECT_EQ(ReadFileObject(OSIF_STORE_CAL, kCard).refusal, "holds no calendar");
  EXPECT_EQ(ReadFileObject(OSIF_STORE_PB, two).refusal, "holds more than one object");
  EXPECT_EQ(ReadFileObject(OSIF_STORE_PB, "BEGIN:VCARD\nN:M\xFCller\nEND:VCARD\n").refusal,
            "is not UTF-8");
  EXPECT_EQ(
      ReadFileObject(OSIF_STORE_CAL, Calendar(Event("UID:a\r\n") + Event("UID:b\r\n"))).refusal,
      "holds objects of several UIDs");
}

TEST_F(MirroredFile, OfASeriesWithAChangedOccurrenceGivesTheSeriesWhicheverStandsFirst) {
  const std::string series = Event("UID:u\r\nRRULE:FREQ=DAILY;COUNT=3\r\n");
  const std::string changed =
      "BEGIN:VEVENT\r\nUID:u\r\nRECURRENCE-ID:20270106T100000Z\r\nDTSTART:20270106T150000Z\r\n"
      "DTEND:20270106T160000Z\r\nSUMMARY:Late tea\r\nEND:VEVENT\r\n";
  for (const std::string& text : {Calendar(series + changed), Calendar(changed + series)}) {
    const FileObject file = ReadFileObject(OSIF_STORE_CAL, text);
    EXPECT_EQ(file.uid, "u");
    EXPECT_EQ(file.stays, "1 changed occurrence stays in the file");
    EXPECT_THAT(file.strict, HasSubstr("SUMMARY:Tea"));
    EXPECT_THAT(file.strict, HasSubstr("EXDATE:20270106T100000"));
    EXPECT_THAT(file.strict, Not(HasSubstr("Late")));
  }
}

TEST_F(MirroredFile, OfASeriesThatTheStoreCannotHoldStaysAlone) {
  const FileObject file = ReadFileObject(
      OSIF_STORE_CAL, Calendar(Event("UID:u\r\nRRULE:FREQ=MONTHLY;BYMONTHDAY=1,15;COUNT=6\r\n"
                                     "RDATE:20270120T170000Z\r\n")));
  EXPECT_EQ(file.refusal, "");
  EXPECT_EQ(file.uid, "u");
  EXPECT_EQ(file.strict, "");
  EXPECT_EQ(file.stays, "stays in the file: the store cannot hold its recurrence");
}

TEST_F(MirroredFile, OfSeveralItemsWithoutAUidIsRefused) {
  EXPECT_EQ(ReadFileObject(OSIF_STORE_CAL, Calendar(Event("") + Event(""))).refusal,
            "holds more than one object");
}

TEST_F(MirroredFile, OfAJournalEntryStaysAlone) {
  const FileObject file = ReadFileObject(
      OSIF_STORE_CAL, Calendar("BEGIN:VJOURNAL\r\nUID:j\r\nDTSTART:20270105T100000Z\r\nSUMMARY:"
                               "Day\r\nEND:VJOURNAL\r\n"));
  EXPECT_EQ(file.strict, "");
  EXPECT_EQ(file.stays, "stays in the file: it is a journal entry");
}

TEST_F(MirroredFile, HasTheUidOfItsItemAndNotOfWhatLiesInside) {
  const std::string alarm =
      "BEGIN:VALARM\r\nUID:alarm\r\nACTION:DISPLAY\r\nTRIGGER:-PT5M\r\nEND:VALARM\r\n";
  EXPECT_EQ(UidOfFile(OSIF_STORE_CAL, Calendar(Event(alarm + "UID:own\r\n"))), "own");
  EXPECT_EQ(UidOfFile(OSIF_STORE_CAL, Calendar(Event(alarm))), "");
  EXPECT_EQ(UidOfFile(OSIF_STORE_PB, kCard), "c1");
  EXPECT_EQ(UidOfFile(OSIF_STORE_PB, "BEGIN:VCARD\nUID:a\\,b\\;c\nEND:VCARD\n"), "a,b;c");
}

TEST_F(MirroredFile, GetsAUidAndStaysAsItIsOtherwise) {
  EXPECT_EQ(WithUid(OSIF_STORE_PB, "BEGIN:VCARD\nVERSION:3.0\nFN:A\nEND:VCARD\n\n", "u,1"),
            "BEGIN:VCARD\nVERSION:3.0\nFN:A\nUID:u\\,1\nEND:VCARD\n\n");
  EXPECT_EQ(WithUid(OSIF_STORE_CAL, Calendar(Event("")), "u1"),
            "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:x\r\nBEGIN:VEVENT\r\nUID:u1\r\n"
            "DTSTART:20270105T100000Z\r\nDTEND:20270105T110000Z\r\nSUMMARY:Tea\r\nEND:VEVENT\r\n"
            "END:VCALENDAR\r\n");
  EXPECT_EQ(WithUid(OSIF_STORE_PB, "nothing", "u1"), "nothing");
}

TEST(MadeUid, IsTheSameForTheSameFileAndNoOther) {
  EXPECT_EQ(MakeUid("a.vcf", "text"), MakeUid("a.vcf", "text"));
  EXPECT_NE(MakeUid("a.vcf", "text"), MakeUid("b.vcf", "text"));
  EXPECT_NE(MakeUid("a.vcf", "text"), MakeUid("a.vcf", "texu"));
  EXPECT_NE(MakeUid("a", "btext"), MakeUid("ab", "text"));
  // printf 'a\0b' | sha256sum
  EXPECT_EQ(MakeUid("a", "b"), "osif-59b271ae1bbcb1d31d41929817f4b16f");
}

TEST(NameOfANewFile, IsItsUidWhereThatIsAPlainWord) {
  EXPECT_EQ(FileNameOf(OSIF_STORE_PB, "aZ0_.-+", "other"), "aZ0_.-+.vcf");
  EXPECT_EQ(FileNameOf(OSIF_STORE_CAL, "u1", "other"), "u1.ics");
  for (const char* uid : {"", "a/b", "../x", ".hidden", "a b", "\xC3\xA4", "a@b", "a\nb"}) {
    EXPECT_EQ(FileNameOf(OSIF_STORE_PB, uid, "other"), "other.vcf") << uid;
  }
  EXPECT_EQ(FileNameOf(OSIF_STORE_PB, std::string(200, 'u'), "other"),
            std::string(200, 'u') + ".vcf");
  EXPECT_EQ(FileNameOf(OSIF_STORE_PB, std::string(201, 'u'), "other"), "other.vcf");
}

}  // namespace
}  // namespace file_object_test
