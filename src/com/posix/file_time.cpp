// System time, FILETIME <-> SYSTEMTIME, local time and automation dates for POSIX.
#include <ctime>

#include "com/posix/com_api.h"
#include "com/time_convert.h"

namespace {

// FILETIME ticks -> whole seconds since 1970, rounding down.
int64_t UnixSeconds(int64_t ticks) {
  const int64_t relative = ticks - lmk::kUnixEpochAsFileTime;
  int64_t seconds = relative / lmk::kFileTimeTicksPerSecond;
  if (relative % lmk::kFileTimeTicksPerSecond < 0) --seconds;
  return seconds;
}

// Offset of local time from UTC, in seconds, at the UTC instant `unix_seconds`.
bool UtcOffsetAt(int64_t unix_seconds, int64_t* offset) {
  const auto t = static_cast<time_t>(unix_seconds);
  std::tm local{};
  if (localtime_r(&t, &local) == nullptr) return false;
  *offset = local.tm_gmtoff;
  return true;
}

bool ValidTicks(int64_t ticks) { return ticks >= 0; }

}  // namespace

void GetSystemTimeAsFileTime(LPFILETIME file_time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const int64_t ticks = lmk::kUnixEpochAsFileTime +
                        static_cast<int64_t>(now.tv_sec) * lmk::kFileTimeTicksPerSecond +
                        now.tv_nsec / 100;
  *file_time = lmk::Int64ToFileTime(ticks);
}

void GetSystemTime(LPSYSTEMTIME system_time) {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  FileTimeToSystemTime(&now, system_time);
}

void GetLocalTime(LPSYSTEMTIME system_time) {
  FILETIME now;
  FILETIME local;
  GetSystemTimeAsFileTime(&now);
  if (!FileTimeToLocalFileTime(&now, &local)) local = now;
  FileTimeToSystemTime(&local, system_time);
}

BOOL FileTimeToSystemTime(const FILETIME* file_time, LPSYSTEMTIME system_time) {
  if (file_time == nullptr || system_time == nullptr) return FALSE;
  return lmk::TicksToSystemTime(lmk::FileTimeToInt64(*file_time), system_time) ? TRUE : FALSE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* system_time, LPFILETIME file_time) {
  if (system_time == nullptr || file_time == nullptr) return FALSE;
  int64_t ticks = 0;
  if (!lmk::SystemTimeToTicks(*system_time, &ticks)) return FALSE;
  *file_time = lmk::Int64ToFileTime(ticks);
  return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* file_time, LPFILETIME local_file_time) {
  if (file_time == nullptr || local_file_time == nullptr) return FALSE;
  const int64_t ticks = lmk::FileTimeToInt64(*file_time);
  if (!ValidTicks(ticks)) return FALSE;
  int64_t offset = 0;
  if (!UtcOffsetAt(UnixSeconds(ticks), &offset)) return FALSE;
  const int64_t local = ticks + offset * lmk::kFileTimeTicksPerSecond;
  if (!ValidTicks(local)) return FALSE;
  *local_file_time = lmk::Int64ToFileTime(local);
  return TRUE;
}

BOOL LocalFileTimeToFileTime(const FILETIME* local_file_time, LPFILETIME file_time) {
  if (local_file_time == nullptr || file_time == nullptr) return FALSE;
  const int64_t local = lmk::FileTimeToInt64(*local_file_time);
  if (!ValidTicks(local)) return FALSE;
  // The offset depends on the UTC instant we are looking for: guess with the offset at the
  // local reading taken as UTC, then correct once with the offset at the guess. Around a change
  // of offset this picks one of the two readings, as any inverse must.
  const int64_t local_seconds = UnixSeconds(local);
  int64_t offset = 0;
  if (!UtcOffsetAt(local_seconds, &offset) || !UtcOffsetAt(local_seconds - offset, &offset)) {
    return FALSE;
  }
  const int64_t ticks = local - offset * lmk::kFileTimeTicksPerSecond;
  if (!ValidTicks(ticks)) return FALSE;
  *file_time = lmk::Int64ToFileTime(ticks);
  return TRUE;
}

INT SystemTimeToVariantTime(LPSYSTEMTIME system_time, DOUBLE* variant_time) {
  if (system_time == nullptr || variant_time == nullptr) return FALSE;
  return lmk::SystemTimeToDate(*system_time, variant_time) ? TRUE : FALSE;
}

INT VariantTimeToSystemTime(DOUBLE variant_time, LPSYSTEMTIME system_time) {
  if (system_time == nullptr) return FALSE;
  return lmk::DateToSystemTime(variant_time, system_time) ? TRUE : FALSE;
}
