// An owner of one reference to an interface.
#pragma once

#include <utility>

// Copies share the object with a reference each.
template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr& other) : pointer_(other.pointer_) {
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~ComPtr() { reset(); }

  // Takes over a reference that the caller owns.
  explicit ComPtr(T* owned) : pointer_(owned) {}

  // For out parameters: lets go of what it held and gives the place to fill.
  T** put() {
    reset();
    return &pointer_;
  }
  // The same for out parameters that are declared as void**.
  void** put_void() { return reinterpret_cast<void**>(put()); }

  T* get() const { return pointer_; }
  T* operator->() const { return pointer_; }
  T& operator*() const { return *pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }

  // Lets go of the object.
  void reset() {
    if (T* old = std::exchange(pointer_, nullptr); old != nullptr) old->Release();
  }
  // Hands the reference over to the caller.
  T* release() { return std::exchange(pointer_, nullptr); }

 private:
  T* pointer_ = nullptr;
};
