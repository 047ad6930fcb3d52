#include "platform/device/mapi_table.h"

#include <algorithm>
#include <utility>

#include "platform/device/mapi_object.h"

namespace device {
namespace {

struct RowSetFree {
  void operator()(LPSRowSet rows) const { FreeProws(rows); }
};
using RowSet = std::unique_ptr<SRowSet, RowSetFree>;

class Table final : public MapiObject<IMAPITable, IID_IMAPITable> {
 public:
  Table(std::unique_ptr<MapiRows> rows, std::vector<ULONG> columns, MapiColumns kind)
      : rows_(std::move(rows)), columns_(std::move(columns)), kind_(kind) {}

  HRESULT SetColumns(LPSPropTagArray columns, ULONG flags) override {
    return Run([&] {
      if (kind_ == MapiColumns::kFixed) return MAPI_E_NO_SUPPORT;
      if (columns == nullptr || columns->cValues == 0) return MAPI_E_INVALID_PARAMETER;
      if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
      columns_ = TagList(*columns);
      return S_OK;
    });
  }

  HRESULT SeekRow(BOOKMARK origin, LONG rows, LONG* sought) override {
    return Run([&] {
      if (origin != BOOKMARK_BEGINNING) return MAPI_E_INVALID_BOOKMARK;
      position_ = std::min(static_cast<size_t>(std::max(rows, 0)), rows_->Count());
      if (sought != nullptr) *sought = static_cast<LONG>(position_);
      return S_OK;
    });
  }

  HRESULT QueryRows(LONG count, ULONG flags, LPSRowSet* rows) override {
    if (rows != nullptr) *rows = nullptr;
    return Run([&] {
      if (rows == nullptr || count <= 0) return MAPI_E_INVALID_PARAMETER;
      if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
      size_t position = position_;
      *rows = ReadRows(static_cast<size_t>(count), &position).release();
      position_ = position;
      return S_OK;
    });
  }

 private:
  // The rows from a position on, which moves behind them.
  RowSet ReadRows(size_t count, size_t* position) {
    const size_t room = std::min(count, rows_->Count() - *position);
    RowSet set(NewMapiBytes<SRowSet>(CbNewSRowSet(room)).release());
    SRow* row = set->aRow;
    while (set->cRows < room && *position < rows_->Count()) {
      const std::optional<MapiProperties> values = rows_->Row((*position)++, columns_);
      if (!values) continue;
      row->cValues = static_cast<ULONG>(columns_.size());
      row->lpProps = GiveValues(*values, columns_, nullptr).release();
      ++row;
      ++set->cRows;
    }
    return set;
  }

  const std::unique_ptr<MapiRows> rows_;
  std::vector<ULONG> columns_;
  const MapiColumns kind_;
  size_t position_ = 0;
};

class FixedRows final : public MapiRows {
 public:
  explicit FixedRows(std::vector<MapiProperties> rows) : rows_(std::move(rows)) {}

  size_t Count() const override { return rows_.size(); }
  std::optional<MapiProperties> Row(size_t index, const std::vector<ULONG>&) override {
    return rows_[index];
  }

 private:
  const std::vector<MapiProperties> rows_;
};

}  // namespace

IMAPITable* NewTable(std::unique_ptr<MapiRows> rows, std::vector<ULONG> columns, MapiColumns kind) {
  return new Table(std::move(rows), std::move(columns), kind);
}

std::unique_ptr<MapiRows> RowsOf(std::vector<MapiProperties> rows) {
  return std::make_unique<FixedRows>(std::move(rows));
}

}  // namespace device
