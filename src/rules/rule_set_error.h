// The error raised when a rule set cannot be built from a file or a stream: what went wrong and
// where (file, line and column for the text form, byte offset for the binary form).
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace lmk {

/// A place in a rule-set source; line and column count from 1, 0 meaning unknown.
struct SourceLocation {
  int line = 0;
  int column = 0;
};

class CRuleSetError : public std::exception {
 public:
  /// An error without a place (the message says everything).
  explicit CRuleSetError(std::wstring message);
  /// An error at a line and column of a text source.
  CRuleSetError(std::wstring message, SourceLocation where);
  /// An error at a byte offset of a binary source.
  CRuleSetError(std::wstring message, std::uint64_t byteOffset);

  /// The message alone, without the place.
  const std::wstring& message() const { return message_; }
  const std::wstring& source() const { return source_; }
  SourceLocation location() const { return where_; }
  bool hasByteOffset() const { return hasOffset_; }
  std::uint64_t byteOffset() const { return offset_; }

  /// Names the file (or stream) the error belongs to, unless one is already named.
  void SetSource(std::wstring source);
  /// Gives the error a place when it has none yet.
  void SetLocation(SourceLocation where);

  /// "file:line:column: message", "file: at byte N: message" or the parts that are known.
  std::wstring Text() const;
  /// Text() in UTF-8.
  const char* what() const noexcept override { return utf8_.c_str(); }

 private:
  void Refresh();

  std::wstring message_;
  std::wstring source_;
  SourceLocation where_;
  bool hasOffset_ = false;
  std::uint64_t offset_ = 0;
  std::string utf8_;
};

}  // namespace lmk
