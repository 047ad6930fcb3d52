#include "dialects/plain_object.h"

#include "dialects/card_plain.h"

namespace dialects {

bool IsPlain(const ObjectText& object) {
  if (object.has_byte_order_mark || !object.had_end) return false;
  switch (object.kind) {
    case ObjectKind::kCard:
      return IsPlainCard(object.text);
    case ObjectKind::kCalendar:
    case ObjectKind::kNote:
    case ObjectKind::kMessage:
    case ObjectKind::kUnknown:
      break;
  }
  return false;
}

}  // namespace dialects
