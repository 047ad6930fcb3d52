// A layer over SQLite's own system layer ("unix") that counts the calls, and an allocator over its own that
// does. Both are in place before anything opens a database: the allocator has to be there before SQLite is
// initialised.
//
// A call that fails does nothing, except that a lock that is to be given back is: nobody asks SQLite's system
// layer what became of that, and no lock stays with a file whose close was answered.

#include "tests/holds/faulty_sqlite.h"

#include <sqlite3.h>

#include <algorithm>
#include <string>

namespace holds {
namespace {

struct Plan {
  bool is_armed = false;
  Fault fault = Fault::kInputOutput;
  Duration duration = Duration::kOnce;
  int nth = 0;
  int calls = 0;
  bool has_happened = false;
};

Plan g_plan;

// Whether a call that this can happen to fails.
bool Fails(Fault fault) {
  if (!g_plan.is_armed || g_plan.fault != fault) return false;
  ++g_plan.calls;
  const bool is_later = g_plan.duration == Duration::kFromThenOn && g_plan.calls > g_plan.nth;
  const bool fails = g_plan.nth > 0 && (g_plan.calls == g_plan.nth || is_later);
  g_plan.has_happened |= fails;
  return fails;
}

bool FailsAsInputOutput() { return Fails(Fault::kInputOutput); }

// ---- Files ------------------------------------------------------------------------------------------

struct File {
  sqlite3_file base;
  sqlite3_file* real;
};

sqlite3_file* RealOf(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }
const sqlite3_io_methods& MethodsOf(sqlite3_file* file) { return *RealOf(file)->pMethods; }

int Close(sqlite3_file* file) { return MethodsOf(file).xClose(RealOf(file)); }

int Read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_READ;
  return MethodsOf(file).xRead(RealOf(file), bytes, size, offset);
}

int Write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_WRITE;
  if (Fails(Fault::kFull)) return SQLITE_FULL;
  return MethodsOf(file).xWrite(RealOf(file), bytes, size, offset);
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_TRUNCATE;
  return MethodsOf(file).xTruncate(RealOf(file), size);
}

int Sync(sqlite3_file* file, int flags) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_FSYNC;
  if (Fails(Fault::kFull)) return SQLITE_FULL;
  return MethodsOf(file).xSync(RealOf(file), flags);
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_FSTAT;
  return MethodsOf(file).xFileSize(RealOf(file), size);
}

int Lock(sqlite3_file* file, int level) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_LOCK;
  if (Fails(Fault::kLocked)) return SQLITE_BUSY;
  return MethodsOf(file).xLock(RealOf(file), level);
}

int Unlock(sqlite3_file* file, int level) {
  const int result = MethodsOf(file).xUnlock(RealOf(file), level);
  return FailsAsInputOutput() ? SQLITE_IOERR_UNLOCK : result;
}

int CheckReservedLock(sqlite3_file* file, int* is_held) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_CHECKRESERVEDLOCK;
  return MethodsOf(file).xCheckReservedLock(RealOf(file), is_held);
}

int FileControl(sqlite3_file* file, int operation, void* argument) {
  return MethodsOf(file).xFileControl(RealOf(file), operation, argument);
}

int SectorSize(sqlite3_file* file) { return MethodsOf(file).xSectorSize(RealOf(file)); }

int DeviceCharacteristics(sqlite3_file* file) {
  return MethodsOf(file).xDeviceCharacteristics(RealOf(file));
}

int ShmMap(sqlite3_file* file, int region, int size, int extends, void volatile** memory) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_SHMMAP;
  if (Fails(Fault::kFull)) return SQLITE_FULL;
  return MethodsOf(file).xShmMap(RealOf(file), region, size, extends, memory);
}

int ShmLock(sqlite3_file* file, int offset, int count, int flags) {
  if ((flags & SQLITE_SHM_LOCK) == 0) {
    return MethodsOf(file).xShmLock(RealOf(file), offset, count, flags);
  }
  if (FailsAsInputOutput()) return SQLITE_IOERR_SHMLOCK;
  if (Fails(Fault::kLocked)) return SQLITE_BUSY;
  return MethodsOf(file).xShmLock(RealOf(file), offset, count, flags);
}

