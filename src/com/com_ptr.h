// lmk::ComPtr<T>: owns one interface reference.
#pragma once

#include <cassert>
#include <cstddef>
#include <utility>

#include "com/com_sdk.h"

namespace lmk {

/// Holds one reference to a COM object; copies AddRef, destruction Releases.
template <class T>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  ComPtr(std::nullptr_t) noexcept {}
  /// AddRefs `p` (use Attach to take over a reference instead).
  explicit ComPtr(T* p) noexcept : p_(p) { AddRefInternal(); }
  ComPtr(const ComPtr& other) noexcept : p_(other.p_) { AddRefInternal(); }
  template <class U>
  ComPtr(const ComPtr<U>& other) noexcept : p_(other.Get()) {
    AddRefInternal();
  }
  ComPtr(ComPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  template <class U>
  ComPtr(ComPtr<U>&& other) noexcept : p_(other.Detach()) {}
  ~ComPtr() { Reset(); }

  ComPtr& operator=(const ComPtr& other) noexcept {
    ComPtr(other).Swap(*this);
    return *this;
  }
  ComPtr& operator=(ComPtr&& other) noexcept {
    ComPtr(std::move(other)).Swap(*this);
    return *this;
  }
  ComPtr& operator=(std::nullptr_t) noexcept {
    Reset();
    return *this;
  }

  T* Get() const noexcept { return p_; }
  T* operator->() const noexcept {
    assert(p_ != nullptr);
    return p_;
  }
  /// For out-parameters; the pointer must be empty (asserted).
  T** operator&() noexcept {
    assert(p_ == nullptr);
    return &p_;
  }
  T** GetAddressOf() noexcept { return &p_; }
  T* const* GetAddressOf() const noexcept { return &p_; }
  T** ReleaseAndGetAddressOf() noexcept {
    Reset();
    return &p_;
  }
  /// Releases the reference; returns what Release returned (0 when empty).
  ULONG Reset() noexcept {
    ULONG count = 0;
    if (T* p = std::exchange(p_, nullptr)) count = p->Release();
    return count;
  }
  /// Takes over a reference without AddRef.
  void Attach(T* p) noexcept {
    Reset();
    p_ = p;
  }
  /// Gives up the reference without Release.
  T* Detach() noexcept { return std::exchange(p_, nullptr); }
  void Swap(ComPtr& other) noexcept { std::swap(p_, other.p_); }
  explicit operator bool() const noexcept { return p_ != nullptr; }

  /// QueryInterface for U; *out is emptied first. E_POINTER when this is empty or out is null.
  template <class U>
  HRESULT As(ComPtr<U>* out) const noexcept {
    if (out == nullptr) return E_POINTER;
    out->Reset();
    if (p_ == nullptr) return E_POINTER;
    return p_->QueryInterface(IidOf<U>(), reinterpret_cast<void**>(out->GetAddressOf()));
  }
  /// QueryInterface for U into a raw out-pointer (what `&ptr` gives for a ComPtr<U>).
  template <class U>
  HRESULT As(U** out) const noexcept {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (p_ == nullptr) return E_POINTER;
    return p_->QueryInterface(IidOf<U>(), reinterpret_cast<void**>(out));
  }
  /// QueryInterface by IID into a raw out-pointer.
  HRESULT AsIID(REFIID riid, void** out) const noexcept {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (p_ == nullptr) return E_POINTER;
    return p_->QueryInterface(riid, out);
  }
  /// Hands out a new reference (null when empty); E_POINTER for a null out.
  HRESULT CopyTo(T** out) const noexcept {
    if (out == nullptr) return E_POINTER;
    *out = p_;
    AddRefInternal();
    return S_OK;
  }

  friend bool operator==(const ComPtr& a, const ComPtr& b) noexcept { return a.p_ == b.p_; }
  friend bool operator==(const ComPtr& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }

 private:
  void AddRefInternal() const noexcept {
    if (p_ != nullptr) p_->AddRef();
  }

  T* p_ = nullptr;
};

}  // namespace lmk
