// Real cards are stored whole: each goes through the rules, the library's reader and a store, and comes back with every
// name, number, address and text that it had, or the report says why not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "dialects/card.h"
#include "dialects/card_derive.h"
#include "dialects/card_plain.h"
#include "dialects/content_line.h"
#include "platform/utf8.h"
#include "tests/dialects/card_text.h"
#include "tests/support/corpus.h"
#include "tests/support/osif_fixture.h"

namespace corpus_cards_test {
namespace {

using dialects::CardProperty;
using dialects::ObjectText;
using dialects::Report;
using dialects::StrictObject;

struct CorpusCard {
  std::string file;
  ObjectText object;
};

std::string Contents(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

// The cards of a file, each from its BEGIN to its END.
std::vector<CorpusCard> CardsOf(const std::filesystem::path& path) {
  const std::string bytes = Contents(path);
  std::string_view rest = bytes;
  CorpusCard card{path.filename().string(), {}};
  card.object.kind = dialects::ObjectKind::kCard;
  if (rest.starts_with("\xEF\xBB\xBF")) {
    rest.remove_prefix(3);
    card.object.has_byte_order_mark = true;
  }
  std::vector<CorpusCard> cards;
  int depth = 0;
  for (uint64_t number = 1; !rest.empty(); ++number) {
    const std::string_view before = rest;
    const std::string_view line = dialects::TakePhysicalLine(rest);
    std::string what;
    if (dialects::IsFrameLine(line, "BEGIN", what) && what == "VCARD" && depth++ == 0) {
      card.object.text.clear();
      card.object.line = number;
    }
    if (depth > 0) card.object.text += before.substr(0, before.size() - rest.size());
    if (dialects::IsFrameLine(line, "END", what) && what == "VCARD" && depth > 0 && --depth == 0) {
      cards.push_back(card);
    }
  }
  return cards;
}

std::vector<CorpusCard> AllCards() {
  std::vector<CorpusCard> all;
  for (const char* folder : {"vcard", "vcard-new"}) {
    for (const auto& entry :
         std::filesystem::directory_iterator(support::CorpusFolder() + "/" + folder)) {
      for (CorpusCard& card : CardsOf(entry.path())) all.push_back(std::move(card));
    }
  }
  return all;
}

// What is compared of a text: line breaks and blanks may be of another kind.
std::string Bare(std::string_view text) {
  std::string bare(text);
  std::erase_if(bare, [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == dialects::kListSeparator;
  });
  return bare;
}

// All texts that a record of a contact has, one after the other.
std::string TextsOf(OsifObject& object) {
  std::string all;
  OsifContact& contact = object.contact;
  for (PropertyValue* list :
       {contact.n, contact.fn, contact.bday, contact.adr, contact.org, contact.title, contact.tel,
        contact.url, contact.email, contact.note, contact.xSpouse, contact.xChildren,
        contact.xAssistant, contact.xAnniversary, contact.xCat, contact.xMicrosoftOfficeloc}) {
    for (PropertyValue& value : Values(list)) {
      for (size_t i = 0; i < 7; ++i) all += Bare(ToUtf8(DecodedText(&value, i))) + "\n";
    }
  }
  return all;
}

bool IsReported(const Report& report, const std::string& name) {
  return std::ranges::any_of(report.dropped, [&](const auto& dropped) {
    return dropped.first == name || dropped.first.starts_with(name + " (");
  });
}

bool IsStoredName(std::string_view name) {
  constexpr std::array<std::string_view, 15> kNames = {
      "N",    "FN",       "ORG",        "TITLE",       "TEL",        "EMAIL", "URL",        "ADR",
      "NOTE", "X-SPOUSE", "X-CHILDREN", "X-ASSISTANT", "CATEGORIES", "BDAY",  "ANNIVERSARY"};
  return std::ranges::find(kNames, name) != kNames.end();
}

// What a property's texts have to be found by.
std::vector<std::string> Wanted(const CardProperty& property) {
  if (property.name == "BDAY" || property.name == "ANNIVERSARY") {
    const auto day = dialects::DayOf(property);
    return {day ? day->text : std::string()};
  }
  return property.components;
}

class CorpusCards : public support::OsifTest {
 protected:
  // The texts of the contact that the store makes of a strict text.
  std::string Stored(const std::string& text) {
    support::TempFile file(text);
    std::string stored;
    int objects = 0;
    const int result =
        support::ReadFile(file.wide_path(), [&](OsifObject& object, OsifResult read) {
          ++objects;
          EXPECT_EQ(support::Code(read), OSIF_PARSE_OK);
          char id[OSIF_ID_SIZE] = "";
          EXPECT_EQ(support::Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr)), OSIF_OK);
          support::OutsideObject back;
          EXPECT_EQ(support::Code(OSIF_GetObjectById(OSIF_STORE_PB, id, &back)), OSIF_OK);
          stored = TextsOf(back.object);
          OSIF_DeleteObject(OSIF_STORE_PB, id, nullptr);
        });
    EXPECT_EQ(result, OSIF_OK);
    EXPECT_EQ(objects, 1);
    return stored;
  }
};

// Every text of the card is in the store, or its property is in the report.
void ExpectAllIn(const std::string& stored, const CorpusCard& card, const Report& report) {
  Report ignored;
  const dialects::Card model = dialects::ReadCard(card.object, {}, ignored);
  for (const CardProperty& property : model.properties) {
    if (!IsStoredName(property.name) || IsReported(report, property.name)) continue;
    for (const std::string& text : Wanted(property)) {
      EXPECT_NE(stored.find(Bare(text)), std::string::npos)
          << card.file << ":" << property.line << " " << property.name << " \"" << text << "\"";
    }
  }
}

TEST_F(CorpusCards, AreStoredWholeOrExplained) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  size_t count = 0;
  for (const CorpusCard& card : AllCards()) {
    SCOPED_TRACE(card.file + ":" + std::to_string(card.object.line));
    const std::vector<StrictObject> all = dialects::StrictCards(card.object, {});
    for (const StrictObject& strict : all) {
      if (!strict.refusal.empty()) continue;
      ++count;
      const std::string stored = Stored(strict.text);
      if (all.size() == 1) ExpectAllIn(stored, card, strict.report);
    }
  }
  EXPECT_GT(count, 1000U);
}

