// How far the counters of a store's change log may have been handed out, kept beside the log.
//
// A partner's anchor is a promise that the log goes on from there. A log that has lost its end (a power cut, a
// copy put back) would count from an earlier counter again, and the partner would be told nothing until it has
// caught up. So the highest counter is kept where it cannot be lost with the log: on the disk before the counter
// is handed out.
#pragma once

#include <cstdint>
#include <string_view>

#include "btosif/osif_util/charset.h"

// What is kept: which counters have been handed out for sure, and which may have been. The two are equal once
// the log is closed in order and on the disk.
struct HandedOut {
  uint32_t for_sure = 0;
  uint32_t at_most = 0;
};

// Used by one caller at a time.
class KeptCounter {
 public:
  // Reads what is kept for a store's log in a folder; nothing is made.
  void Open(int32_t store_id, WideView folder);

  // True when a log that ends with this counter may lack entries that were told: it ends before a counter that
  // was handed out, or the system has stopped while the log was open, or what was kept is damaged.
  bool IsAhead(uint32_t newest) const;

  // True when nothing but these counters can have been handed out.
  bool IsExactly(uint32_t counter) const;

  // Makes sure that this counter and the ones before it are kept before one of them is handed out. False when
  // it cannot be written.
  bool Reserve(uint32_t counter);

  // This counter was handed out, though no entry in the log will have it.
  bool Spend(uint32_t counter);

  // The log is closed, on the disk, and ends with this counter or before it.
  bool Settle(uint32_t counter);

 private:
  struct Slot;

  void Read(std::string_view bytes);
  void Take(const Slot& slot);
  bool Write(const HandedOut& handed_out);

  WideText name_;
  HandedOut handed_out_;
  uint64_t system_start_ = 0;  // of the system on which it was written
  uint32_t number_ = 0;        // of what was written last; 0 when nothing was
  bool is_damaged_ = false;
};
