// lmk::Variant: owns one VARIANT.
#include "com/variant.h"

#include <cstring>
#include <memory>
#include <utility>

#include "com/bstr.h"
#include "com/com_error.h"

namespace lmk {
namespace {

// Some SDK headers declare VariantCopy's source without const although it is only read.
VARIANT* MutableSource(const VARIANT& source) { return const_cast<VARIANT*>(&source); }

}  // namespace

Variant::Variant(const Variant& other) {
  VariantInit(&v_);
  ThrowIfFailed(VariantCopy(&v_, MutableSource(other.v_)));
}

Variant::Variant(Variant&& other) noexcept {
  v_ = other.v_;
  VariantInit(&other.v_);
}

Variant& Variant::operator=(const Variant& other) {
  if (this != std::addressof(other)) {
    Variant copy(other);
    *this = std::move(copy);
  }
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != std::addressof(other)) Attach(&other.v_);
  return *this;
}

Variant::~Variant() { VariantClear(&v_); }

Variant Variant::I1(int8_t value) {
  Variant v;
  v.v_.vt = VT_I1;
  v.v_.cVal = static_cast<CHAR>(value);
  return v;
}

Variant Variant::I2(int16_t value) {
  Variant v;
  v.v_.vt = VT_I2;
  v.v_.iVal = value;
  return v;
}

Variant Variant::I4(int32_t value) {
  Variant v;
  v.v_.vt = VT_I4;
  v.v_.lVal = value;
  return v;
}

Variant Variant::I8(int64_t value) {
  Variant v;
  v.v_.vt = VT_I8;
  v.v_.llVal = value;
  return v;
}

Variant Variant::UI1(uint8_t value) {
  Variant v;
  v.v_.vt = VT_UI1;
  v.v_.bVal = value;
  return v;
}

Variant Variant::UI2(uint16_t value) {
  Variant v;
  v.v_.vt = VT_UI2;
  v.v_.uiVal = value;
  return v;
}

Variant Variant::UI4(uint32_t value) {
  Variant v;
  v.v_.vt = VT_UI4;
  v.v_.ulVal = value;
  return v;
}

Variant Variant::UI8(uint64_t value) {
  Variant v;
  v.v_.vt = VT_UI8;
  v.v_.ullVal = value;
  return v;
}

Variant Variant::R4(float value) {
  Variant v;
  v.v_.vt = VT_R4;
  v.v_.fltVal = value;
  return v;
}

Variant Variant::R8(double value) {
  Variant v;
  v.v_.vt = VT_R8;
  v.v_.dblVal = value;
  return v;
}

Variant Variant::Bool(bool value) {
  Variant v;
  v.v_.vt = VT_BOOL;
  v.v_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  return v;
}

Variant Variant::Date(DATE value) {
  Variant v;
  v.v_.vt = VT_DATE;
  v.v_.date = value;
  return v;
}

Variant Variant::String(std::wstring_view text) {
  Variant v;
  v.v_.bstrVal = Bstr(text).Detach();
  v.v_.vt = VT_BSTR;
  return v;
}

Variant Variant::Error(SCODE value) {
  Variant v;
  v.v_.vt = VT_ERROR;
  v.v_.scode = value;
  return v;
}

Variant Variant::Null() {
  Variant v;
  v.v_.vt = VT_NULL;
  return v;
}

Variant Variant::Unknown(IUnknown* unknown) {
  Variant v;
  v.v_.vt = VT_UNKNOWN;
  v.v_.punkVal = unknown;
  if (unknown != nullptr) unknown->AddRef();
  return v;
}

Variant Variant::Dispatch(IDispatch* dispatch) {
  Variant v;
  v.v_.vt = VT_DISPATCH;
  v.v_.pdispVal = dispatch;
  if (dispatch != nullptr) dispatch->AddRef();
  return v;
}

Variant Variant::Copy(const VARIANT& source) {
  Variant v;
  ThrowIfFailed(VariantCopy(&v.v_, MutableSource(source)));
  return v;
}

VARIANT* Variant::operator&() noexcept {
  Clear();
  return &v_;
}

HRESULT Variant::ChangeType(VARTYPE vt, USHORT flags) noexcept {
  return VariantChangeType(&v_, &v_, flags, vt);
}

void Variant::Clear() noexcept {
  VariantClear(&v_);
  // A value VariantClear refuses (an unknown type) must not be freed again later.
  VariantInit(&v_);
}

void Variant::Detach(VARIANT* dest) noexcept {
  *dest = v_;
  VariantInit(&v_);
}

void Variant::Attach(VARIANT* src) noexcept {
  if (src == &v_) return;
  Clear();
  v_ = *src;
  VariantInit(src);
}

}  // namespace lmk
