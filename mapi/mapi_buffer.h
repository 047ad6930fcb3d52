// Owners of what the messaging store allocates.
#pragma once

#include <memory>

#include "platform/api/cemapi.h"

struct MapiBufferDeleter {
  void operator()(void* buffer) const { MAPIFreeBuffer(buffer); }
};
template <typename T>
using MapiBuffer = std::unique_ptr<T, MapiBufferDeleter>;

struct RowSetDeleter {
  void operator()(SRowSet* rows) const { FreeProws(rows); }
};
using RowSet = std::unique_ptr<SRowSet, RowSetDeleter>;
