// A checksum is compared with one that an earlier process has saved, perhaps of an earlier version. So what
// is fed, and in which order, is a format: the lists of pol_item_properties.h and the order in which the
// functions at the end of this file go through them. A property that cannot be read is fed as an absent text
// or as 0; what hangs from an item (recurrence, exceptions, recipients) and cannot be reached is passed over.
#include "BtOsif_pol/pol_checksum.h"

#include <zlib.h>

#include <variant>

#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_item_properties.h"
#include "BtOsif_pol/pol_mapping.h"
#include "platform/api/com_ptr.h"

namespace {

// A running Adler-32 checksum, fed with the properties of one item.
class Checksum {
 public:
  // zlib's routine starts anew for an absent text, so that only what follows it counts. Stored snapshots
  // rely on that.
  template <typename Item>
  void Feed(Item& item, HRESULT (Item::*get)(BSTR*)) {
    const Bstr text = pol_GetText(item, get);
    Feed(text.get(), text.size() * sizeof(OLECHAR));
  }

  template <typename Item>
  void Feed(Item& item, HRESULT (Item::*get)(DATE*)) {
    const DATE date = pol_Get(item, get);
    Feed(&date, sizeof date);
  }

  template <typename Item>
  void Feed(Item& item, HRESULT (Item::*get)(LONG*)) {
    const LONG number = pol_Get(item, get);
    Feed(&number, sizeof number);
  }

  template <typename Item>
  void Feed(Item& item, HRESULT (Item::*get)(VARIANT_BOOL*)) {
    const int32_t flag = pol_Get(item, get);
    Feed(&flag, sizeof flag);
  }

  template <typename Item, size_t kCount>
  void Feed(Item& item, const Getter<Item> (&properties)[kCount]) {
    for (const Getter<Item>& property : properties) {
      std::visit([&](auto get) { Feed(item, get); }, property);
    }
  }

  uint32_t value() const { return static_cast<uint32_t>(value_); }

 private:
  void Feed(const void* bytes, size_t size) {
    value_ = adler32_z(value_, static_cast<const Bytef*>(bytes), size);
  }

  uLong value_ = 1;
};

// Only what a flag that is set makes meaningful is fed, not the flag itself.
template <typename Item>
bool IsSet(Item& item, HRESULT (Item::*get)(VARIANT_BOOL*)) {
  return pol_Get(item, get) == VARIANT_TRUE;
}

void FeedExceptions(IRecurrencePattern& pattern, Checksum& checksum) {
  ComPtr<IExceptions> exceptions;
  if (FAILED(pattern.get_Exceptions(exceptions.put()))) return;
  pol_ForEach<IException>(
      exceptions, [&](IException& exception) { checksum.Feed(exception, kExceptionProperties); });
}

template <typename Item>
void FeedRecurrence(Item& item, Checksum& checksum) {
  if (!IsSet(item, &Item::get_IsRecurring)) return;
  ComPtr<IRecurrencePattern> pattern;
  if (FAILED(item.GetRecurrencePattern(pattern.put())) || !pattern) return;
  checksum.Feed(*pattern, kPatternProperties);
  FeedExceptions(*pattern, checksum);
}

void FeedRecipients(IAppointment& appointment, Checksum& checksum) {
  ComPtr<IRecipients> recipients;
  if (FAILED(appointment.get_Recipients(recipients.put()))) return;
  pol_ForEach<IRecipient>(
      recipients, [&](IRecipient& recipient) { checksum.Feed(recipient, kRecipientProperties); });
}

}  // namespace

uint32_t ContactChecksum(IContact& contact) {
  Checksum checksum;
  checksum.Feed(contact, kContactProperties);
  return checksum.value();
}

uint32_t AppointmentChecksum(IAppointment& appointment) {
  Checksum checksum;
  checksum.Feed(appointment, kAppointmentProperties);
  FeedRecurrence(appointment, checksum);
  FeedRecipients(appointment, checksum);
  if (IsSet(appointment, &IAppointment::get_ReminderSet)) {
    checksum.Feed(appointment, kAppointmentReminder);
  }
  return checksum.value();
}

uint32_t TaskChecksum(ITask& task) {
  Checksum checksum;
  checksum.Feed(task, kTaskProperties);
  if (IsSet(task, &ITask::get_Complete)) checksum.Feed(task, kTaskCompletion);
  if (IsSet(task, &ITask::get_ReminderSet)) checksum.Feed(task, kTaskReminder);
  FeedRecurrence(task, checksum);
  return checksum.value();
}
