// A collection is what its folder held when the collection was made. It remembers the highest id of that time
// and reads the ids below it when a count or a place is asked for; ids only ever grow, so what came later
// never shows.
//
// A search runs in the database and keeps the ids that it found. FindNext loads one after the other and
// passes over items that were deleted meanwhile. A search by name runs in two steps: at first for items that
// have the asked parts of the name and no others, which the index finds at once, and for all the others only
// if the caller goes on.

#include "platform/device/pim/items.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/device/pim/objects.h"
#include "platform/device/pim/query.h"
#include "platform/device/pim/restriction.h"

namespace device {
namespace {

class Items final : public PimObject<IPOutlookItemCollection, IID_IPOutlookItemCollection> {
 public:
  // The collection holds the ids up to `last_id`. They are read when they are first asked for: a search
  // by an index needs none of them.
  Items(const PimSession& session, const PimKind& kind, int32_t last_id)
      : session_(session), kind_(kind), last_id_(last_id) {}

  HRESULT Add(IDispatch** item) override { return CreateItem(session_, kind_, item); }

  HRESULT get_Count(int* count) override {
    if (count == nullptr) return E_INVALIDARG;
    *count = 0;
    return Guarded([&] {
      const HRESULT hr = ReadIds();
      *count = static_cast<int>(ids_.size());
      return hr;
    });
  }

  HRESULT Find(BSTR restriction, IDispatch** item) override {
    if (item == nullptr) return E_INVALIDARG;
    *item = nullptr;
    return Guarded([&] {
      has_search_ = false;  // a search that fails is none, and ends the one before it
      const HRESULT hr = Search({restriction, SysStringLen(restriction)});
      if (FAILED(hr)) return hr;
      has_search_ = true;
      next_match_ = 0;
      return FindNext(item);
    });
  }

  HRESULT FindNext(IDispatch** item) override {
    if (item == nullptr) return E_INVALIDARG;
    *item = nullptr;
    if (!has_search_) return E_UNEXPECTED;
    return Guarded([&] {
      HRESULT hr = LoadNextMatch(item);
      if (SUCCEEDED(hr) && *item == nullptr && rest_) {
        hr = SearchRest();
        if (SUCCEEDED(hr)) hr = LoadNextMatch(item);
      }
      return hr;
    });
  }

  HRESULT Item(int index, IDispatch** item) override {
    if (item == nullptr) return E_INVALIDARG;
    *item = nullptr;
    return Guarded([&] {
      if (const HRESULT hr = ReadIds(); FAILED(hr)) return hr;
      if (!IsIndex(index)) return E_INVALIDARG;
      return LoadItem(session_, kind_, ids_[static_cast<size_t>(index - 1)], item);
    });
  }

  HRESULT Remove(int index) override {
    return Guarded([&] {
      if (const HRESULT hr = ReadIds(); FAILED(hr)) return hr;
      if (!IsIndex(index)) return E_INVALIDARG;
      const auto id = ids_.begin() + (index - 1);
      const HRESULT hr = DeleteObject(*session_.database, *id);
      if (SUCCEEDED(hr)) ids_.erase(id);
      return hr;
    });
  }

  HRESULT Restrict(BSTR, IPOutlookItemCollection** items) override {
    if (items != nullptr) *items = nullptr;
    return E_NOTIMPL;
  }

  HRESULT Sort(BSTR, VARIANT_BOOL) override { return E_NOTIMPL; }

  HRESULT get_IncludeRecurrences(VARIANT_BOOL* include) override {
    if (include == nullptr) return E_INVALIDARG;
    *include = VARIANT_FALSE;
    return S_OK;
  }

  HRESULT put_IncludeRecurrences(VARIANT_BOOL include) override {
    return include == VARIANT_FALSE ? S_OK : E_NOTIMPL;
  }

  HRESULT get__NewEnum(IUnknown** enumerator) override {
    if (enumerator != nullptr) *enumerator = nullptr;
    return E_NOTIMPL;
  }

  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(session_.application, application);
  }

 private:
  bool IsIndex(int index) const { return index >= 1 && static_cast<size_t>(index) <= ids_.size(); }

  // Leaves null when there is no match left.
  HRESULT LoadNextMatch(IDispatch** item) {
    while (next_match_ < matches_.size()) {
      const HRESULT hr = LoadFromFolder(matches_[next_match_++], item);
      if (hr != kNoSuchItem) return hr;
    }
    return S_OK;
  }

  // A table holds what is in no folder as well: the changed occurrences of series.
  HRESULT LoadFromFolder(int32_t oid, IDispatch** item) {
    int folder = 0;
    if (const HRESULT hr = FindObject(*session_.database, oid, &folder); FAILED(hr)) return hr;
    return folder == kind_.folder ? LoadItem(session_, kind_, oid, item) : kNoSuchItem;
  }

  // Fills the matches. Whoever looks for a name is mostly content with the items of just this name: the others,
  // of which there can be any number, are left to FindNext.
  HRESULT Search(std::u16string_view text) {
    const PimTable& table = *kind_.table();
    const std::optional<Restriction> restriction = ParseRestriction(text);
    if (!restriction) return E_INVALIDARG;
    std::optional<PimCondition> condition = MakeCondition(table, *restriction);
    if (!condition) return E_INVALIDARG;
    rest_.reset();
    const std::optional<PimCondition> exact = MakeExactNameCondition(table, *condition);
    if (!exact) return FindIdsUpToLast(*condition, &matches_);
    const HRESULT hr = FindIdsUpToLast(*exact, &matches_);
    if (SUCCEEDED(hr)) rest_ = std::move(condition);
    return hr;
  }

  // Replaces the matches, all of which were given, by the others.
  HRESULT SearchRest() {
    std::vector<int32_t> all;
    if (const HRESULT hr = FindIdsUpToLast(*rest_, &all); FAILED(hr)) return hr;
    std::vector<int32_t> others;
    std::set_difference(all.begin(), all.end(), matches_.begin(), matches_.end(),
                        std::back_inserter(others));
    matches_ = std::move(others);
    next_match_ = 0;
    rest_.reset();
    return S_OK;
  }

  // The ids of this collection whose items meet a condition, ascending.
  HRESULT FindIdsUpToLast(const PimCondition& condition, std::vector<int32_t>* ids) {
    const int error = FindIds(*session_.database, *kind_.table(), condition, ids);
    if (error != SQLITE_OK) return PimResult(error);
    ids->erase(std::upper_bound(ids->begin(), ids->end(), last_id_), ids->end());
    return S_OK;
  }

  HRESULT ReadIds() {
    if (has_ids_) return S_OK;
    const HRESULT hr = ListObjects(*session_.database, kind_.folder, last_id_, &ids_);
    has_ids_ = SUCCEEDED(hr);
    return hr;
  }

  const PimSession session_;
  const PimKind& kind_;
  const int32_t last_id_;
  std::vector<int32_t> ids_;
  bool has_ids_ = false;
  std::vector<int32_t> matches_;      // of the last Find
  std::optional<PimCondition> rest_;  // what finds the matches that were not searched for yet
  size_t next_match_ = 0;
  bool has_search_ = false;
};

}  // namespace

HRESULT NewItems(const PimSession& session, const PimKind& kind, IPOutlookItemCollection** items) {
  if (items == nullptr) return E_INVALIDARG;
  *items = nullptr;
  return Guarded([&] {
    int32_t last_id = 0;
    const HRESULT hr = FindLastObject(*session.database, kind.folder, &last_id);
    if (SUCCEEDED(hr)) *items = new Items(session, kind, last_id);
    return hr;
  });
}

}  // namespace device