TEST_F(CorpusCards, ThatArePlainAreStoredAsTheRulesWouldHaveThem) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  size_t count = 0;
  for (const CorpusCard& card : AllCards()) {
    if (!dialects::IsPlainCard(card.object.text)) continue;
    SCOPED_TRACE(card.file + ":" + std::to_string(card.object.line));
    const StrictObject strict = card_text::Strict(card.object);
    EXPECT_TRUE(strict.report.IsEmpty());
    EXPECT_EQ(Stored(card.object.text), Stored(strict.text));
    ++count;
  }
  EXPECT_GT(count, 10U);
}

// Found without the reader: the first line of such a name, not of a card inside, with anything after its colon.
std::string LineWithContent(std::string_view text) {
  int depth = 0;
  while (!text.empty()) {
    const std::string line(dialects::TakePhysicalLine(text));
    if (line.starts_with("BEGIN:")) ++depth;
    if (line.starts_with("END:")) --depth;
    const std::string name = line.substr(0, line.find_first_of(":;"));
    const std::string value = line.substr(std::min(line.find(':'), line.size()));
    const bool is_date = name == "BDAY" || name == "ANNIVERSARY";
    const bool is_content =
        IsStoredName(name) && !is_date && value.find_first_not_of(":; \t") != std::string::npos;
    if (depth == 1 && is_content) return line;
  }
  return {};
}

TEST(CorpusCardsWithContent, AreNeverRefused) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  std::map<std::string, int> refused;
  for (const CorpusCard& card : AllCards()) {
    for (const StrictObject& strict : dialects::StrictCards(card.object, {})) {
      if (strict.refusal.empty()) continue;
      ++refused[strict.refusal];
      if (strict.refusal.find("KIND:group") != std::string::npos) continue;
      EXPECT_EQ(LineWithContent(card.object.text), "") << card.file;
    }
  }
  EXPECT_GT(refused.size(), 0U);
}

}  // namespace
}  // namespace corpus_cards_test
