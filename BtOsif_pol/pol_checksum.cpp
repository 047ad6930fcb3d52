#include "BtOsif_pol/pol_checksum.h"

#include <zlib.h>

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

  // Feeds a flag and tells whether it is set.
  template <typename Item>
  bool Feed(Item& item, HRESULT (Item::*get)(VARIANT_BOOL*)) {
    const int32_t flag = pol_Get(item, get);
    Feed(&flag, sizeof flag);
    return flag == VARIANT_TRUE;
  }

  uint32_t value() const { return static_cast<uint32_t>(value_); }

 private:
  void Feed(const void* bytes, size_t size) {
    value_ = adler32_z(value_, static_cast<const Bytef*>(bytes), size);
  }

  uLong value_ = 1;
};

void FeedExceptions(IRecurrencePattern& pattern, Checksum& checksum) {
  ComPtr<IExceptions> exceptions;
  if (FAILED(pattern.get_Exceptions(exceptions.put())) || !exceptions) return;
  const int count = pol_Get(*exceptions, &IExceptions::get_Count);
  for (int index = 1; index <= count; ++index) {
    ComPtr<IException> exception;
    if (FAILED(exceptions->Item(index, exception.put())) || !exception) continue;
    checksum.Feed(*exception, &IException::get_OriginalDate);
  }
}

template <typename Item>
void FeedRecurrence(Item& item, Checksum& checksum) {
  if (pol_Get(item, &Item::get_IsRecurring) != VARIANT_TRUE) return;
  ComPtr<IRecurrencePattern> pattern;
  if (FAILED(item.GetRecurrencePattern(pattern.put())) || !pattern) return;
  checksum.Feed(*pattern, &IRecurrencePattern::get_RecurrenceType);
  for (const PatternDate& property : kPatternDates) checksum.Feed(*pattern, property.get);
  checksum.Feed(*pattern, &IRecurrencePattern::get_NoEndDate);
  for (const PatternNumber& property : kPatternNumbers) checksum.Feed(*pattern, property.get);
  FeedExceptions(*pattern, checksum);
}

void FeedRecipients(IAppointment& appointment, Checksum& checksum) {
  ComPtr<IRecipients> recipients;
  if (FAILED(appointment.get_Recipients(recipients.put())) || !recipients) return;
  const int count = pol_Get(*recipients, &IRecipients::get_Count);
  for (int index = 1; index <= count; ++index) {
    ComPtr<IRecipient> recipient;
    if (FAILED(recipients->Item(index, recipient.put())) || !recipient) continue;
    checksum.Feed(*recipient, &IRecipient::get_Address);
    checksum.Feed(*recipient, &IRecipient::get_Name);
  }
}

}  // namespace

uint32_t ContactChecksum(IContact& contact) {
  Checksum checksum;
  for (const ContactDate& property : kContactDates) checksum.Feed(contact, property.get);
  for (const ContactText& property : kContactTexts) checksum.Feed(contact, property.get);
  return checksum.value();
}

uint32_t AppointmentChecksum(IAppointment& appointment) {
  Checksum checksum;
  checksum.Feed(appointment, &IAppointment::get_Subject);
  checksum.Feed(appointment, &IAppointment::get_Location);
  checksum.Feed(appointment, &IAppointment::get_Categories);
  checksum.Feed(appointment, &IAppointment::get_Start);
  checksum.Feed(appointment, &IAppointment::get_Duration);
  checksum.Feed(appointment, &IAppointment::get_End);
  checksum.Feed(appointment, &IAppointment::get_AllDayEvent);
  checksum.Feed(appointment, &IAppointment::get_BusyStatus);
  checksum.Feed(appointment, &IAppointment::get_Sensitivity);
  checksum.Feed(appointment, &IAppointment::get_Body);
  FeedRecurrence(appointment, checksum);
  FeedRecipients(appointment, checksum);
  if (checksum.Feed(appointment, &IAppointment::get_ReminderSet)) {
    checksum.Feed(appointment, &IAppointment::get_ReminderMinutesBeforeStart);
    checksum.Feed(appointment, &IAppointment::get_ReminderOptions);
  }
  return checksum.value();
}

uint32_t TaskChecksum(ITask& task) {
  Checksum checksum;
  checksum.Feed(task, &ITask::get_Subject);
  checksum.Feed(task, &ITask::get_Categories);
  checksum.Feed(task, &ITask::get_StartDate);
  checksum.Feed(task, &ITask::get_DueDate);
  checksum.Feed(task, &ITask::get_Importance);
  checksum.Feed(task, &ITask::get_Sensitivity);
  checksum.Feed(task, &ITask::get_Body);
  if (checksum.Feed(task, &ITask::get_Complete)) checksum.Feed(task, &ITask::get_DateCompleted);
  if (checksum.Feed(task, &ITask::get_ReminderSet)) {
    checksum.Feed(task, &ITask::get_ReminderTime);
    checksum.Feed(task, &ITask::get_ReminderOptions);
  }
  FeedRecurrence(task, checksum);
  return checksum.value();
}
