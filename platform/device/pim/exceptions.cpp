// A list of exceptions is what the store held when it was asked for. It keeps the days and the ids; the changed
// appointments are loaded one by one as a program looks at them.

#include "platform/device/pim/exceptions.h"

#include <utility>

#include "platform/device/pim/item.h"
#include "platform/device/pim/occurrence.h"

namespace device {
namespace {

class Exception final : public PimObject<IException, IID_IException> {
 public:
  Exception(const PimSession& session, int32_t series, DATE start, const SeriesException& exception)
      : session_(session), series_(series), start_(start), exception_(exception) {}

  HRESULT get_AppointmentItem(IAppointment** appointment) override {
    if (appointment == nullptr) return E_INVALIDARG;
    *appointment = nullptr;
    if (exception_.occurrence == 0) return S_FALSE;  // deleted: there is no appointment to show
    return LoadOccurrence(session_, series_, exception_, appointment);
  }

  HRESULT get_OriginalDate(DATE* value) override {
    return Give(SameTimeOn(exception_.day, start_), value);
  }

  HRESULT get_Deleted(VARIANT_BOOL* value) override {
    return Give(AsFlag(exception_.occurrence == 0), value);
  }

  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(session_.application, application);
  }

 private:
  const PimSession session_;
  const int32_t series_;
  const DATE start_;
  const SeriesException exception_;
};

class Exceptions final : public PimObject<IExceptions, IID_IExceptions> {
 public:
  Exceptions(const PimSession& session, int32_t series, DATE start,
             std::vector<SeriesException> exceptions)
      : session_(session), series_(series), start_(start), exceptions_(std::move(exceptions)) {}

  HRESULT Item(int index, IException** exception) override {
    if (exception == nullptr) return E_INVALIDARG;
    *exception = nullptr;
    if (index < 1 || static_cast<size_t>(index) > exceptions_.size()) return E_INVALIDARG;
    return Guarded([&] {
      *exception =
          new Exception(session_, series_, start_, exceptions_[static_cast<size_t>(index - 1)]);
      return S_OK;
    });
  }

  HRESULT get_Count(int* count) override {
    return Give(static_cast<int>(exceptions_.size()), count);
  }

  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(session_.application, application);
  }

 private:
  const PimSession session_;
  const int32_t series_;
  const DATE start_;
  const std::vector<SeriesException> exceptions_;
};

}  // namespace

HRESULT NewExceptions(const PimSession& session, int32_t series, DATE start,
                      std::vector<SeriesException> exceptions, IExceptions** result) {
  return Guarded([&] {
    *result = new Exceptions(session, series, start, std::move(exceptions));
    return S_OK;
  });
}

}  // namespace device
