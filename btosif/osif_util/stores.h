// The stores: what each holds and what it is called. Whatever differs by store is a table by kind of store
// (releasing a record here in the text layer, the formats in the frame, the operations in the adapters), so
// that no one else asks for a store's number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "osif.h"

// What the objects of a store are. A number that no store has is a kind, too: a table by kind has a row for
// it, and so says what such a number is answered.
enum class StoreKind { kContacts, kCalendar, kNotes, kMessages, kUnknown };

// A table with a row for each kind of store, in the order of StoreKind.
template <typename Row>
using ByStoreKind = std::array<Row, static_cast<size_t>(StoreKind::kUnknown) + 1>;

// A store as people and file names call it.
struct StoreRow {
  const char* name;
  StoreKind kind;
};

// The stores, each at the place of its number.
inline constexpr std::array<StoreRow, OSIF_STORE_MSG_OUT + 1> kStoreRows = {{
    {"pb", StoreKind::kContacts},
    {"cal", StoreKind::kCalendar},
    {"note", StoreKind::kNotes},
    {"msg-in", StoreKind::kMessages},
    {"msg-sent", StoreKind::kMessages},
    {"msg-out", StoreKind::kMessages},
}};

// True for the number of a store.
constexpr bool IsStore(int32_t store_id) {
  return store_id >= 0 && static_cast<size_t>(store_id) < kStoreRows.size();
}

// kUnknown for a number that no store has.
constexpr StoreKind KindOfStore(int32_t store_id) {
  return IsStore(store_id) ? kStoreRows[static_cast<size_t>(store_id)].kind : StoreKind::kUnknown;
}

// The row of a store in a table by kind.
template <typename Row>
constexpr const Row& RowOfStore(const ByStoreKind<Row>& table, int32_t store_id) {
  return table[static_cast<size_t>(KindOfStore(store_id))];
}

// "pb", "cal", "note", "msg-in", "msg-sent", "msg-out"; "unknown" for any other number.
constexpr const char* StoreName(int32_t store_id) {
  return IsStore(store_id) ? kStoreRows[static_cast<size_t>(store_id)].name : "unknown";
}

// The number of the store of that name; nothing for a name that no store has.
constexpr std::optional<int32_t> StoreOfName(std::string_view name) {
  for (size_t i = 0; i < kStoreRows.size(); ++i) {
    if (name == kStoreRows[i].name) return static_cast<int32_t>(i);
  }
  return std::nullopt;
}
