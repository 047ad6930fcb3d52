// The library opened on the device for one run.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "client/listener.h"
#include "client/trace_tap.h"
#include "osif.h"

namespace client {

// Says what is wrong when the device cannot be used, and when others can look into it.
bool CheckDevice(Listener& listener);

// Reads now what decoding and showing texts will need of the registry, and lets go of the database: once
// the library has it open, this side must not open and close it beside it.
void PrepareTexts();

class Session {
 public:
  // Opens the library, and before it the tap on its trace where that is wanted. A failure is told; is_open() is
  // then false.
  Session(bool with_trace, Listener& listener);
  // Closes the change logs that were opened, and the library.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool is_open() const { return is_open_; }

  // Opens the store's change log, once: that costs a comparison of the store with its last state. Each store
  // has a folder of its own in the device's Sync folder, so that programs that work on different stores do not
  // wait for each other. OSIF_OK when the log is open.
  OsifResult OpenChangeLog(int32_t store_id);

  // Opens the store's change log, and waits for another program that uses it: up to this many milliseconds before the
  // last attempt. False when it is in use all the same; what is wrong otherwise OpenChangeLog() tells.
  bool OpenWhenFree(int32_t store_id, uint32_t milliseconds);
  // What is to be said of a change log that could not be opened, such as which program uses it.
  std::string ChangeLogText(int32_t store_id) const;

  // From now on changes are made without the change logs, as on a copy of a device that nobody synchronises with.
  void RecordNothing() { records_ = false; }

  // False, with a message the first time, when another program uses the store's change log: a change that is made
  // meanwhile would come between that program's.
  bool MayChange(int32_t store_id);

  // A cleared anchor to pass with a change; null when the store's change log is not open, so that the
  // change is made without one. Valid until the next call.
  OsifAnchor* NewAnchor(int32_t store_id);

 private:
  OsifResult Open(bool with_trace);
  bool WaitUntilFree(int32_t store_id, uint32_t milliseconds);
  void StartTrace();
  void ShowTrace();
  void CloseChangeLogs();

  Listener& listener_;
  std::unique_ptr<TraceTap> tap_;
  bool is_open_ = false;
  bool records_ = true;
  std::map<int32_t, OsifResult> change_logs_;  // what opening them gave
  std::map<int32_t, uint32_t> users_;          // the processes that use those that are in use
  OsifAnchor anchor_{};
};

}  // namespace client
