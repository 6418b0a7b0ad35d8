// Environment variables set for the life of a test, and put back as they were.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace lmk::test {

/// Sets a variable, or with nullopt removes it.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
  }
  ~ScopedEnv() { old_ ? setenv(name_.c_str(), old_->c_str(), 1) : unsetenv(name_.c_str()); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

/// TZ, with tzset so that the C library's local time follows it, on the way in and out.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) : tz_("TZ", zone) { tzset(); }

 private:
  struct TzsetOnExit {
    ~TzsetOnExit() { tzset(); }
  } tzset_;  // declared first, so it runs after tz_ has put TZ back
  ScopedEnv tz_;
};

}  // namespace lmk::test
