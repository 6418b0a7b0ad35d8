// Small helpers shared by the dictionary tests: put and read values by wide-string name.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "com/bstr.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"

namespace lmk::test {

inline HRESULT Put(IDictionary* dictionary, std::wstring_view name, const Variant& value) {
  Bstr key(name);
  return dictionary->put_Value(key.get(), value.ref());
}

// `value` is an empty out-parameter, as `&variant` gives.
inline HRESULT Get(IDictionary* dictionary, std::wstring_view name, VARIANT* value) {
  Bstr key(name);
  return dictionary->get_Value(key.get(), value);
}

inline HRESULT TestName(IDictionary* dictionary, std::wstring_view name) {
  Bstr key(name);
  return dictionary->Test(key.get());
}

inline LONG CountOf(IDictionary* dictionary) {
  LONG count = -1;
  EXPECT_EQ(dictionary->get_Count(&count), S_OK);
  return count;
}

// The current reference count of an object, read without changing it.
inline ULONG RefCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

}  // namespace lmk::test
