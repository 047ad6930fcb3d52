#include "BtOsif_pol/pol_store_tracker.h"

#include "btosif/osif_util/charset.h"
#include "platform/api/bstr.h"

namespace {

Bstr BstrOf(const std::string& ascii) { return Bstr(std::u16string(ascii.begin(), ascii.end())); }

}  // namespace

StoreTracker::StoreTracker(IPOutlookApp& application) {
  if (FAILED(application.QueryInterface(IStoreChanges::kIid, changes_.put_void()))) {
    changes_.reset();
  }
}

std::string StoreTracker::Mark() const {
  Bstr mark;
  if (!changes_ || changes_->GetMark(mark.put()) != S_OK) return {};
  return {mark.view().begin(), mark.view().end()};
}

bool StoreTracker::Flush() const { return !changes_ || SUCCEEDED(changes_->Flush()); }

std::optional<TouchedItems> StoreTracker::Touched(const std::string& since,
                                                  const std::string& until) const {
  ComPtr<IChangedItems> items;
  if (!changes_) return std::nullopt;
  if (changes_->GetChanges(BstrOf(since).get(), BstrOf(until).get(), items.put()) != S_OK) {
    return std::nullopt;
  }
  TouchedItems touched;
  LONG oid = 0;
  int folder = 0;
  LONGLONG stamp = 0;
  HRESULT result;
  while ((result = items->Next(&oid, &folder, &stamp)) == S_OK) {
    touched.push_back({static_cast<uint32_t>(oid), folder, stamp});
  }
  if (FAILED(result)) return std::nullopt;
  return touched;
}

std::optional<int64_t> pol_StampOf(IDispatch& item) {
  ComPtr<IItemStamp> stamped;
  LONGLONG stamp = 0;
  if (FAILED(item.QueryInterface(IItemStamp::kIid, stamped.put_void()))) return std::nullopt;
  if (FAILED(stamped->get_Stamp(&stamp))) return std::nullopt;
  return stamp;
}
