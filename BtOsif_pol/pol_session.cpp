#include "BtOsif_pol/pol_session.h"

#include "BtOsif_pol/pol_note.h"
#include "BtOsif_pol/pol_walk.h"
#include "config/bt_config_settings.h"
#include "config/trace.h"
#include "mapi/mapi_session.h"
#include "platform/api/automation.h"
#include "platform/api/com_ptr.h"
#include "platform/api/richink.h"

namespace {

ComPtr<IPOutlookApp> g_application;
bool g_suppresses_vendor_properties = false;

OsifResult LogOn() {
  ComPtr<IPOutlookApp> application;
  HRESULT result = CoCreateInstance(CLSID_Application, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_IPOutlookApp, application.put_void());
  if (FAILED(result)) {
    OSIF_Trace(0, "OSIF:  Unable to get application object from POOM interface. (code=0x%08x)",
               result);
    return OSIF_ERR_PIM;
  }
  result = application->Logon(0);
  if (FAILED(result)) {
    OSIF_Trace(0, "OSIF:  POOM 'Logon' failed (code=0x%08x)", result);
    return OSIF_ERR_PIM;
  }
  g_application = std::move(application);
  return OSIF_OK;
}

// Settings that cannot be read leave the choice as it is.
void ReadSettings() {
  BtConfigSettings settings;
  if (settings.read() != ERROR_SUCCESS) return;
  g_suppresses_vendor_properties = settings.doNotSendMsftProperties == 1;
}

}  // namespace

OsifResult POL_Open() {
  OSIF_Trace(0, "OSIF:  POL_Open()");
  // An open session keeps the settings that it began with.
  if (g_application) return OSIF_OK;
  if (const OsifResult result = LogOn(); result != OSIF_OK) return result;
  if (const OsifResult result = MAPI_Init(); result != OSIF_OK) return result;
  InitRichInkDLL();
  ReadSettings();
  return OSIF_OK;
}

OsifResult POL_Close() {
  OSIF_Trace(0, "OSIF:  POL_Close()");
  pol_FlushNotes();
  if (g_application) g_application->Logoff();
  g_application.reset();
  pol_EndWalk();
  // Messages start their session without this one, so it is ended whether this one was open or not.
  MAPI_DeInit();
  return OSIF_OK;
}

IPOutlookApp* pol_Application() { return g_application.get(); }

bool pol_SuppressesVendorProperties() { return g_suppresses_vendor_properties; }
