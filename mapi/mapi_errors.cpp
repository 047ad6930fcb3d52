#include "mapi/mapi_errors.h"

#include "config/trace.h"
#include "mapi/mapi_buffer.h"

namespace {

constexpr const char* kCallFailed = "MAPI:  %S failed with code: 0x%08x";

// The lines for an object that cannot tell more; each gets the result of asking it.
struct NoAccount {
  const char* with_record;
  const char* without_record;
};

constexpr NoAccount kOfSession = {"MAPI:  gpSession->GetLastError failed with code: 0x%08x",
                                  "MAPI:  gpSession->GetLastError failed - lpMAPIError is NULL"};
constexpr NoAccount kOfObject = {"MAPI:  GetLastError failed with code: 0x%08x",
                                 "MAPI:  GetLastError failed - lpMAPIError is NULL (hr1=0x%08x)"};

const WCHAR* TextOrNull(const WCHAR* text) { return text == nullptr ? u"NULL" : text; }

void TraceAccount(const WCHAR* call, const MAPIERROR& error) {
  OSIF_Trace(0, "MAPI:  %S failed.", call);
  OSIF_Trace(0, "       LowLevelError = %lu", static_cast<unsigned long>(error.ulLowLevelError));
  OSIF_Trace(0, "       Version       = %lu", static_cast<unsigned long>(error.ulVersion));
  OSIF_Trace(0, "       Message       = %S", TextOrNull(error.lpszError));
  OSIF_Trace(0, "       Component     = %S", TextOrNull(error.lpszComponent));
  OSIF_Trace(0, "       Context       = %lu", static_cast<unsigned long>(error.ulContext));
}

template <typename Object>
void Report(Object& object, const WCHAR* call, HRESULT code, const NoAccount& no_account) {
  LPMAPIERROR record = nullptr;
  const HRESULT result = object.GetLastError(code, MAPI_UNICODE, &record);
  const MapiBuffer<MAPIERROR> error(record);
  if (SUCCEEDED(result) && error) {
    TraceAccount(call, *error);
    return;
  }
  OSIF_Trace(0, kCallFailed, call, code);
  OSIF_Trace(0, error ? no_account.with_record : no_account.without_record, result);
}

}  // namespace

void mapi_ReportSessionError(IMAPISession* session, const WCHAR* call, HRESULT code) {
  if (session == nullptr) {
    OSIF_Trace(0, kCallFailed, call, code);
    OSIF_Trace(0, "MAPI:  Can't call GetLastError failed - gpSession is NULL");
    return;
  }
  Report(*session, call, code, kOfSession);
}

void mapi_ReportObjectError(IMAPITable& object, const WCHAR* call, HRESULT code) {
  Report(object, call, code, kOfObject);
}
