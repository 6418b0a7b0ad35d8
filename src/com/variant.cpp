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

// A Variant of type vt holding what fill writes; the type is set last, so that a throwing fill
// leaves an empty Variant behind.
template <class Fill>
Variant Made(VARTYPE vt, Fill fill) {
  Variant made;
  fill(*made.get());
  made.get()->vt = vt;
  return made;
}

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
  return Made(VT_I1, [&](VARIANT& v) { v.cVal = static_cast<CHAR>(value); });
}

Variant Variant::I2(int16_t value) {
  return Made(VT_I2, [&](VARIANT& v) { v.iVal = value; });
}

Variant Variant::I4(int32_t value) {
  return Made(VT_I4, [&](VARIANT& v) { v.lVal = value; });
}

Variant Variant::I8(int64_t value) {
  return Made(VT_I8, [&](VARIANT& v) { v.llVal = value; });
}

Variant Variant::UI1(uint8_t value) {
  return Made(VT_UI1, [&](VARIANT& v) { v.bVal = value; });
}

Variant Variant::UI2(uint16_t value) {
  return Made(VT_UI2, [&](VARIANT& v) { v.uiVal = value; });
}

Variant Variant::UI4(uint32_t value) {
  return Made(VT_UI4, [&](VARIANT& v) { v.ulVal = value; });
}

Variant Variant::UI8(uint64_t value) {
  return Made(VT_UI8, [&](VARIANT& v) { v.ullVal = value; });
}

Variant Variant::R4(float value) {
  return Made(VT_R4, [&](VARIANT& v) { v.fltVal = value; });
}

Variant Variant::R8(double value) {
  return Made(VT_R8, [&](VARIANT& v) { v.dblVal = value; });
}

Variant Variant::Bool(bool value) {
  return Made(VT_BOOL, [&](VARIANT& v) { v.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE; });
}

Variant Variant::Date(DATE value) {
  return Made(VT_DATE, [&](VARIANT& v) { v.date = value; });
}

Variant Variant::String(std::wstring_view text) {
  return Made(VT_BSTR, [&](VARIANT& v) { v.bstrVal = Bstr(text).Detach(); });
}

Variant Variant::Error(SCODE value) {
  return Made(VT_ERROR, [&](VARIANT& v) { v.scode = value; });
}

Variant Variant::Null() {
  return Made(VT_NULL, [](VARIANT&) {});
}

Variant Variant::Unknown(IUnknown* unknown) {
  return Made(VT_UNKNOWN, [&](VARIANT& v) {
    v.punkVal = unknown;
    if (unknown != nullptr) unknown->AddRef();
  });
}

Variant Variant::Dispatch(IDispatch* dispatch) {
  return Made(VT_DISPATCH, [&](VARIANT& v) {
    v.pdispVal = dispatch;
    if (dispatch != nullptr) dispatch->AddRef();
  });
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
