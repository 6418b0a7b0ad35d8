// The run-wide values, put as the host describes its session.
#include "batch/run_globals.h"

#include <array>
#include <cstdint>

#include "batch/file_record_builder.h"
#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"

namespace lmk {

HRESULT FillRunGlobals(ILumarkoHost& host, HWND window, IDictionary& globals) {
  FILETIME sessionStart{};
  Bstr version;
  ULONG keepCopyIndex = 0;
  LMK_RETURN_IF_FAILED(host.GetSessionInfo(&sessionStart, &version, &keepCopyIndex));
  std::array<Variant, 5> values = {
      Variant::I8(static_cast<int64_t>(reinterpret_cast<intptr_t>(window))),
      TextValue(version.view()),
      Variant::Date(RecordDate(sessionStart)),
      Variant::I8(FileTimeToInt64(sessionStart)),
      Variant::UI4(keepCopyIndex),
  };
  std::array<LPOLESTR, 5> names = {
      const_cast<LPOLESTR>(L"App.hWnd"), const_cast<LPOLESTR>(L"App.Version"),
      const_cast<LPOLESTR>(L"App.StartTime"), const_cast<LPOLESTR>(L"App.StartTimeFT"),
      const_cast<LPOLESTR>(kKeepCopyIndexKey.data())};
  std::array<VARIANT, 5> shallow{};
  for (std::size_t i = 0; i < values.size(); ++i) shallow[i] = values[i].ref();
  ThrowIfFailed(
      globals.PutMultiple(static_cast<ULONG>(names.size()), names.data(), shallow.data()));
  return S_OK;
}

}  // namespace lmk
