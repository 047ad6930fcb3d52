// An occurrence is an appointment that is saved as an exception of its series. It is looked for anew at each
// change, in the transaction of the change: another program may have moved the series away from the day, or
// deleted the occurrence, since this object was made.

#include "platform/device/pim/occurrence.h"

namespace device {
namespace {

class Occurrence final : public Appointment {
 public:
  Occurrence(const PimSession& session, int32_t series, int32_t day)
      : Appointment(session), series_(series), day_(day) {}

  HRESULT LoadChanged(int32_t oid) { return LoadValues(oid); }

  HRESULT TakeSeries(const Appointment& series) {
    TakeValues(series);
    DATE start = 0;
    get_Start(&start);
    return put_Start(SameTimeOn(day_, start));
  }

  HRESULT get_Oid(LONG* oid) override { return Give(LONG{series_}, oid); }

  // It has no pattern of its own that could be cleared, and its series is not its to change.
  HRESULT ClearRecurrencePattern() override { return S_OK; }

  HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) override {
    if (pattern == nullptr) return E_INVALIDARG;
    *pattern = nullptr;
    return E_UNEXPECTED;
  }

  HRESULT Save() override {
    return Change([this](SeriesException& exception) {
      int32_t oid = exception.occurrence;
      if (HRESULT hr = WriteValues(kOccurrencesFolder, &oid); FAILED(hr)) return hr;
      if (oid == exception.occurrence) return S_OK;  // was changed before; the exception is there
      exception.occurrence = oid;
      return WriteException(database(), series_, exception);
    });
  }

  HRESULT Delete() override {
    return Change([this](SeriesException& exception) {
      exception.occurrence = 0;
      return WriteException(database(), series_, exception);
    });
  }

 private:
  // Runs a change of the day's exception (one without an occurrence when there is none yet) in a
  // transaction. kNoSuchItem when the series takes place on this day no more.
  template <typename Function>
  HRESULT Change(Function change) {
    return Guarded([&] {
      Transaction transaction(database());
      if (!transaction.is_open()) return PimResult(database().LastError());
      Recurrence saved;
      if (HRESULT hr = LoadRecurrence(database(), series_, &saved); FAILED(hr)) return hr;
      if (!HasOccurrence(saved, day_)) return kNoSuchItem;
      SeriesException exception;
      const HRESULT found = FindException(database(), series_, day_, &exception);
      if (FAILED(found)) return found;
      if (found == S_OK && exception.occurrence == 0) return kNoSuchItem;
      if (HRESULT hr = change(exception); FAILED(hr)) return hr;
      return transaction.Commit() ? S_OK : PimResult(database().LastError());
    });
  }

  const int32_t series_;
  const int32_t day_;
};

}  // namespace

HRESULT NewOccurrence(const PimSession& session, int32_t series, const Appointment& values,
                      int32_t day, IAppointment** occurrence) {
  return Guarded([&] {
    ComPtr<Occurrence> result(new Occurrence(session, series, day));
    const HRESULT hr = result->TakeSeries(values);
    if (SUCCEEDED(hr)) *occurrence = result.release();
    return hr;
  });
}

HRESULT LoadOccurrence(const PimSession& session, int32_t series, const SeriesException& exception,
                       IAppointment** occurrence) {
  return Guarded([&] {
    ComPtr<Occurrence> result(new Occurrence(session, series, exception.day));
    const HRESULT hr = result->LoadChanged(exception.occurrence);
    if (SUCCEEDED(hr)) *occurrence = result.release();
    return hr;
  });
}

}  // namespace device
