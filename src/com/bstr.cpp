// lmk::Bstr: owns one BSTR.
#include "com/bstr.h"

#include <cassert>
#include <limits>
#include <memory>
#include <utility>

#include "com/com_error.h"

namespace lmk {
namespace {

BSTR Allocate(std::wstring_view text) {
  if (text.size() > std::numeric_limits<UINT>::max()) throw ComError(E_OUTOFMEMORY);
  BSTR bstr = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (bstr == nullptr) throw ComError(E_OUTOFMEMORY);
  return bstr;
}

}  // namespace

Bstr::Bstr(std::wstring_view text) : bstr_(Allocate(text)) {}

Bstr::Bstr(const Bstr& other) : bstr_(other.bstr_ == nullptr ? nullptr : Allocate(other.view())) {}

Bstr::Bstr(Bstr&& other) noexcept : bstr_(std::exchange(other.bstr_, nullptr)) {}

Bstr& Bstr::operator=(const Bstr& other) {
  if (this != std::addressof(other)) {
    Bstr copy(other);
    Attach(copy.Detach());
  }
  return *this;
}

Bstr& Bstr::operator=(Bstr&& other) noexcept {
  if (this != std::addressof(other)) Attach(other.Detach());
  return *this;
}

Bstr::~Bstr() { SysFreeString(bstr_); }

Bstr Bstr::Copy(BSTR bstr) {
  Bstr result;
  if (bstr != nullptr) result.bstr_ = Allocate(std::wstring_view(bstr, SysStringLen(bstr)));
  return result;
}

BSTR* Bstr::operator&() noexcept {
  assert(bstr_ == nullptr);
  return &bstr_;
}

BSTR Bstr::Detach() noexcept { return std::exchange(bstr_, nullptr); }

void Bstr::Attach(BSTR bstr) noexcept {
  if (bstr == bstr_) return;
  SysFreeString(std::exchange(bstr_, bstr));
}

void Bstr::Reset() noexcept { Attach(nullptr); }

std::wstring_view Bstr::view() const noexcept {
  if (bstr_ == nullptr) return {};
  return std::wstring_view(bstr_, SysStringLen(bstr_));
}

}  // namespace lmk
