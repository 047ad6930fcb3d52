// The library and the command share one SQLite, which logs every damage that it meets.
#include "client/damage.h"

#include <sqlite3.h>

#include <atomic>

#include "platform/device/device.h"

namespace client {
namespace {

std::atomic<bool> g_was_met = false;
bool g_was_told = false;

void NoteDamage(void*, int code, const char*) {
  const int primary = code & 0xFF;
  if (primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || code == SQLITE_IOERR_READ) {
    g_was_met = true;
  }
}

}  // namespace

void WatchForDamage() { sqlite3_config(SQLITE_CONFIG_LOG, NoteDamage, nullptr); }

bool TellDamage(Listener& listener) {
  if (!g_was_met) return false;
  if (!g_was_told) {
    listener.Fail("The device's database '" + device::Folder() +
                      "/device.db' is damaged: a part of it could not be read",
                  OSIF_ERR_PIM);
  }
  g_was_told = true;
  return true;
}

}  // namespace client
