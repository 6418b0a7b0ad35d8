// CFileRecordBuilder: turns the host's record of one image into the per-file dictionary that
// conditions, templates, actions and scripts read: 120 named values of fixed names and types.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"
#include "host_api/lumarko_host.h"
#include "rules/record_key_set.h"

namespace lmk {

/// The number of values in every per-file dictionary.
inline constexpr std::size_t kFileRecordKeyCount = 120;

/// The names of the per-file values in the order they are put, with their VARIANT types. These
/// are the public vocabulary of scripts, rule files and templates: never rename or retype one.
struct FileRecordKey {
  std::wstring_view name;
  VARTYPE type;
};
const std::array<FileRecordKey, kFileRecordKeyCount>& FileRecordKeys();

/// How building one file's dictionary went.
enum class FileRecordStatus {
  kBuilt,         ///< the dictionary is ready for the rule loop
  kMissing,       ///< the file no longer exists: not processed, counted as skipped
  kCannotCreate,  ///< the dictionary could not be created (shown as an internal error)
  kCannotFill,    ///< the values could not be put (shown as an internal error)
};

/// The internal errors, captioned "Apply Rules".
inline constexpr std::wstring_view kInternalErrorCaption = L"Apply Rules";
inline constexpr std::wstring_view kCannotCreateDictionaryText =
    L"Internal Error (Cannot create Dictionary).\r\nPlease reinstall the Lumarko FileUtilities "
    L"Plugin!";
inline constexpr std::wstring_view kCannotFillDictionaryText =
    L"Internal Error (Cannot fill Dictionary)";

/// A VT_BSTR of text, or VT_ERROR (E_OUTOFMEMORY) when the string cannot be allocated: one
/// oversized value must not cost the file its whole record.
Variant TextValue(std::wstring_view text) noexcept;

/// A UTC FILETIME as the record keeps a date: local time as an automation date. The unknown
/// time (0) and a time the calendar cannot show give the date 0 (1899-12-30 00:00), the
/// automation "no date".
DATE RecordDate(const FILETIME& time) noexcept;

/// Builds per-file dictionaries for one run. Build may be called from several workers at once;
/// the host and the two run-wide dictionaries are shared by every file.
class CFileRecordBuilder {
 public:
  /// Whether a file exists; the default asks the file system.
  using FileExistsFn = std::function<bool(std::wstring_view path)>;
  /// Makes a new, empty per-file dictionary into *out (a new reference); the default makes a
  /// CDictionary.
  using DictionaryFactory = std::function<HRESULT(IDictionary** out)>;

  /// Asks the host once for the run's images folder and keep-copy folder (empty when the host
  /// gives none). host, globals and attachments must be non-null and outlive the builder.
  CFileRecordBuilder(ILumarkoHost* host, IDictionary* globals, IDictionary* attachments,
                     FileExistsFn fileExists = {}, DictionaryFactory createDictionary = {});

  /// From now on, Build puts only the values keys names, with those that every record holds
  /// (the `Plugin.`, `App.`, `File.` and `Misc.` values, which cost nothing to make) and the
  /// twin of each date named ("Meta.DateTaken" with "Meta.DateTakenFT"). Every key, the
  /// default, puts all 120. Not while another thread builds.
  void SetNeededKeys(const RecordKeySet& keys);
  /// The names of the values Build puts, in key order.
  std::vector<std::wstring_view> BuiltKeyNames() const;

  /// Fills out with a new per-file dictionary holding the values of `record` that the builder
  /// puts (all 120 unless SetNeededKeys said otherwise), put in one call in the order of
  /// FileRecordKeys() (PutMultiple into a dictionary from the factory, TakeMultiple into the
  /// builder's own). out stays null unless kBuilt comes back. Throws nothing.
  FileRecordStatus Build(const LMKIMAGERECORD& record, ComPtr<IDictionary>& out) const noexcept;

  /// The 120 values of `record` in key order (what Build puts). Throws ComError/bad_alloc.
  std::array<Variant, kFileRecordKeyCount> Values(const LMKIMAGERECORD& record) const;

 private:
  ComPtr<ILumarkoHost> host_;
  ComPtr<IDictionary> globals_;
  ComPtr<IDictionary> attachments_;
  FileExistsFn fileExists_;
  DictionaryFactory createDictionary_;
  std::wstring imagesFolder_;
  std::wstring keepCopyFolder_;
  // The indexes into FileRecordKeys() of the values Build puts, in order.
  std::vector<std::size_t> built_;
};

}  // namespace lmk
