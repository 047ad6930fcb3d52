// A handheld whose store holds generated items.
#pragma once

#include <stdlib.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "bench/support/generated_objects.h"
#include "bench/support/temp_folder.h"
#include "osif.h"

namespace bench {

enum class ItemKind { kContact, kEvent, kEventOfOneSubject, kEventWithoutSubject, kTask, kMessage };

inline int32_t StoreOf(ItemKind kind) {
  switch (kind) {
    case ItemKind::kContact:
      return OSIF_STORE_PB;
    case ItemKind::kMessage:
      return OSIF_STORE_MSG_IN;
    default:
      return OSIF_STORE_CAL;
  }
}

inline std::string ItemText(ItemKind kind, int number, int count) {
  switch (kind) {
    case ItemKind::kContact:
      return Card(number, count);
    case ItemKind::kEvent:
      return Event(number);
    case ItemKind::kEventOfOneSubject:
      return EventOfOneSubject(number);
    case ItemKind::kEventWithoutSubject:
      return EventWithoutSubject(number);
    case ItemKind::kTask:
      return Task(number);
    case ItemKind::kMessage:
      return Message(number);
  }
  return {};
}

// Lends each object of a file to `use`.
inline void ReadFile(const std::string& path, std::function<void(OsifObject&)> use) {
  const auto lend = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    (*static_cast<std::function<void(OsifObject&)>*>(context))(*object);
    return 0;
  };
  Require(OSIF_ReadObjects(Wide(path).c_str(), lend, &use) == OSIF_OK, "a file was not read");
}

// A device with `count` items of one kind and an empty folder for change logs. Filling it takes longer than
// most measurements, so it is made once for each size and stays as it is.
class FilledDevice {
 public:
  FilledDevice(ItemKind kind, int count) : kind_(kind), count_(count) {
    std::filesystem::create_directory(folder_.File("Sync"));
    Use();
    if (count > 0) Fill();
    uint32_t stored = 0;
    const bool is_counted = OSIF_GetObjectCount(StoreOf(kind), &stored) == OSIF_OK;
    Require(!is_counted || stored == static_cast<uint32_t>(count),
            "not every item is in the store");
    OSIF_Close();
  }

  // Opens the library on this device; the caller closes it.
  void Use() const {
    setenv("OSIF_DEVICE", folder_.path().c_str(), 1);
    Require(OSIF_Open() == OSIF_OK, "the device was not opened");
  }

  ItemKind kind() const { return kind_; }
  int count() const { return count_; }
  std::string database() const { return folder_.File("device.db"); }
  std::string sync_folder() const { return folder_.File("Sync"); }

 private:
  void Fill() const {
    PutBytes(folder_.File("items"),
             Repeated(count_, [this](int i) { return ItemText(kind_, i, count_); }));
    ReadFile(folder_.File("items"), [this](OsifObject& object) {
      Require(OSIF_AddObject(StoreOf(kind_), &object, nullptr, nullptr) == OSIF_OK,
              "an item was not stored");
    });
  }

  TempFolder folder_;
  ItemKind kind_;
  int count_;
};

// The device of that kind and size, made when it is first asked for.
inline const FilledDevice& DeviceOf(ItemKind kind, int64_t count) {
  static std::map<std::pair<ItemKind, int64_t>, std::unique_ptr<FilledDevice>> devices;
  auto& device = devices[{kind, count}];
  if (!device) device = std::make_unique<FilledDevice>(kind, static_cast<int>(count));
  return *device;
}

// The library, open on a device while the object lives.
class OpenLibrary {
 public:
  explicit OpenLibrary(const FilledDevice& device) { device.Use(); }
  ~OpenLibrary() { OSIF_Close(); }
  OpenLibrary(const OpenLibrary&) = delete;
  OpenLibrary& operator=(const OpenLibrary&) = delete;
};

}  // namespace bench
