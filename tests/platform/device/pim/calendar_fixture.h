// Short words for what programs do with appointments, tasks and their recurrence.
#pragma once

#include <chrono>
#include <functional>

#include "tests/platform/device/pim/fixture.h"

namespace pim_test {

// The automation date of a day, or of a local time.
inline DATE Day(int year, unsigned month, unsigned day) {
  using namespace std::chrono;
  const sys_days zero{std::chrono::year{1899} / 12 / 30};
  return static_cast<DATE>(
      (sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}} - zero)
          .count());
}
inline DATE Time(int year, unsigned month, unsigned day, int hour, int minute, int second = 0) {
  const DATE midnight = Day(year, month, day);
  const DATE time = (hour * 3600 + minute * 60 + second) / 86400.0;
  return midnight < 0 ? midnight - time : midnight + time;
}

// A date, number or flag of an item.
template <typename Item, typename Value>
Value Read(Item& item, HRESULT (Item::*getter)(Value*)) {
  Value value{};
  EXPECT_EQ((item.*getter)(&value), S_OK);
  return value;
}

// What an item gives as an object.
template <typename Item, typename Object>
ComPtr<Object> ObjectOf(Item& item, HRESULT (Item::*getter)(Object**)) {
  ComPtr<Object> object;
  EXPECT_EQ((item.*getter)(object.put()), S_OK);
  EXPECT_TRUE(object);
  return object;
}

template <typename Item>
ComPtr<IRecurrencePattern> PatternOf(Item& item) {
  return ObjectOf(item, &Item::GetRecurrencePattern);
}

class PimCalendarTest : public PimTest {
 protected:
  ComPtr<IAppointment> NewAppointment() { return New<IAppointment>(olAppointmentItem); }
  ComPtr<ITask> NewTask() { return New<ITask>(olTaskItem); }

  ComPtr<IAppointment> NewAppointment(DATE start, DATE end) {
    ComPtr<IAppointment> appointment = NewAppointment();
    EXPECT_EQ(appointment->put_Start(start), S_OK);
    EXPECT_EQ(appointment->put_End(end), S_OK);
    return appointment;
  }

  template <typename Item>
  ComPtr<Item> SavedAndLoaded(Item& item) {
    EXPECT_EQ(item.Save(), S_OK);
    return Load<Item>(Oid(item));
  }

  // How many rows a query of the store gives first.
  int64_t Rows(const char* query) {
    auto row = device::OpenDatabase()->Prepare(query);
    EXPECT_EQ(row.Step(), SQLITE_ROW);
    return row.Integer(0);
  }

 private:
  template <typename Item>
  ComPtr<Item> New(int type) {
    IDispatch* item = nullptr;
    EXPECT_EQ(application().CreateItem(type, &item), S_OK);
    return As<Item>(item);
  }
};

}  // namespace pim_test