void ShmBarrier(sqlite3_file* file) { MethodsOf(file).xShmBarrier(RealOf(file)); }

int ShmUnmap(sqlite3_file* file, int deletes) {
  return MethodsOf(file).xShmUnmap(RealOf(file), deletes);
}

// Without memory-mapped reading, which is version 3.
constexpr sqlite3_io_methods kFileMethods = {2,
                                             Close,
                                             Read,
                                             Write,
                                             Truncate,
                                             Sync,
                                             FileSize,
                                             Lock,
                                             Unlock,
                                             CheckReservedLock,
                                             FileControl,
                                             SectorSize,
                                             DeviceCharacteristics,
                                             ShmMap,
                                             ShmLock,
                                             ShmBarrier,
                                             ShmUnmap,
                                             nullptr,
                                             nullptr};

// ---- The system layer -------------------------------------------------------------------------------

sqlite3_vfs* g_real = nullptr;

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  auto* opened = reinterpret_cast<File*>(file);
  opened->base.pMethods = nullptr;
  if (FailsAsInputOutput()) return SQLITE_CANTOPEN;
  if (Fails(Fault::kFull)) return SQLITE_FULL;
  opened->real = reinterpret_cast<sqlite3_file*>(opened + 1);
  const int result = g_real->xOpen(g_real, name, opened->real, flags, out_flags);
  if (opened->real->pMethods != nullptr) opened->base.pMethods = &kFileMethods;
  return result;
}

int Delete(sqlite3_vfs*, const char* name, int sync_folder) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_DELETE;
  return g_real->xDelete(g_real, name, sync_folder);
}

int Access(sqlite3_vfs*, const char* name, int flags, int* result) {
  if (FailsAsInputOutput()) return SQLITE_IOERR_ACCESS;
  return g_real->xAccess(g_real, name, flags, result);
}

int FullPathname(sqlite3_vfs*, const char* name, int size, char* path) {
  if (FailsAsInputOutput()) return SQLITE_CANTOPEN_FULLPATH;
  return g_real->xFullPathname(g_real, name, size, path);
}

// Waiting for somebody who is not there takes no time.
int Sleep(sqlite3_vfs*, int microseconds) {
  return g_plan.is_armed ? microseconds : g_real->xSleep(g_real, microseconds);
}

void RegisterSystemLayer() {
  g_real = sqlite3_vfs_find("unix");
  static sqlite3_vfs layer = *g_real;
  layer.pNext = nullptr;
  layer.zName = "faulty";
  layer.szOsFile = static_cast<int>(sizeof(File)) + g_real->szOsFile;
  layer.xOpen = Open;
  layer.xDelete = Delete;
  layer.xAccess = Access;
  layer.xFullPathname = FullPathname;
  layer.xSleep = Sleep;
  sqlite3_vfs_register(&layer, 1);
}

// ---- The allocator ----------------------------------------------------------------------------------

sqlite3_mem_methods g_memory;

void* Allocate(int size) { return Fails(Fault::kNoMemory) ? nullptr : g_memory.xMalloc(size); }

void* Reallocate(void* memory, int size) {
  return Fails(Fault::kNoMemory) ? nullptr : g_memory.xRealloc(memory, size);
}

// Without the small blocks that a connection sets aside: those could not fail.
void ChooseAllocator() {
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_memory);
  sqlite3_mem_methods counting = g_memory;
  counting.xMalloc = Allocate;
  counting.xRealloc = Reallocate;
  sqlite3_config(SQLITE_CONFIG_MALLOC, &counting);
  sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
}

const bool is_in_place = [] {
  ChooseAllocator();
  RegisterSystemLayer();
  return true;
}();

}  // namespace

void Arm(Fault fault, Duration duration, int nth) {
  g_plan = {is_in_place, fault, duration, nth, 0, false};
}

int Disarm() {
  g_plan.is_armed = false;
  return g_plan.calls;
}

bool HasHappened() { return g_plan.has_happened; }

}  // namespace holds
