#include "mirror/merge.h"

#include "mirror/merge_calendar.h"
#include "mirror/merge_card.h"
#include "osif.h"

namespace mirror {

Merged MergeStoreChange(const MergeInput& input) {
  return input.store_id == OSIF_STORE_PB ? MergeCard(input) : MergeCalendar(input);
}

}  // namespace mirror
