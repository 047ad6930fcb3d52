// What goes from the side of a device to the partner, and to the test, which has to know what was really done.
// A process that is killed has sent only what it had reported before.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "osif.h"
#include "tests/BtOsif_pol/sync_cards.h"
#include "tests/fault/kill_at_call.h"

namespace sync_test {

enum class ReportKind {
  // What was done, for the test alone; never lost.
  kOpening,    // the log will now be opened
  kAttempt,    // people will now change the object (none: add one)
  kTouched,    // the object that people have added
  kOwn,        // the partner's change of the object will now be made (none: added)
  kOverwrite,  // the same, over a change that the partner does not know of
  kRecorded,  // a change was answered with an anchor: one by the partner of this object, or one by people
  kClosing,  // the log will now be closed
  kClosed,   // it is closed in order
  // What the partner gets.
  kTold,     // an object as it is now, or that it is gone
  kScanned,  // that was all: the database id and the anchor
  kSent,     // a change by the partner was made: the anchor
};

inline bool IsForPartner(ReportKind kind) { return kind >= ReportKind::kTold; }

struct Report {
  ReportKind kind = ReportKind::kOpening;
  std::string id = {};
  bool is_anchored = false;
  std::optional<Card> card = {};
  int object = 0;        // the partner's number of it
  uint32_t counter = 0;  // of an anchor
  std::string database_id = {};
};

// Reports of a child process, which its parent reads after its end.
class Journal {
 public:
  void Clear() {
    lines_->count = 0;
    lines_->has_failed = false;
  }

  void Write(const Report& report) {
    ASSERT_LT(lines_->count, kRoom);
    Line& line = lines_->lines[lines_->count];
    line = {};
    line.kind = report.kind;
    line.is_anchored = report.is_anchored;
    line.object = report.object;
    line.counter = report.counter;
    report.id.copy(line.id, sizeof line.id - 1);
    report.database_id.copy(line.database_id, sizeof line.database_id - 1);
    line.has_card = report.card.has_value();
    for (size_t i = 0; report.card && i < kCardFieldCount; ++i) {
      (*report.card)[i].copy(line.card[i], kCardTextLength);
    }
    // The report is there once it is counted.
    lines_->count = lines_->count + 1;
    lines_->has_failed = testing::Test::HasFailure();
  }

  size_t size() { return lines_->count; }

  Report operator[](size_t index) {
    const Line& line = lines_->lines[index];
    Report report = {line.kind,   line.id,      line.is_anchored, {},
                     line.object, line.counter, line.database_id};
    if (line.has_card) {
      Card card;
      for (size_t i = 0; i < kCardFieldCount; ++i) card[i] = line.card[i];
      report.card = card;
    }
    return report;
  }

  // True when an expectation of the child had failed before its last report.
  bool has_failed() { return lines_->has_failed; }

 private:
  static constexpr size_t kRoom = 2000;

  struct Line {
    ReportKind kind;
    char id[16];
    bool is_anchored;
    bool has_card;
    int object;
    uint32_t counter;
    char database_id[16];
    char card[kCardFieldCount][kCardTextLength + 1];
  };
  struct Lines {
    volatile size_t count;
    volatile bool has_failed;
    Line lines[kRoom];
  };

  fault::SharedWithChild<Lines> lines_;
};

}  // namespace sync_test
