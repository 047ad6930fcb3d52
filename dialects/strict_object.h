// What people's files hold, as the strict reader of the library takes it without loss: vCard 2.1, vCalendar 1.0, vNote
// 1.1 and vMessage 1.1.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dialects/charsets.h"
#include "dialects/object_text.h"
#include "dialects/report.h"

namespace dialects {

// One object for OSIF_ReadObjects, which makes one record of it.
struct StrictObject {
  ObjectKind kind = ObjectKind::kUnknown;
  std::string text;  // with CR LF line ends; empty when it was refused
  std::string
      refusal;        // why nothing can be stored, in words: "no name: neither N nor FN, ORG, ..."
  std::string uid;    // the sender's UID; empty without one
  uint64_t line = 0;  // where it begins in the file
  Report report;      // what was done to it
  // A task whose sender said nothing of categories: the reader asks for the line, so an empty one stands for them.
  bool has_made_categories = false;
};

// Each gives the strict objects of one object of its kind, in their order: none or several of a calendar, several of a
// card that lists cards, else one. They take any bytes; their cost is linear in the text, save for rules of recurrence
// that are written out, at most 50 times each.
std::vector<StrictObject> StrictCards(const ObjectText& object, const TextSettings& settings);
std::vector<StrictObject> StrictCalendarItems(const ObjectText& object,
                                              const TextSettings& settings);
std::vector<StrictObject> StrictNotes(const ObjectText& object, const TextSettings& settings);
std::vector<StrictObject> StrictMessages(const ObjectText& object, const TextSettings& settings);

// That of the object's kind. An object of an unknown kind is refused.
std::vector<StrictObject> StrictObjects(const ObjectText& object, const TextSettings& settings);

}  // namespace dialects
