// The run request: the init data with which a host without the dialog's window (the standalone
// host, the lumarko command) tells the plug-in which rules to apply in which operating mode.
//
// Layout, at the start of the init stream (numbers little-endian):
//   offset  size  field
//        0     4  "LMKJ"
//        4     4  format version, 1
//        8     4  operating mode: 1 current image, 2 all images, 3 current and remaining;
//                 0 = the mode last chosen in the dialog ("LastOperatingMode")
//       12     4  flags: kRunRequestShowProgress, kRunRequestShowEvents, kRunRequestRunPaths;
//                 other bits must be 0
//       16     -  with kRunRequestRunPaths: a 32-bit count, then each path as a 32-bit count of
//                 UTF-16 code units and the code units
//        -     -  the binary rule set (it begins with "LMKR"), as a ".rules" file holds it,
//                 with the rule set's own templates when it has any
// Init data that begins with "LMKR" is a rule set alone, as a viewer keeps it: the dialog loads
// the rules and waits for the user instead of running them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "com/com.h"
#include "rules/element_registry.h"
#include "rules/rule.h"
#include "rules/rule_set_template.h"

namespace lmk {

inline constexpr BYTE kRunRequestMagic[4] = {'L', 'M', 'K', 'J'};
inline constexpr DWORD kRunRequestFormat = 1;
/// Show the progress display while the run goes.
inline constexpr DWORD kRunRequestShowProgress = 0x1;
/// Show the run's events after the summary.
inline constexpr DWORD kRunRequestShowEvents = 0x2;
/// The paths the run was given follow the header (set by WriteRunRequest when there are any).
inline constexpr DWORD kRunRequestRunPaths = 0x4;
inline constexpr DWORD kRunRequestKnownFlags =
    kRunRequestShowProgress | kRunRequestShowEvents | kRunRequestRunPaths;
/// More paths than this make the request damaged.
inline constexpr DWORD kRunRequestMaxRunPaths = 65536;

struct RunRequest {
  /// True when the init data asks for a run; false for a rule set alone.
  bool run = false;
  /// 1..3, or 0 for the mode last chosen.
  DWORD mode = 0;
  DWORD flags = 0;
  /// The files and folders the user gave the run (absolute): the removal of emptied folders
  /// never leaves them. Empty when the host names none.
  std::vector<std::wstring> runPaths;
  std::vector<std::shared_ptr<CRule>> rules;
  /// The rule set's own renaming templates; they travel inside the binary rule set.
  RuleSetTemplates templates;
};

/// Writes a run request (run is ignored: a request always asks for a run) at the stream's
/// position. E_INVALIDARG for a null stream or a mode above 3; the stream's failure.
[[nodiscard]] HRESULT WriteRunRequest(IStream* stream, const RunRequest& request);

/// Reads the init data from the start of stream: a run request or a rule set alone. Elements
/// are made through registry. S_OK; E_INVALIDARG for null arguments;
/// HRESULT_FROM_WIN32(ERROR_INVALID_DATA) for damaged data, an unknown format version, mode or
/// flag, or an element this version does not have, with the thread's error description saying
/// what is wrong; the stream's failure.
[[nodiscard]] HRESULT ReadRunRequest(IStream* stream, const CElementRegistry& registry,
                                     RunRequest* out);

}  // namespace lmk
