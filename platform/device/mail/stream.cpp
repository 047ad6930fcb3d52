// A body is held in memory and handed over whole, so that its message can store it with everything else in one
// transaction. It is copied at a Commit, after which the stream may be written on, and given away at the last
// Release.

#include "platform/device/mail/stream.h"

#include <algorithm>
#include <utility>

#include "platform/device/mail/object.h"

namespace device {
namespace {

constexpr HRESULT kAccessDenied = static_cast<HRESULT>(0x80030005u);    // STG_E_ACCESSDENIED
constexpr HRESULT kInvalidPointer = static_cast<HRESULT>(0x80030009u);  // STG_E_INVALIDPOINTER
constexpr HRESULT kMediumFull = static_cast<HRESULT>(0x80030070u);      // STG_E_MEDIUMFULL

constexpr size_t kLargest = 900'000'000;  // bytes; the database takes a little more

class Stream final : public MapiUnknown<IStream, IID_ISequentialStream, IID_IStream> {
 public:
  Stream(std::string bytes, StreamSink sink, bool is_new)
      : bytes_(std::move(bytes)), sink_(std::move(sink)), is_changed_(is_new) {}

  HRESULT Read(void* bytes, ULONG size, ULONG* read) override {
    if (read != nullptr) *read = 0;
    if (bytes == nullptr) return kInvalidPointer;
    const size_t taken = bytes_.copy(static_cast<char*>(bytes), size, position_);
    position_ += taken;
    if (read != nullptr) *read = static_cast<ULONG>(taken);
    return S_OK;
  }

  HRESULT Write(const void* bytes, ULONG size, ULONG* written) override {
    if (written != nullptr) *written = 0;
    if (sink_ == nullptr) return kAccessDenied;
    if (bytes == nullptr) return kInvalidPointer;
    // Refused before anything is taken: what was written so far stays, and can still be stored.
    if (size > kLargest - position_) return kMediumFull;
    return Outcome([&] {
             const size_t replaced = std::min<size_t>(size, bytes_.size() - position_);
             bytes_.replace(position_, replaced, static_cast<const char*>(bytes), size);
             position_ += size;
             is_changed_ = true;
             if (written != nullptr) *written = size;
             return S_OK;
           })
        .result;
  }

  HRESULT Commit(DWORD) override {
    if (sink_ == nullptr) return S_OK;
    return Outcome([&] {
             sink_(bytes_);
             is_changed_ = false;
             return S_OK;
           })
        .result;
  }

  HRESULT Stat(STATSTG* status, DWORD) override {
    if (status == nullptr) return kInvalidPointer;
    *status = {};
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = bytes_.size();
    return S_OK;
  }

 private:
  void LastRelease() noexcept override {
    if (sink_ != nullptr && is_changed_) sink_(std::move(bytes_));
  }

  std::string bytes_;
  const StreamSink sink_;
  size_t position_ = 0;  // never beyond the bytes
  bool is_changed_;
};

}  // namespace

IStream* NewStream(std::string bytes, StreamSink sink, bool is_new) {
  return new Stream(std::move(bytes), std::move(sink), is_new);
}

}  // namespace device
