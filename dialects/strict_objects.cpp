#include "dialects/strict_object.h"

namespace dialects {

std::vector<StrictObject> StrictObjects(const ObjectText& object, const TextSettings& settings) {
  switch (object.kind) {
    case ObjectKind::kCard:
      return StrictCards(object, settings);
    case ObjectKind::kCalendar:
      return StrictCalendarItems(object, settings);
    case ObjectKind::kNote:
      return StrictNotes(object, settings);
    case ObjectKind::kMessage:
      return StrictMessages(object, settings);
    case ObjectKind::kUnknown:
      break;
  }
  StrictObject refused;
  refused.line = object.line;
  refused.refusal = "no card, calendar, note or message";
  return {refused};
}

}  // namespace dialects
