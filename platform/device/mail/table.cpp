// A table is a place in rows that come from elsewhere, and the columns that a caller wants of them. A query
// reads only its own rows and moves the place when all of them are there, so that a query that failed can be
// repeated. Rows that are gone by now are passed over, and do not count towards those asked for.
//
// Of restrictions the table understands equations, alone or several at once; whether they can be looked for
// is for the rows to say, which know their indexes.

#include "platform/device/mail/table.h"

#include <algorithm>
#include <utility>

#include "platform/device/mail/errors.h"
#include "platform/device/mail/object.h"

namespace device {
namespace {

struct RowSetFree {
  void operator()(LPSRowSet rows) const { FreeProws(rows); }
};
using RowSet = std::unique_ptr<SRowSet, RowSetFree>;

// Adds what a condition asks for; it is one equation, or several.
void TakeCondition(const SRestriction& condition, MapiProperties* wanted) {
  if (condition.rt == RES_AND) {
    const SAndRestriction& all = condition.res.resAnd;
    for (ULONG i = 0; i < all.cRes; ++i) {
      // Several within several would only be a longer way to say the same.
      if (all.lpRes[i].rt != RES_PROPERTY) throw MapiFailure{MAPI_E_TOO_COMPLEX, 0};
      TakeCondition(all.lpRes[i], wanted);
    }
    return;
  }
  const SPropertyRestriction& equation = condition.res.resProperty;
  if (condition.rt != RES_PROPERTY || equation.relop != RELOP_EQ) {
    throw MapiFailure{MAPI_E_TOO_COMPLEX, 0};
  }
  MapiValue value;
  if (equation.lpProp == nullptr) throw MapiFailure{MAPI_E_INVALID_PARAMETER, 0};
  if (const SCODE code = TakeValue(*equation.lpProp, &value); code != S_OK) {
    throw MapiFailure{code, 0};
  }
  wanted->insert_or_assign(PROP_ID(equation.ulPropTag), std::move(value));
}

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
      // The beginning is there without counting.
      position_ = rows <= 0 ? 0 : std::min(static_cast<size_t>(rows), rows_->Count());
      if (sought != nullptr) *sought = static_cast<LONG>(position_);
      return S_OK;
    });
  }

  HRESULT Restrict(LPSRestriction restriction, ULONG flags) override {
    return Run([&] {
      if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
      MapiProperties wanted;
      if (restriction != nullptr) TakeCondition(*restriction, &wanted);
      if (!rows_->Restrict(wanted)) return MAPI_E_TOO_COMPLEX;
      position_ = 0;
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
  // The rows from a position on, which moves past them. The set owns its rows from the first on: when reading
  // fails halfway, they are freed with it.
  RowSet ReadRows(size_t count, size_t* position) {
    const size_t room = std::min(count, rows_->Count() - *position);
    RowSet set(NewMailBytes<SRowSet>(CbNewSRowSet(room)).release());
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

  size_t Count() override { return rows_.size(); }
  bool Restrict(const MapiProperties& wanted) override { return wanted.empty(); }
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
