// A record that is written as a vNote is read back with the same texts, whatever they are.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <iterator>
#include <string>
#include <vector>

#include "btosif/osif_generators/vnote_writer.h"
#include "btosif/osif_parsers/vnote_reader.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "tests/support/files.h"
#include "tests/support/random_text.h"
#include "tests/support/text_test.h"

namespace vnote_round_trip_test {
namespace {

using Texts = std::vector<WideText>;

constexpr PropertyValue* OsifNote::*kLists[] = {&OsifNote::dCreated,   &OsifNote::lastModified,
                                                &OsifNote::categories, &OsifNote::class_,
                                                &OsifNote::body,       &OsifNote::summary};

// What a vNote carries: an id and the values of each list.
struct NoteTexts {
  std::string luid;
  std::vector<Texts> lists = std::vector<Texts>(std::size(kLists));

  bool operator==(const NoteTexts&) const = default;
};

std::string WrittenNote(const NoteTexts& texts, uint32_t encode_flags) {
  OwnedObject object(OSIF_STORE_NOTE);
  CopyBounded(object->version, "1.1");
  CopyBounded(object->xIrmcLuid, texts.luid);
  for (size_t list = 0; list < std::size(kLists); ++list) {
    for (const WideText& text : texts.lists[list]) {
      PropertyValue_SetText(text, PropertyValue_Append(object->note.*kLists[list]), encode_flags,
                            0);
    }
  }
  return support::BytesWritten([&](OsifStream& stream) { VNote_Write(stream, *object, 1); });
}

// The notes of a file.
std::vector<NoteTexts> ReadNotes(const std::string& bytes) {
  std::vector<NoteTexts> notes;
  const auto keep = [](int32_t store_id, OsifObject* object, OsifResult result,
                       void* context) -> int32_t {
    EXPECT_EQ(store_id, OSIF_STORE_NOTE);
    EXPECT_EQ(result, OsifResult{OSIF_PARSE_OK});
    EXPECT_STREQ(object->version, "1.1");
    NoteTexts texts{object->xIrmcLuid};
    for (size_t list = 0; list < std::size(kLists); ++list) {
      for (PropertyValue* value = object->note.*kLists[list]; value != nullptr;
           value = value->next) {
        texts.lists[list].push_back(DecodedText(value));
      }
    }
    static_cast<std::vector<NoteTexts>*>(context)->push_back(texts);
    return 0;
  };
  OsifStream stream = support::OpenBytes(bytes);
  EXPECT_EQ(VNote_ReadFile(stream, keep, &notes), OsifResult{OSIF_PARSE_OK});
  return notes;
}

// Any texts, a few in each list; at least one body, since a note without one is written with an empty one.
NoteTexts AnyNote() {
  NoteTexts note;
  note.luid = *rc::gen::container<std::string>(rc::gen::inRange<char>('!', '<'));
  for (Texts& list : note.lists) {
    list = *rc::gen::container<Texts>(*rc::gen::inRange(0, 6), support::AnyWideText());
  }
  Texts& bodies = note.lists[4];
  if (bodies.empty()) bodies.push_back(*support::AnyWideText());
  return note;
}

class VNoteRoundTrip : public support::TextTest {};

TEST_F(VNoteRoundTrip, AnyTextsComeBack) {
  EXPECT_TRUE(rc::check([] {
    const NoteTexts note = AnyNote();
    const uint32_t encode_flags = *rc::gen::element(0u, kEncodeQuotedPrintable);
    RC_ASSERT(ReadNotes(WrittenNote(note, encode_flags)) == std::vector<NoteTexts>{note});
  }));
}

TEST_F(VNoteRoundTrip, SeveralNotesOfAFileComeBackInTheirOrder) {
  EXPECT_TRUE(rc::check([] {
    const std::vector<NoteTexts> notes = {AnyNote(), AnyNote(), AnyNote()};
    std::string bytes;
    for (const NoteTexts& note : notes) bytes += WrittenNote(note, kEncodeQuotedPrintable);
    RC_ASSERT(ReadNotes(bytes) == notes);
  }));
}

// Bytes that are no vNote at all, and those that nearly are one.
TEST_F(VNoteRoundTrip, AnyLinesAreReadToAResult) {
  EXPECT_TRUE(rc::check([] {
    const auto line = rc::gen::element<std::string>(
        "BEGIN:VNOTE", "END:VNOTE", "VERSION:1.1", "VERSION:9", "BODY:x", "BODY;=:=", "", "=", " x",
        ":", ";", "BEGIN:X", "END", "X-IRMC-LUID:\\", "SUMMARY;CHARSET=:\xFF");
    std::string bytes;
    for (const std::string& text : *rc::gen::container<std::vector<std::string>>(line)) {
      bytes += text + "\n";
    }
    OsifStream stream = support::OpenBytes(bytes);
    const OsifResult result = VNote_ReadFile(stream, nullptr, nullptr);
    RC_ASSERT(result == OsifResult{OSIF_PARSE_OK} || result == OsifResult{OSIF_PARSE_WARNING} ||
              result == OsifResult{OSIF_PARSE_ERROR});
  }));
}

}  // namespace
}  // namespace vnote_round_trip_test
