// Cards that nobody writes by accident: whatever they are made of, they cost no more than their size, and what comes
// out of them is read by the library.
#include <chrono>

#include "tests/dialects/card_text.h"
#include "tests/dialects/strict_reading.h"
#include "tests/support/bytes.h"
#include "tests/support/time_limit.h"

namespace card_hostile_test {
namespace {

using card_text::Strict;
using card_text::Written;
using dialects::Form;
using dialects::ObjectKind;
using dialects::ObjectText;
using dialects::StrictObject;

ObjectText Hostile(const std::string& version, const std::string& lines) {
  ObjectText object;
  object.kind = ObjectKind::kCard;
  object.text = "BEGIN:VCARD\r\nVERSION:" + version + "\r\nN:Lee;Ann\r\n" + lines + "END:VCARD\r\n";
  return object;
}

// Each one is much of the same: `begin`, many of `piece`, `end`. A "#" in the piece is a number of its own.
struct Row {
  std::string name;
  std::string begin;
  std::string piece;
  std::string end;
};

std::string TextOf(const Row& row, size_t size) {
  std::string text = row.begin;
  const size_t mark = row.piece.find('#');
  for (size_t i = 0; text.size() < size; ++i) {
    std::string piece = row.piece;
    if (mark != std::string::npos) piece.replace(mark, 1, std::to_string(i));
    text += piece;
  }
  return text + row.end;
}

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {"numbers", "", "TEL;HOME:#\r\n", ""},
      {"preferences", "", "TEL;PREF=#:1\r\n", ""},
      {"addresses", "", "ADR;HOME:;;Street #;;;;\r\n", ""},
      {"labels", "", "ADR;TYPE=home;LABEL=\"x#\":;;x;;;;\r\n", ""},
      {"kinds of labels", "", "LABEL;TYPE=A#:x\r\n", ""},
      {"mail", "", "EMAIL:a#@x.example\r\n", ""},
      {"other mail", "", "EMAIL;X400:#\r\n", ""},
      {"pages", "", "URL:http://x.example/#\r\n", ""},
      {"notes", "", "NOTE:#\r\n", ""},
      {"names", "", "N:#\r\n", ""},
      {"organisations", "", "ORG:#;x\r\n", ""},
      {"departments", "", "DEPT:#\r\n", ""},
      {"roles", "", "ROLE:#\r\n", ""},
      {"agents", "", "AGENT:#\r\n", ""},
      {"open agents", "", "AGENT:\r\nBEGIN:VCARD\r\nN:x\r\n", ""},
      {"agents on one line", "", "AGENT:BEGIN:VCARD\r\nN:x\r\n", ""},
      {"agents' cards", "", "AGENT:\r\nBEGIN:VCARD\r\nN:x\r\nEND:VCARD\r\n", ""},
      {"objects", "", "BEGIN:X\r\n", ""},
      {"groups", "", "g#.TEL:1\r\n", "g1.X-ABLabel:Boat\r\n"},
      {"children of many parameters", "X-CHILDREN;A=" + std::string(30'000, 'a') + ":", "#,",
       "\r\n"},
      {"a long label", "g.X-ABLabel:" + std::string(30'000, 'a') + "\r\n", "g.TEL:#\r\n", ""},
      {"labels of groups", "g.TEL:1\r\n", "g.X-ABLabel:#\r\n", ""},
      {"languages", "", "TITLE;ALTID=#:x\r\n", ""},
      {"categories", "CATEGORIES:", "#,", "\r\n"},
      {"children", "X-CHILDREN:", "#,", "\r\n"},
      {"relations", "", "RELATED;TYPE=child;VALUE=text:#\r\n", ""},
      {"unknown names", "", "X-A#:x\r\n", ""},
      {"pictures", "", "PHOTO;ENCODING=BASE64:AAA=\r\n", ""},
      {"pictures in addresses", "", "PHOTO:data:image/jpeg;base64,AAAA\r\n", ""},
      {"lines that are none", "", "x\r\n", ""},
      {"carriage returns", "", "X:x\r", ""},
      {"parameters", "TEL", ";A#=b", ":1\r\n"},
      {"kinds", "TEL", ";TYPE=A#", ":1\r\n"},
      {"kinds of a list", "TEL;TYPE=", "a#,", ":1\r\n"},
      {"quotes", "TEL;X=", "\"", ":1\r\n"},
      {"dots", "", "a.", "TEL:1\r\n"},
      {"components", "ADR:", "x;", "\r\n"},
      {"lists", "N:", "x,", "\r\n"},
      {"backslashes", "NOTE:", "\\", "\r\n"},
      {"escaped components", "N:", "\\;", "\r\n"},
      {"escaped bytes", "NOTE;ENCODING=QUOTED-PRINTABLE:", "=41", "\r\n"},
      {"equals signs", "NOTE;ENCODING=QUOTED-PRINTABLE:", "=", "x\r\n"},
      {"soft breaks", "NOTE;ENCODING=QUOTED-PRINTABLE:", "a=\r\n", "\r\n"},
      {"soft folds", "NOTE;ENCODING=QUOTED-PRINTABLE:", "a=\r\n ", "\r\n"},
      {"tails", "NOTE;ENCODING=QUOTED-PRINTABLE:x\r\n", "tail\r\n", ""},
      {"tails of base64", "NOTE;ENCODING=BASE64:AAAA\r\n", "AAAA\r\n", "\r\n"},
      {"folds", "NOTE:x\r\n", " x\r\n", ""},
      {"folds without a value", "NOTE\r\n", " ;x\r\n", " :x\r\n"},
      {"broken characters", "NOTE:", "\xC3", "\r\n"},
      {"second bytes", "N;ENCODING=QUOTED-PRINTABLE;CHARSET=SHIFT_JIS:", "=94\\;", "\r\n"},
      {"zero bytes", "NOTE:", std::string("\0x", 2), "\r\n"},
      {"encoded line breaks", "NOTE:", "=0D=0A", "\r\n"},
      {"carets", "ADR;LABEL=\"", "^n", "\":;;x;;;;\r\n"},
      {"blanks", "NOTE;ENCODING=QUOTED-PRINTABLE:=41", " ", "x\r\n"},
      {"ends", "NOTE:", "END:V", "\r\n"},
  };
  return rows;
}

class HostileCards : public testing::TestWithParam<std::string> {};

// What looks at bytes again and again takes minutes for these.
TEST_P(HostileCards, CostNoMoreThanTheirSize) {
  constexpr size_t kSize = 100'000;
  for (const Row& row : Rows()) {
    const ObjectText object = Hostile(GetParam(), TextOf(row, kSize));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_NE(Written(Form::kVCard40, object).text, "");
    for (const StrictObject& strict : dialects::StrictCards(object, {})) {
      EXPECT_NE(strict.text.empty(), strict.refusal.empty()) << row.name;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, support::TimeLimit(20)) << row.name;
  }
}

TEST_P(HostileCards, BecomeCardsThatTheLibraryReads) {
  constexpr size_t kSize = 2000;
  for (const Row& row : Rows()) {
    for (const StrictObject& strict :
         dialects::StrictCards(Hostile(GetParam(), TextOf(row, kSize)), {})) {
      ASSERT_NE(strict.text.empty(), strict.refusal.empty()) << row.name;
      if (strict.text.empty()) continue;
      strict_reading::ReadOne(strict.text, [](OsifObject&) {});
      ObjectText again;
      again.text = strict.text;
      EXPECT_TRUE(Strict(again).text == strict.text) << row.name;
    }
  }
}

TEST_P(HostileCards, GoOutAsTheSameTextWhenTheyAreWrittenAgain) {
  constexpr size_t kSize = 2000;
  for (const Row& row : Rows()) {
    for (const Form form : {Form::kVCard21, Form::kVCard30, Form::kVCard40}) {
      ObjectText once;
      once.text = Written(form, Hostile(GetParam(), TextOf(row, kSize))).text;
      ObjectText twice;
      twice.text = Written(form, once).text;
      EXPECT_TRUE(Written(form, twice).text == twice.text) << row.name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(OfEachVersion, HostileCards, testing::Values("2.1", "3.0", "4.0"));

TEST(EnormousCards, KeepTheirTexts) {
  const std::string text = support::Repeated("word ", 400000) + ".";
  const StrictObject strict = Strict(Hostile("3.0", "NOTE:" + text + "\r\n"));
  std::string kept = strict.text.substr(strict.text.find("NOTE:") + 5);
  kept.erase(kept.find("\r\n"));
  EXPECT_EQ(kept, text);
}

}  // namespace
}  // namespace card_hostile_test
