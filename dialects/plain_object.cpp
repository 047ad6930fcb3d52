#include "dialects/plain_object.h"

#include "dialects/calendar_plain.h"
#include "dialects/card_plain.h"
#include "dialects/message.h"

namespace dialects {

bool IsPlain(const ObjectText& object) {
  if (object.is_plain) return true;
  if (object.has_byte_order_mark || !object.had_end) return false;
  switch (object.kind) {
    case ObjectKind::kCard:
      return IsPlainCard(object.text);
    case ObjectKind::kCalendar:
      return IsPlainCalendar(object.text);
    case ObjectKind::kMessage:
      return IsPlainMessage(object.text);
    case ObjectKind::kNote:  // its name may be that of another one of its file
    case ObjectKind::kUnknown:
      break;
  }
  return false;
}

}  // namespace dialects
