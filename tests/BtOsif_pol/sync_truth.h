// What was really done to a device since its partner's anchor. From it follows what the partner has to be told,
// what it may be told, and whether a gap or a new database id has a cause.
//
// A gap has one cause: more entries after the anchor than a closed log keeps. How many entries there are is known
// only within bounds, since an opening appends what it finds and finds it again after a process has died. What is
// recorded with an anchor is one entry for certain; every other change is at most one at each opening until the
// log is closed in order.
//
// A new database id has these causes, and with one of them it must come:
//   - the partner has never been there;
//   - the folder, the change log or the database id is gone;
//   - a copy of the log was put back that ends before a counter which was handed out;
//   - the counters come near their end;
//   - the system was started anew while a log was open that had handed out counters. Where it cannot be known
//     whether it had, the id may or may not be new.
// A process that dies is none.
#pragma once

#include <gtest/gtest.h>

#include "btosif/osif_util/change_log_purge.h"
#include "tests/BtOsif_pol/sync_report.h"

namespace sync_test {

class SyncTruth {
 public:
  void Hear(const Report& report) {
    switch (report.kind) {
      case ReportKind::kOpening:
        most_before_opening_ = most_;
        most_ += unsaved_changes_ + static_cast<int>(ghosts_.size());
        touched_.insert(unsaved_.begin(), unsaved_.end());
        unlogged_changes_ = 0;
        unlogged_.clear();
        is_left_open_ = true;
        break;
      case ReportKind::kAttempt:
        Touch(report.id, report.is_anchored);
        CountChange(report.is_anchored);
        break;
      case ReportKind::kTouched:
        Touch(report.id, report.is_anchored);
        break;
      case ReportKind::kOwn:
        own_.insert(report.id);
        unsaved_.insert(report.id);
        CountChange(true);
        break;
      case ReportKind::kOverwrite:
        must_be_told_.insert(report.id);
        unlogged_.insert(report.id);
        ++unlogged_changes_;
        break;
      case ReportKind::kRecorded:
        ++least_;
        ++recorded_since_opening_;
        if (report.id.empty()) break;
        own_.insert(report.id);
        unsaved_.insert(report.id);
        break;
      case ReportKind::kClosing:
        recorded_since_opening_ = 0;
        break;
      case ReportKind::kClosed:
        least_at_close_ = least_;
        unsaved_changes_ = unlogged_changes_;
        unsaved_ = unlogged_;
        is_left_open_ = false;
        break;
      case ReportKind::kTold:
        break;
      case ReportKind::kScanned:
        needs_new_id_ = needs_new_id_by_restart_ = may_have_new_id_ = false;
        touched_.clear();
        must_be_told_.clear();
        own_.clear();
        BeginAtAnchor();
        break;
      case ReportKind::kSent:
        own_.erase(report.id);
        BeginAtAnchor();
        break;
    }
  }

  // A process has died: it may have done this and not reported it.
  void Suspect(const std::string& id) { Touch(id, false); }

  // The log or the id has been tampered with.
  void NeedNewId() { needs_new_id_ = true; }

  // An old log names the object. If it is gone, and the log once more left open, its end may be told again.
  void NameAgain(const std::string& id) { ghosts_.insert(id); }

  // The system has been started anew.
  void Restart() {
    if (!is_left_open_) return;
    may_have_new_id_ = true;
    // The second time it may seem to be the start again at which the log was left open.
    needs_new_id_by_restart_ = recorded_since_opening_ > 0 && !needs_new_id_by_restart_;
  }

  bool is_left_open() const { return is_left_open_; }

  // ---- What the partner may see -----------------------------------------------------------------------

  bool NeedsNewId() const { return needs_new_id_ || needs_new_id_by_restart_; }
  bool MayHaveNewId() const { return NeedsNewId() || may_have_new_id_; }
  bool NeedsGap() const { return least_at_close_ > static_cast<int>(kKeptEntries); }
  bool MayHaveGap() const { return most_before_opening_ > static_cast<int>(kKeptEntries); }

  bool MayBeTold(const std::string& id) const {
    return touched_.contains(id) || own_.contains(id) || unsaved_.contains(id) ||
           ghosts_.contains(id);
  }

  // Changes that were overwritten before the partner knew of them.
  const Ids& must_be_told() const { return must_be_told_; }

 private:
  void Touch(const std::string& id, bool is_anchored) {
    touched_.insert(id);
    unsaved_.insert(id);
    if (!is_anchored) unlogged_.insert(id);
  }
  void CountChange(bool is_anchored) {
    ++unsaved_changes_;
    if (is_anchored) {
      ++most_;
    } else {
      ++unlogged_changes_;
    }
  }
  void BeginAtAnchor() { most_ = least_ = least_at_close_ = most_before_opening_ = 0; }

  Ids touched_;       // by people since the last scan, or perhaps logged again since then
  Ids own_;           // changes by the partner that it got no answer for
  Ids unsaved_;       // changed since a snapshot was saved that knows of it: it may be told twice
  Ids unlogged_;      // of these, what the next snapshot will not know of either
  Ids ghosts_;        // named by a log that was put back
  Ids must_be_told_;  // see must_be_told()
  int unsaved_changes_ = 0;  // that an opening may find
  int unlogged_changes_ =
      0;          // of these, the ones that it finds also after the log is closed in order
  int most_ = 0;  // entries after the anchor
  int most_before_opening_ = 0;
  int least_ = 0;
  int least_at_close_ = 0;
  int recorded_since_opening_ = 0;
  bool is_left_open_ = false;
  bool needs_new_id_ = true;  // the partner has never been there
  bool needs_new_id_by_restart_ = false;
  bool may_have_new_id_ = false;
};

}  // namespace sync_test
