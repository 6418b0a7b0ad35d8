// The per-call state of an expansion.
#include "templates/expansion_call.h"

#include "templates/date_formatter.h"

namespace lmk {

bool ExpansionCall::ConvertTime(int64_t file_time, bool utc, SYSTEMTIME* time) {
  if (!time_valid_ || time_ticks_ != file_time || time_utc_ != utc) {
    if (!DateFormatter::ToSystemTime(file_time, utc, &time_)) return false;
    time_valid_ = true;
    time_ticks_ = file_time;
    time_utc_ = utc;
  }
  *time = time_;
  return true;
}

}  // namespace lmk
