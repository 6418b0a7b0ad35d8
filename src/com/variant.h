// lmk::Variant: owns one VARIANT.
#pragma once

#include <cstdint>
#include <string_view>

#include "com/com_sdk.h"

namespace lmk {

/// Owns one VARIANT (default VT_EMPTY). Values are made by the typed factories only, so an int
/// never silently becomes VT_I4 where VT_UI4 was meant.
class Variant {
 public:
  Variant() noexcept { VariantInit(&v_); }
  template <class T>
  Variant(T) = delete;
  /// VariantCopy; throws ComError on failure.
  Variant(const Variant& other);
  Variant(Variant&& other) noexcept;
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept;
  ~Variant();

  static Variant I1(int8_t value);
  static Variant I2(int16_t value);
  static Variant I4(int32_t value);
  static Variant I8(int64_t value);
  static Variant UI1(uint8_t value);
  static Variant UI2(uint16_t value);
  static Variant UI4(uint32_t value);
  static Variant UI8(uint64_t value);
  static Variant R4(float value);
  static Variant R8(double value);
  /// VT_BOOL: VARIANT_TRUE (-1) or VARIANT_FALSE.
  static Variant Bool(bool value);
  static Variant Date(DATE value);
  /// VT_BSTR copy of the text; throws ComError(E_OUTOFMEMORY).
  static Variant String(std::wstring_view text);
  static Variant Error(SCODE value);
  static Variant Null();
  /// VT_UNKNOWN / VT_DISPATCH; AddRefs (null allowed).
  static Variant Unknown(IUnknown* unknown);
  static Variant Dispatch(IDispatch* dispatch);
  /// A deep copy of a VARIANT we do not own; throws ComError.
  static Variant Copy(const VARIANT& source);

  VARIANT* get() noexcept { return &v_; }
  const VARIANT* get() const noexcept { return &v_; }
  const VARIANT& ref() const noexcept { return v_; }
  /// For out-parameters: clears the value first.
  VARIANT* operator&() noexcept;
  VARTYPE vt() const noexcept { return v_.vt; }

  /// Converts in place; on failure the value is unchanged and the HRESULT is returned.
  HRESULT ChangeType(VARTYPE vt, USHORT flags = 0) noexcept;
  void Clear() noexcept;
  /// Moves the value into *dest (which must hold nothing owned) and leaves this VT_EMPTY.
  void Detach(VARIANT* dest) noexcept;
  /// Takes ownership of *src (left VT_EMPTY), freeing the current value.
  void Attach(VARIANT* src) noexcept;

 private:
  VARIANT v_;
};

}  // namespace lmk
