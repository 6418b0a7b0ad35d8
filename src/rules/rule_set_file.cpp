// Reading and writing rule-set files.
#include "rules/rule_set_file.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/text_encoding.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "rules/rule_set_yaml.h"
#include "rules/rule_strings.h"

namespace lmk {
namespace {

/// Rule sets are small; a larger file is not one.
constexpr std::uintmax_t kMaxFileBytes = 64u * 1024 * 1024;

[[noreturn]] void FailOpen(const std::filesystem::path& path, std::wstring why) {
  CRuleSetError error(FormatRuleString(RuleStringId::FileCannotOpen, {why}));
  error.SetSource(DisplayPath(path));
  throw error;
}

[[noreturn]] void FailWrite(const std::filesystem::path& path, std::wstring why) {
  CRuleSetError error(FormatRuleString(RuleStringId::FileCannotWrite, {why}));
  error.SetSource(DisplayPath(path));
  throw error;
}

std::wstring Why(const std::error_code& ec) { return FromUtf8(ec.message()); }

}  // namespace

RuleSetFormat RuleSetFormatForPath(const std::filesystem::path& path) {
  const std::wstring extension = DisplayPath(path.extension());
  return EqualsNoCase(extension, L".yaml") || EqualsNoCase(extension, L".yml")
             ? RuleSetFormat::Yaml
             : RuleSetFormat::Binary;
}

std::wstring DisplayPath(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return FromUtf8(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()));
}

std::vector<std::shared_ptr<CRule>> ReadRuleSetFile(const std::filesystem::path& path,
                                                    const CElementRegistry& registry,
                                                    RuleSetTemplates* templates) {
  std::error_code ec;
  const std::uintmax_t size = std::filesystem::file_size(path, ec);
  if (ec) FailOpen(path, Why(ec));
  if (size > kMaxFileBytes) FailOpen(path, L"the file is too large to be a rule set");
  std::ifstream in(path, std::ios::binary);
  if (!in) FailOpen(path, L"the file cannot be read");
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) FailOpen(path, L"the file cannot be read");

  try {
    if (content.size() >= sizeof kRuleSetMagic &&
        std::memcmp(content.data(), kRuleSetMagic, sizeof kRuleSetMagic) == 0) {
      return RuleSetFromBytes(
          std::span(reinterpret_cast<const std::byte*>(content.data()), content.size()), registry,
          templates);
    }
    return ParseRuleSetYaml(content, DisplayPath(path), registry, templates);
  } catch (CRuleSetError& error) {
    error.SetSource(DisplayPath(path));
    throw;
  }
}

void WriteRuleSetFile(const std::filesystem::path& path,
                      std::span<const std::shared_ptr<CRule>> rules, RuleSetFormat format,
                      std::span<const RuleSetTemplate> templates) {
  std::string content;
  if (format == RuleSetFormat::Yaml) {
    content = RuleSetToYaml(rules, templates);
  } else {
    const std::vector<std::byte> bytes = RuleSetToBytes(rules, templates);
    content.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  std::filesystem::path temporary = path;
  temporary += ".partial";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (!out) FailWrite(path, L"the folder cannot be written to");
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.flush();
    if (!out) {
      out.close();
      std::error_code ignored;
      std::filesystem::remove(temporary, ignored);
      FailWrite(path, L"the disk did not take the whole file");
    }
  }
  std::error_code ec;
  std::filesystem::rename(temporary, path, ec);
  if (ec) {
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    FailWrite(path, Why(ec));
  }
}

}  // namespace lmk
