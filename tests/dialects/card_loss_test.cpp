// Whatever a card has, in whatever number and order: each of its texts is stored, or the report names its property.
#include <rapidcheck.h>

#include "tests/dialects/stored_contact.h"

namespace card_loss_test {
namespace {

using stored_contact::ContactStore;
using stored_contact::Received;

struct Row {
  std::string head;
  size_t components = 1;
  std::string reported = {};  // the name in the report, where it is another than the head's
};

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {"N", 5},
      {"N", 7},
      {"FN"},
      {"NICKNAME"},
      {"ORG", 1},
      {"ORG", 3},
      {"DEPT", 1, "ORG"},
      {"TITLE"},
      {"ROLE"},
      {"TEL"},
      {"TEL;TYPE=HOME"},
      {"TEL;TYPE=WORK"},
      {"TEL;TYPE=CELL"},
      {"TEL;TYPE=CELL;TYPE=WORK"},
      {"TEL;TYPE=PREF"},
      {"TEL;TYPE=FAX"},
      {"TEL;TYPE=FAX;TYPE=WORK"},
      {"TEL;TYPE=PAGER"},
      {"TEL;TYPE=CAR"},
      {"TEL;TYPE=ISDN"},
      {"TEL;TYPE=MSG"},
      {"TEL;TYPE=X-RADIO"},
      {"TEL;TYPE=X-ASSISTANT"},
      {"TEL;CHARSET=UTF-8"},
      {"X-MICROSOFT-ASST_TEL", 1, "TEL"},
      {"EMAIL"},
      {"EMAIL;TYPE=INTERNET"},
      {"EMAIL;TYPE=X400"},
      {"EMAIL;TYPE=WORK;TYPE=PREF"},
      {"ADR", 7},
      {"ADR;TYPE=HOME", 7},
      {"ADR;TYPE=WORK", 7},
      {"ADR;TYPE=WORK", 9},
      {"ADR;TYPE=POSTAL", 3},
      {"LABEL"},
      {"LABEL;TYPE=HOME"},
      {"URL"},
      {"URL;TYPE=HOME"},
      {"NOTE"},
      {"X-SPOUSE"},
      {"SPOUSE", 1, "X-SPOUSE"},
      {"X-CHILDREN", 2},
      {"X-ASSISTANT"},
      {"AGENT"},
      {"X-MICROSOFT-OFFICELOC"},
      {"CATEGORIES", 2},
      {"X-CAT", 1, "CATEGORIES"},
      {"RELATED;TYPE=SPOUSE;VALUE=TEXT", 1, "X-SPOUSE"},
      {"RELATED;TYPE=CHILD;VALUE=TEXT", 1, "X-CHILDREN"},
      {"RELATED;TYPE=FRIEND;VALUE=TEXT", 1, "RELATED"},
      {"X-FOO", 2},
      {"a.TEL"},
      {"a.X-ABLabel"},
      {"a.X-ABRELATEDNAMES", 1, "X-ABRELATEDNAMES"},
  };
  return rows;
}

struct Line {
  std::string text;
  std::string reported;
  std::vector<std::string> texts;
};

Line LineOf(const Row& row, size_t& number) {
  Line line{row.head + ":", row.reported, {}};
  if (line.reported.empty()) {
    line.reported = row.head.substr(0, row.head.find(';'));
    line.reported = line.reported.substr(line.reported.rfind('.') + 1);
    for (char& c : line.reported) c = static_cast<char>(std::toupper(c));
  }
  for (size_t i = 0; i < row.components; ++i) {
    line.texts.push_back("q" + std::to_string(++number) + "z");
    line.text += (i == 0 ? "" : ";") + line.texts.back();
  }
  return line;
}

class CardLoss : public ContactStore {};

TEST_F(CardLoss, IsReportedWhateverACardHas) {
  EXPECT_TRUE(rc::check([this] {
    const std::string version =
        *rc::gen::elementOf(std::vector<std::string>{"2.1", "3.0", "4.0", ""});
    const auto rows = *rc::gen::container<std::vector<Row>>(rc::gen::elementOf(Rows()));
    size_t number = 0;
    std::vector<Line> lines;
    std::vector<std::string> texts;
    for (const Row& row : rows) {
      lines.push_back(LineOf(row, number));
      texts.push_back(lines.back().text);
    }
    const Received received = ReceiveCard(version, texts);
    RC_LOG() << CardOf(version, texts);
    if (lines.empty() || received.contacts.empty()) {
      RC_ASSERT(received.refusals.size() == 1U);
      return;
    }
    std::string stored;
    for (const auto& [place, text] : received.contacts.front()) stored += text + "|";
    for (const Line& line : lines) {
      for (const std::string& text : line.texts) {
        const bool is_reported = std::ranges::any_of(received.report.dropped, [&](const auto& one) {
          return one.first == line.reported || one.first.starts_with(line.reported + " (");
        });
        RC_LOG() << text << " of " << line.text << " in " << stored;
        RC_ASSERT(is_reported || stored.find(text) != std::string::npos);
      }
    }
  }));
}

}  // namespace
}  // namespace card_loss_test
