// What iCalendar (RFC 5545) needs more than lines: the days of a rule and the rules of time zones. They are libical's;
// nothing else of this folder knows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"
#include "dialects/recurrence.h"

namespace dialects {

// True for a rule whose days can be reckoned in bounded time. Rules by minutes and seconds that name days could be
// walked for hundreds of years without one.
bool CanIterate(const RecurRule& rule);

// The occurrences of a rule that begins at a civil time, in their order: at most `limit`, none after `last`. The
// rule's UNTIL is taken as a civil time of the same clock. None for a rule that cannot be iterated.
std::vector<CivilTime> Occurrences(const RecurRule& rule, const CivilTime& start, size_t limit,
                                   const CivilTime& last);

struct IcalZone;

// The time zones that a calendar names: those of the data base of zones by their names, else as its VTIMEZONEs
// tell.
class ZoneBook {
 public:
  ZoneBook();
  ~ZoneBook();
  ZoneBook(const ZoneBook&) = delete;
  ZoneBook& operator=(const ZoneBook&) = delete;

  // Takes a VTIMEZONE: its lines from BEGIN to END.
  void Add(const std::string& tzid, std::string_view component);

  bool Knows(const std::string& tzid);

  // A civil time of the zone as seconds of UTC since 1970, and back. The zone has to be known.
  int64_t ToUtc(const std::string& tzid, int64_t civil_seconds);
  int64_t FromUtc(const std::string& tzid, int64_t utc_seconds);

 private:
  const IcalZone* Find(const std::string& tzid);

  std::map<std::string, std::string> components_;
  std::map<std::string, std::unique_ptr<IcalZone>> zones_;  // null for one that is not known
};

// A VTIMEZONE of the data base of zones, with CR LF; empty for an unknown name.
std::string ZoneComponent(const std::string& name);

}  // namespace dialects
