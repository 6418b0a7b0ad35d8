// VariantChangeType: one table of coercions with the result Automation gives for each.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "com/com.h"

namespace lmk {
namespace {

struct ChangeCase {
  std::string name;
  Variant from;
  VARTYPE to;
  HRESULT hr;
  Variant expected;  // VT_EMPTY when hr is a failure
  USHORT flags = 0;
};

void PrintTo(const ChangeCase& c, std::ostream* os) { *os << c.name; }

std::string ToNarrow(BSTR text) {
  std::string narrow;
  for (wchar_t c : std::wstring_view(text, SysStringLen(text))) {
    narrow.push_back(c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?');
  }
  return narrow;
}

std::string FormatHresultNarrow(HRESULT hr) { return ToNarrow(Bstr(FormatHresult(hr)).get()); }

// Exact comparison: reals must match to the bit, texts character for character.
::testing::AssertionResult SameValue(const VARIANT& actual, const VARIANT& expected) {
  if (actual.vt != expected.vt) {
    return ::testing::AssertionFailure() << "vt " << actual.vt << ", expected " << expected.vt;
  }
  bool same = true;
  switch (actual.vt) {
    case VT_EMPTY:
    case VT_NULL:
      break;
    case VT_I1:
      same = actual.cVal == expected.cVal;
      break;
    case VT_UI1:
      same = actual.bVal == expected.bVal;
      break;
    case VT_I2:
      same = actual.iVal == expected.iVal;
      break;
    case VT_UI2:
      same = actual.uiVal == expected.uiVal;
      break;
    case VT_I4:
    case VT_ERROR:
      same = actual.lVal == expected.lVal;
      break;
    case VT_INT:
      same = actual.intVal == expected.intVal;
      break;
    case VT_UINT:
      same = actual.uintVal == expected.uintVal;
      break;
    case VT_UI4:
      same = actual.ulVal == expected.ulVal;
      break;
    case VT_I8:
      same = actual.llVal == expected.llVal;
      break;
    case VT_UI8:
      same = actual.ullVal == expected.ullVal;
      break;
    case VT_R4:
      same = actual.fltVal == expected.fltVal;
      break;
    case VT_R8:
    case VT_DATE:
      // Bitwise, so that a NaN left untouched compares equal to itself.
      same = actual.dblVal == expected.dblVal || actual.llVal == expected.llVal;
      break;
    case VT_BOOL:
      same = actual.boolVal == expected.boolVal;
      break;
    case VT_BSTR:
      same = std::wstring_view(actual.bstrVal, SysStringLen(actual.bstrVal)) ==
             std::wstring_view(expected.bstrVal, SysStringLen(expected.bstrVal));
      if (!same) {
        return ::testing::AssertionFailure()
               << "text \"" << ToNarrow(actual.bstrVal) << "\", expected \""
               << ToNarrow(expected.bstrVal) << "\"";
      }
      break;
    default:
      return ::testing::AssertionFailure() << "unexpected vt " << actual.vt;
  }
  if (!same) {
    return ::testing::AssertionFailure()
           << "value differs (raw " << actual.llVal << " vs " << expected.llVal << ")";
  }
  return ::testing::AssertionSuccess();
}

Variant Int(int32_t v) { return Variant::I4(v); }
Variant Text(const wchar_t* s) { return Variant::String(s); }
Variant None() { return Variant(); }

std::vector<ChangeCase> Cases() {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  return {
      // Integers between widths and signs.
      {"I4ToI2", Int(100), VT_I2, S_OK, Variant::I2(100)},
      {"I4ToI2Overflow", Int(70000), VT_I2, DISP_E_OVERFLOW, None()},
      {"UI4ThreeBillionToI4Overflows", Variant::UI4(3000000000u), VT_I4, DISP_E_OVERFLOW, None()},
      {"UI4ThreeBillionToI8", Variant::UI4(3000000000u), VT_I8, S_OK, Variant::I8(3000000000)},
      {"NegativeToUI4Overflows", Int(-1), VT_UI4, DISP_E_OVERFLOW, None()},
      {"NegativeToUI1Overflows", Int(-1), VT_UI1, DISP_E_OVERFLOW, None()},
      {"I4ToUI1Max", Int(255), VT_UI1, S_OK, Variant::UI1(255)},
      {"I4ToUI1JustAbove", Int(256), VT_UI1, DISP_E_OVERFLOW, None()},
      {"I4ToI1Min", Int(-128), VT_I1, S_OK, Variant::I1(-128)},
      {"I4ToI1JustBelow", Int(-129), VT_I1, DISP_E_OVERFLOW, None()},
      {"UI8MaxToI8Overflows", Variant::UI8(UINT64_MAX), VT_I8, DISP_E_OVERFLOW, None()},
      {"I8MaxToUI8", Variant::I8(INT64_MAX), VT_UI8, S_OK, Variant::UI8(INT64_MAX)},
      {"I8NegativeToUI8Overflows", Variant::I8(-1), VT_UI8, DISP_E_OVERFLOW, None()},
      {"UI8MaxToR8", Variant::UI8(UINT64_MAX), VT_R8, S_OK, Variant::R8(18446744073709551616.0)},
      {"I4ToR4LosesLowBits", Int(16777217), VT_R4, S_OK, Variant::R4(16777216.0f)},
      {"I4ToIntType", Int(-5), VT_INT, S_OK,
       [] {
         Variant v;
         v.get()->vt = VT_INT;
         v.get()->intVal = -5;
         return v;
       }()},
      {"SameTypeIsCopy", Int(7), VT_I4, S_OK, Int(7)},

      // Reals to integers round half to even.
      {"R8TwoPointFiveToTwo", Variant::R8(2.5), VT_I4, S_OK, Int(2)},
      {"R8ThreePointFiveToFour", Variant::R8(3.5), VT_I4, S_OK, Int(4)},
      {"R8MinusTwoPointFiveToMinusTwo", Variant::R8(-2.5), VT_I4, S_OK, Int(-2)},
      {"R8MinusThreePointFiveToMinusFour", Variant::R8(-3.5), VT_I4, S_OK, Int(-4)},
      {"R8BelowHalfRoundsDown", Variant::R8(2.4999), VT_I4, S_OK, Int(2)},
      {"R8AboveHalfRoundsUp", Variant::R8(2.5001), VT_I4, S_OK, Int(3)},
      {"R8JustBelowI4MaxAfterRounding", Variant::R8(2147483647.4), VT_I4, S_OK, Int(INT32_MAX)},
      {"R8RoundingPastI4MaxOverflows", Variant::R8(2147483647.5), VT_I4, DISP_E_OVERFLOW, None()},
      {"R8HalfBelowI4MinRoundsToEven", Variant::R8(-2147483648.5), VT_I4, S_OK, Int(INT32_MIN)},
      {"R8ToUI1RoundsTo256Overflows", Variant::R8(255.5), VT_UI1, DISP_E_OVERFLOW, None()},
      {"R8ToUI1RoundsTo254", Variant::R8(254.5), VT_UI1, S_OK, Variant::UI1(254)},
      {"R8SmallNegativeToUI1IsZero", Variant::R8(-0.4), VT_UI1, S_OK, Variant::UI1(0)},
      {"R8HugeToI8Overflows", Variant::R8(1e300), VT_I8, DISP_E_OVERFLOW, None()},
      {"R8NaNToI4Overflows", Variant::R8(kNaN), VT_I4, DISP_E_OVERFLOW, None()},
      {"R8HugeToR4Overflows", Variant::R8(1e300), VT_R4, DISP_E_OVERFLOW, None()},
      {"R4HalfToI2", Variant::R4(2.5f), VT_I2, S_OK, Variant::I2(2)},

      // Booleans: true is -1.
      {"BoolTrueToI4", Variant::Bool(true), VT_I4, S_OK, Int(-1)},
      {"BoolFalseToI4", Variant::Bool(false), VT_I4, S_OK, Int(0)},
      {"BoolTrueToUI1KeepsBits", Variant::Bool(true), VT_UI1, S_OK, Variant::UI1(255)},
      {"BoolTrueToR8", Variant::Bool(true), VT_R8, S_OK, Variant::R8(-1.0)},
      {"BoolTrueToText", Variant::Bool(true), VT_BSTR, S_OK, Text(L"-1")},
      {"BoolFalseToText", Variant::Bool(false), VT_BSTR, S_OK, Text(L"0")},
      {"BoolTrueToAlphaText", Variant::Bool(true), VT_BSTR, S_OK, Text(L"True"), VARIANT_ALPHABOOL},
      {"BoolFalseToAlphaText", Variant::Bool(false), VT_BSTR, S_OK, Text(L"False"),
       VARIANT_ALPHABOOL},
      {"I4NonZeroToBool", Int(5), VT_BOOL, S_OK, Variant::Bool(true)},
      {"R8ZeroToBool", Variant::R8(0.0), VT_BOOL, S_OK, Variant::Bool(false)},

      // Empty and null.
      {"EmptyToI4IsZero", None(), VT_I4, S_OK, Int(0)},
      {"EmptyToR8IsZero", None(), VT_R8, S_OK, Variant::R8(0.0)},
      {"EmptyToTextIsEmpty", None(), VT_BSTR, S_OK, Text(L"")},
      {"EmptyToBoolIsFalse", None(), VT_BOOL, S_OK, Variant::Bool(false)},
      {"EmptyToDateIsZero", None(), VT_DATE, S_OK, Variant::Date(0.0)},
      {"EmptyToNull", None(), VT_NULL, S_OK, Variant::Null()},
      {"EmptyToError", None(), VT_ERROR, DISP_E_TYPEMISMATCH, None()},
      {"NullToI4", Variant::Null(), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"NullToText", Variant::Null(), VT_BSTR, DISP_E_TYPEMISMATCH, None()},
      {"NullToBool", Variant::Null(), VT_BOOL, DISP_E_TYPEMISMATCH, None()},
      {"NullToEmpty", Variant::Null(), VT_EMPTY, S_OK, None()},
      {"NullToNull", Variant::Null(), VT_NULL, S_OK, Variant::Null()},
      {"I4ToNull", Int(1), VT_NULL, DISP_E_TYPEMISMATCH, None()},
      {"TextToEmpty", Text(L"x"), VT_EMPTY, S_OK, None()},

      // Error codes.
      {"ErrorToI4", Variant::Error(DISP_E_PARAMNOTFOUND), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"ErrorToText", Variant::Error(E_FAIL), VT_BSTR, DISP_E_TYPEMISMATCH, None()},
      {"ErrorToError", Variant::Error(E_FAIL), VT_ERROR, S_OK, Variant::Error(E_FAIL)},
      {"I4ToError", Int(-2147352572), VT_ERROR, S_OK, Variant::Error(DISP_E_PARAMNOTFOUND)},
      {"R8ToError", Variant::R8(1.0), VT_ERROR, DISP_E_TYPEMISMATCH, None()},
      {"TextToError", Text(L"1"), VT_ERROR, DISP_E_TYPEMISMATCH, None()},

      // Text to numbers.
      {"TextToI4", Text(L"42"), VT_I4, S_OK, Int(42)},
      {"TextWithSpacesToI4", Text(L"  42\t"), VT_I4, S_OK, Int(42)},
      {"TextPlusSignToI4", Text(L"+42"), VT_I4, S_OK, Int(42)},
      {"TextNegativeToI2", Text(L"-7"), VT_I2, S_OK, Variant::I2(-7)},
      {"TextThousandsSeparatorIsNoNumber", Text(L"1,000"), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextWordIsNoNumber", Text(L"abc"), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextEmptyIsNoNumber", Text(L""), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextBlankIsNoNumber", Text(L"   "), VT_R8, DISP_E_TYPEMISMATCH, None()},
      {"TextTrailingGarbage", Text(L"12x"), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextInnerSpace", Text(L"1 2"), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextHexIsNoNumber", Text(L"0x10"), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextInfinityIsNoNumber", Text(L"inf"), VT_R8, DISP_E_TYPEMISMATCH, None()},
      {"TextDecimalRoundsToEven", Text(L"2.5"), VT_I4, S_OK, Int(2)},
      {"TextExponentToI4", Text(L"1e3"), VT_I4, S_OK, Int(1000)},
      {"TextBareExponentIsNoNumber", Text(L"1e"), VT_I4, DISP_E_TYPEMISMATCH, None()},
      {"TextToI4Overflow", Text(L"3000000000"), VT_I4, DISP_E_OVERFLOW, None()},
      {"TextToUI4", Text(L"3000000000"), VT_UI4, S_OK, Variant::UI4(3000000000u)},
      {"TextNegativeToUI4Overflows", Text(L"-1"), VT_UI4, DISP_E_OVERFLOW, None()},
      {"TextUI8Max", Text(L"18446744073709551615"), VT_UI8, S_OK, Variant::UI8(UINT64_MAX)},
      {"TextI8MaxStaysExact", Text(L"9223372036854775807"), VT_I8, S_OK, Variant::I8(INT64_MAX)},
      {"TextI8MinStaysExact", Text(L"-9223372036854775808"), VT_I8, S_OK, Variant::I8(INT64_MIN)},
      {"TextToR8", Text(L"1.5"), VT_R8, S_OK, Variant::R8(1.5)},
      {"TextLeadingPointToR8", Text(L".25"), VT_R8, S_OK, Variant::R8(0.25)},
      {"TextHugeToR8Overflows", Text(L"1e400"), VT_R8, DISP_E_OVERFLOW, None()},
      {"TextJustAboveR8MaxOverflows", Text(L"2e308"), VT_R8, DISP_E_OVERFLOW, None()},
      {"TextTinyToR8IsZero", Text(L"0.001e-400"), VT_R8, S_OK, Variant::R8(0.0)},
      {"TextTrueWordToI4", Text(L"True"), VT_I4, DISP_E_TYPEMISMATCH, None()},

      // Text to booleans.
      {"TextTrueToBool", Text(L"True"), VT_BOOL, S_OK, Variant::Bool(true)},
      {"TextUpperTrueToBool", Text(L" TRUE "), VT_BOOL, S_OK, Variant::Bool(true)},
      {"TextFalseToBool", Text(L"false"), VT_BOOL, S_OK, Variant::Bool(false)},
      {"TextZeroToBool", Text(L"0"), VT_BOOL, S_OK, Variant::Bool(false)},
      {"TextFiveToBool", Text(L"5"), VT_BOOL, S_OK, Variant::Bool(true)},
      {"TextYesIsNoBool", Text(L"yes"), VT_BOOL, DISP_E_TYPEMISMATCH, None()},

      // Dates: 45000 is 2023-03-15; the fraction is the time of day.
      {"TextDateTimeToDate", Text(L"2023-03-15 12:00:00"), VT_DATE, S_OK, Variant::Date(45000.5)},
      {"TextIsoDateTimeToDate", Text(L"2023-03-15T06:00:00"), VT_DATE, S_OK,
       Variant::Date(45000.25)},
      {"TextDateOnlyToDate", Text(L"2023-03-15"), VT_DATE, S_OK, Variant::Date(45000.0)},
      {"TextNumberToDate", Text(L"45000.5"), VT_DATE, S_OK, Variant::Date(45000.5)},
      {"TextBadMonthIsNoDate", Text(L"2023-13-01"), VT_DATE, DISP_E_TYPEMISMATCH, None()},
      {"TextFebruary30IsNoDate", Text(L"2023-02-30"), VT_DATE, DISP_E_TYPEMISMATCH, None()},
      {"DateToText", Variant::Date(45000.5), VT_BSTR, S_OK, Text(L"2023-03-15 12:00:00")},
      {"DateMidnightToTextIsDateOnly", Variant::Date(45000.0), VT_BSTR, S_OK, Text(L"2023-03-15")},
      {"NegativeDateToText", Variant::Date(-1.5), VT_BSTR, S_OK, Text(L"1899-12-29 12:00:00")},
      {"DateZeroToText", Variant::Date(0.0), VT_BSTR, S_OK, Text(L"1899-12-30")},
      {"DateToI4RoundsToEven", Variant::Date(45000.5), VT_I4, S_OK, Int(45000)},
      {"DateToI4RoundsUpToEven", Variant::Date(45001.5), VT_I4, S_OK, Int(45002)},
      {"DateToR8", Variant::Date(45000.25), VT_R8, S_OK, Variant::R8(45000.25)},
      {"I4ToDate", Int(45000), VT_DATE, S_OK, Variant::Date(45000.0)},
      {"R8LastDayToDate", Variant::R8(2958465.5), VT_DATE, S_OK, Variant::Date(2958465.5)},
      {"R8BeyondYear9999Overflows", Variant::R8(2958466.0), VT_DATE, DISP_E_OVERFLOW, None()},
      {"R8BeforeYear100Overflows", Variant::R8(-657435.0), VT_DATE, DISP_E_OVERFLOW, None()},
      {"UI8MaxToDateOverflows", Variant::UI8(UINT64_MAX), VT_DATE, DISP_E_OVERFLOW, None()},
      {"BoolTrueToDate", Variant::Bool(true), VT_DATE, S_OK, Variant::Date(-1.0)},

      // Numbers to text as Automation prints them.
      {"I4ToText", Int(-123), VT_BSTR, S_OK, Text(L"-123")},
      {"UI8MaxToText", Variant::UI8(UINT64_MAX), VT_BSTR, S_OK, Text(L"18446744073709551615")},
      {"I8MinToText", Variant::I8(INT64_MIN), VT_BSTR, S_OK, Text(L"-9223372036854775808")},
      {"R8TenthToText", Variant::R8(0.1), VT_BSTR, S_OK, Text(L"0.1")},
      {"R8WholeToText", Variant::R8(3.0), VT_BSTR, S_OK, Text(L"3")},
      {"R8NegativeToText", Variant::R8(-2.5), VT_BSTR, S_OK, Text(L"-2.5")},
      {"R8NegativeZeroToText", Variant::R8(-0.0), VT_BSTR, S_OK, Text(L"0")},
      {"R8LargeToExponentText", Variant::R8(1e20), VT_BSTR, S_OK, Text(L"1E+20")},
      {"R8SmallToExponentText", Variant::R8(1.5e-7), VT_BSTR, S_OK, Text(L"1.5E-07")},
      {"R8FifteenDigitsPlain", Variant::R8(1e14), VT_BSTR, S_OK, Text(L"100000000000000")},
      {"R8SixteenDigitsExponent", Variant::R8(1e15), VT_BSTR, S_OK, Text(L"1E+15")},
      {"R8ThirdToFifteenDigits", Variant::R8(1.0 / 3.0), VT_BSTR, S_OK, Text(L"0.333333333333333")},
      {"R8RoundsAtFifteenDigits", Variant::R8(123456789012345678.0), VT_BSTR, S_OK,
       Text(L"1.23456789012346E+17")},
      {"R4TenthToText", Variant::R4(0.1f), VT_BSTR, S_OK, Text(L"0.1")},
      {"R4PiToSevenDigits", Variant::R4(3.14159265f), VT_BSTR, S_OK, Text(L"3.141593")},
      {"TextToTextCopiesEmbeddedNul", Variant::String(std::wstring_view(L"a\0b", 3)), VT_BSTR, S_OK,
       Variant::String(std::wstring_view(L"a\0b", 3))},

      // Types the coercion does not handle.
      {"ToVariantIsBadType", Int(1), VT_VARIANT, DISP_E_BADVARTYPE, None()},
      {"ToByRefIsBadType", Int(1), VT_I4 | VT_BYREF, DISP_E_BADVARTYPE, None()},
      {"ToUnknownTypeNumber", Int(1), 0x7F, DISP_E_BADVARTYPE, None()},
      {"ToCurrencyIsBadType", Int(1), VT_CY, DISP_E_BADVARTYPE, None()},
      {"I4ToUnknown", Int(1), VT_UNKNOWN, DISP_E_TYPEMISMATCH, None()},
  };
}

class VariantChangeTypeTest : public ::testing::TestWithParam<ChangeCase> {};

TEST_P(VariantChangeTypeTest, ConvertsIntoSeparateDestination) {
  const ChangeCase& c = GetParam();
  Variant dest = Variant::String(L"untouched");
  const HRESULT hr = VariantChangeType(dest.get(), c.from.get(), c.flags, c.to);
  EXPECT_EQ(hr, c.hr) << FormatHresultNarrow(hr);
  if (SUCCEEDED(c.hr)) {
    EXPECT_TRUE(SameValue(dest.ref(), c.expected.ref()));
  } else {
    // A failed conversion leaves the destination as it was.
    EXPECT_TRUE(SameValue(dest.ref(), Variant::String(L"untouched").ref()));
  }
}

TEST_P(VariantChangeTypeTest, ConvertsInPlace) {
  const ChangeCase& c = GetParam();
  Variant value = c.from;
  EXPECT_EQ(value.ChangeType(c.to, c.flags), c.hr);
  EXPECT_TRUE(SameValue(value.ref(), SUCCEEDED(c.hr) ? c.expected.ref() : c.from.ref()));
}

INSTANTIATE_TEST_SUITE_P(Coercions, VariantChangeTypeTest, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
