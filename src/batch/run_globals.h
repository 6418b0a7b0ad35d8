// The run-wide values every file of a run sees through Plugin.Globals.
#pragma once

#include <string_view>

#include "com/com.h"
#include "dictionary/idictionary.h"
#include "host_api/lumarko_host.h"

namespace lmk {

/// The global that actions may advance during a run; the runner gives it back to the host.
inline constexpr std::wstring_view kKeepCopyIndexKey = L"App.SessionKeepCopyIndex";

/// Asks the host for its session information and puts, in one PutMultiple call and in this
/// order, App.hWnd (window), App.Version, App.StartTime (local), App.StartTimeFT and
/// App.SessionKeepCopyIndex into globals. Returns the host's failure (nothing is put then);
/// throws ComError when globals refuses the values.
[[nodiscard]] HRESULT FillRunGlobals(ILumarkoHost& host, HWND window, IDictionary& globals);

}  // namespace lmk
