// The expansion context's clock.
#include "templates/template_context.h"

#include "com/com.h"
#include "com/time_convert.h"

namespace lmk {

int64_t TemplateContext::TakeNow() {
  if (now_ == 0) {
    FILETIME file_time{};
    GetSystemTimeAsFileTime(&file_time);
    now_ = FileTimeToInt64(file_time);
  }
  return now_;
}

}  // namespace lmk
