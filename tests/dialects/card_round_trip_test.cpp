// What a card says survives every way from one version to another and back, whatever its texts are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>

#include "dialects/card.h"
#include "dialects/value_text.h"
#include "tests/dialects/card_text.h"
#include "tests/support/corpus.h"

namespace card_round_trip_test {
namespace {

using dialects::CardProperty;
using dialects::Form;
using dialects::ObjectText;

ObjectText AsObject(std::string text) {
  ObjectText object;
  object.kind = dialects::ObjectKind::kCard;
  object.text = std::move(text);
  return object;
}

// One property a line, for comparing.
std::vector<std::string> Shown(const ObjectText& object) {
  dialects::Report report;
  std::vector<std::string> shown;
  for (const CardProperty& property : dialects::ReadCard(object, {}, report).properties) {
    std::string text = property.group + "." + property.name;
    for (const std::string& type : property.types) text += ";" + type;
    for (const auto& [name, value] : property.params) text += ";" + name + "=" + value;
    text += ";" + std::to_string(property.preference) + ";" + property.label;
    for (const std::string& component : property.components) text += "|" + component;
    shown.push_back(text);
  }
  return shown;
}

ObjectText In(Form form, const ObjectText& object) {
  return AsObject(card_text::Written(form, object).text);
}

// Texts with all that has a meaning anywhere.
std::string AnyText() {
  static const std::vector<std::string> pieces = {
      "a",         "B",  " ", ";",      ",", ":", "\\",       "\n",           "=",
      "\"",        "^",  "n", "=0D=0A", ".", "-", "\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
      "END:VCARD", "x=", "\t"};
  std::string text;
  for (const std::string& piece :
       *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(pieces))) {
    text += piece;
  }
  return text;
}

std::vector<std::string> AnyTexts(size_t count) {
  std::vector<std::string> texts;
  for (size_t i = 0; i < count; ++i) texts.push_back(AnyText());
  return texts;
}

// A card of 2.1 of any texts, with a name that no version has to make anything of.
ObjectText AnyCard() {
  std::string text = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann;;;\r\nFN:Ann Lee\r\n";
  struct Row {
    std::string_view head;
    size_t components;
  };
  static const std::vector<Row> rows = {{"TEL;HOME;VOICE", 1},
                                        {"TEL;CAR;PREF", 1},
                                        {"TEL;TYPE=X-FOO", 1},
                                        {"EMAIL;INTERNET", 1},
                                        {"ADR;WORK", 7},
                                        {"ADR;HOME;DOM", 7},
                                        {"ORG", 3},
                                        {"NOTE", 1},
                                        {"TITLE;LANGUAGE=de", 1},
                                        {"X-FOO", 2},
                                        {"X-SPOUSE", 1},
                                        {"a.MAILER", 1},
                                        {"X-GENDER", 1},
                                        {"PRODID", 1},
                                        {"X-FOO;X-BAR=1", 1}};
  for (const Row& row : *rc::gen::container<std::vector<Row>>(rc::gen::elementOf(rows))) {
    text += dialects::OldLine(row.head, AnyTexts(row.components));
  }
  return AsObject(text + "END:VCARD\r\n");
}

void ExpectSameOver(Form form, const ObjectText& card) {
  const ObjectText over = In(form, card);
  const ObjectText back = In(Form::kVCard21, over);
  RC_LOG() << card.text << over.text << back.text;
  RC_ASSERT(Shown(back) == Shown(card));
}

RC_GTEST_PROP(CardRoundTrip, Of21Over40EndsWhereItBegan, ()) {
  const ObjectText card = AnyCard();
  ExpectSameOver(Form::kVCard40, card);
}

RC_GTEST_PROP(CardRoundTrip, Of21Over30EndsWhereItBegan, ()) {
  const ObjectText card = AnyCard();
  ExpectSameOver(Form::kVCard30, card);
}

RC_GTEST_PROP(CardRoundTrip, IsTheSameTextTheSecondTime, ()) {
  const ObjectText card = AnyCard();
  const ObjectText once = In(Form::kVCard40, card);
  RC_LOG() << card.text << once.text;
  RC_ASSERT(In(Form::kVCard40, once).text == once.text);
}

RC_GTEST_PROP(StrictCardsOfAnyTexts, AreTheSameTheSecondTime, ()) {
  const dialects::StrictObject once = card_text::Strict(AnyCard());
  RC_LOG() << once.text;
  RC_ASSERT(once.refusal.empty());
  const dialects::StrictObject twice = card_text::Strict(AsObject(once.text));
  RC_ASSERT(twice.text == once.text);
}

}  // namespace
}  // namespace card_round_trip_test
