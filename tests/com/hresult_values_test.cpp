// The HRESULT and Win32 error values must be winerror.h's, pinned here number by number.
#include <gtest/gtest.h>

#include "com/com.h"

namespace {

constexpr HRESULT Hr(uint32_t value) { return static_cast<HRESULT>(value); }

static_assert(S_OK == 0 && S_FALSE == 1 && E_NOTIMPL == Hr(0x80004001) &&
              E_NOINTERFACE == Hr(0x80004002) && E_POINTER == Hr(0x80004003) &&
              E_ABORT == Hr(0x80004004) && E_FAIL == Hr(0x80004005) &&
              E_UNEXPECTED == Hr(0x8000FFFF) && E_ACCESSDENIED == Hr(0x80070005) &&
              E_HANDLE == Hr(0x80070006) && E_OUTOFMEMORY == Hr(0x8007000E) &&
              E_INVALIDARG == Hr(0x80070057));
static_assert(DISP_E_UNKNOWNINTERFACE == Hr(0x80020001) &&
              DISP_E_MEMBERNOTFOUND == Hr(0x80020003) && DISP_E_PARAMNOTFOUND == Hr(0x80020004) &&
              DISP_E_TYPEMISMATCH == Hr(0x80020005) && DISP_E_UNKNOWNNAME == Hr(0x80020006) &&
              DISP_E_NONAMEDARGS == Hr(0x80020007) && DISP_E_BADVARTYPE == Hr(0x80020008) &&
              DISP_E_EXCEPTION == Hr(0x80020009) && DISP_E_OVERFLOW == Hr(0x8002000A) &&
              DISP_E_BADINDEX == Hr(0x8002000B) && DISP_E_BADPARAMCOUNT == Hr(0x8002000E) &&
              DISP_E_PARAMNOTOPTIONAL == Hr(0x8002000F));
static_assert(CLASS_E_NOAGGREGATION == Hr(0x80040110) &&
              CLASS_E_CLASSNOTAVAILABLE == Hr(0x80040111) &&
              REGDB_E_CLASSNOTREG == Hr(0x80040154) && SELFREG_E_TYPELIB == Hr(0x80040200) &&
              SELFREG_E_CLASS == Hr(0x80040201) && STG_E_INVALIDFUNCTION == Hr(0x80030001) &&
              STG_E_MEDIUMFULL == Hr(0x80030070) && CO_E_CLASSSTRING == Hr(0x800401F3));
static_assert(ERROR_SUCCESS == 0 && ERROR_FILE_NOT_FOUND == 2 && ERROR_PATH_NOT_FOUND == 3 &&
              ERROR_ACCESS_DENIED == 5 && ERROR_INVALID_HANDLE == 6 &&
              ERROR_NOT_ENOUGH_MEMORY == 8 && ERROR_INVALID_DATA == 13 && ERROR_OUTOFMEMORY == 14 &&
              ERROR_NOT_SAME_DEVICE == 17 && ERROR_WRITE_PROTECT == 19 && ERROR_NOT_READY == 21 &&
              ERROR_SHARING_VIOLATION == 32 && ERROR_LOCK_VIOLATION == 33 &&
              ERROR_HANDLE_EOF == 38 && ERROR_FILE_EXISTS == 80 && ERROR_INVALID_PARAMETER == 87 &&
              ERROR_DISK_FULL == 112 && ERROR_DIR_NOT_EMPTY == 145 && ERROR_BAD_PATHNAME == 161 &&
              ERROR_BUSY == 170 && ERROR_ALREADY_EXISTS == 183 &&
              ERROR_FILENAME_EXCED_RANGE == 206 && ERROR_MORE_DATA == 234 &&
              ERROR_NO_MORE_ITEMS == 259 && ERROR_BADDB == 1009 && ERROR_CANTOPEN == 1011 &&
              ERROR_CANTREAD == 1012 && ERROR_CANTWRITE == 1013 && ERROR_KEY_DELETED == 1018 &&
              ERROR_NOT_FOUND == 1168 && ERROR_CANCELLED == 1223 && ERROR_TIMEOUT == 1460);
static_assert(VARIANT_TRUE == -1 && VARIANT_FALSE == 0 && VARCMP_LT == 0 && VARCMP_EQ == 1 &&
              VARCMP_GT == 2 && VARCMP_NULL == 3 && VT_EMPTY == 0 && VT_I4 == 3 && VT_DATE == 7 &&
              VT_BSTR == 8 && VT_DISPATCH == 9 && VT_ERROR == 10 && VT_BOOL == 11 &&
              VT_VARIANT == 12 && VT_UNKNOWN == 13 && VT_I1 == 16 && VT_UI1 == 17 && VT_UI4 == 19 &&
              VT_I8 == 20 && VT_UI8 == 21 && VT_INT == 22 && VT_UINT == 23 && VT_ARRAY == 0x2000 &&
              VT_BYREF == 0x4000);
static_assert(LOCALE_USER_DEFAULT == 0x400 && LOCALE_SYSTEM_DEFAULT == 0x800 && DISPID_VALUE == 0 &&
              DISPID_UNKNOWN == -1 && DISPID_PROPERTYPUT == -3 && DISPID_NEWENUM == -4);
// The value sits at offset 8 and the largest member is two pointers wide, as on Windows.
static_assert(sizeof(VARIANT) == 8 + 2 * sizeof(void*) && sizeof(GUID) == 16 &&
              sizeof(FILETIME) == 8 && sizeof(SYSTEMTIME) == 16);

TEST(HresultMacros, MapWin32CodesSplitAndBuild) {
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SUCCESS), S_OK);
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER), E_INVALIDARG);
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANCELLED), Hr(0x800704C7));
  EXPECT_EQ(HRESULT_FROM_WIN32(0x00012345), Hr(0x80072345)) << "bits above 16 are dropped";
  EXPECT_EQ(HRESULT_CODE(E_INVALIDARG), 0x57);
  EXPECT_EQ(MAKE_HRESULT(SEVERITY_ERROR, FACILITY_WIN32, 5), E_ACCESSDENIED);
  EXPECT_TRUE(SUCCEEDED(S_FALSE) && FAILED(E_ABORT));
}

}  // namespace
