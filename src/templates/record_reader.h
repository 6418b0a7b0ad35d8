// Reads the per-file record's values once per expansion, converted the way templates use them.
#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <optional>
#include <string_view>

#include "com/com.h"
#include "com/variant.h"

struct IDictionary;

namespace lmk {

/// The record keys that templates read.
enum class RecordKey {
  kImageHeight,
  kImageWidth,
  kImageBpp,
  kImageIndex,
  kMultiFramesFlag,
  kTotalFrames,
  kCopiedFlag,
  kMarkedForPublishingFlag,
  kHashCode64,
  kPathNoExt,
  kName,
  kExtensions,
  kDisplayExtensions,
  kSize,
  kCreationTimeFT,
  kLastAccessTimeFT,
  kLastWriteTimeFT,
  kDateTakenFT,
  kAppVersion,
  kAppStartTimeFT,
  kSessionKeepCopyIndex,
  kCameraModel,
  kComment,
  kArtist,
  kCopyright,
  kImageUniqueID,
  kCameraSerialNumber,
  kIccProfileName,
  kLensModel,
  kExposureBias,
  kFNumber,
  kFocalLength,
  kDigitalZoomRatio,
  kSubjectDistance,
  kFocalLengthInFilm,
  kMaxApertureValue,
  kISOSpeed,
  kExposureTime,
  kRating,
  kLabel,
  kUrgency,
  kFlash,
  kLightSource,
  kMeteringMode,
  kProgramMode,
  kContrast,
  kSaturation,
  kSharpness,
  kSubjectDistanceRange,
  kSensingMethod,
  kExposureMode,
  kWhiteBalance,
  kOrientation,
  kFileNumber,
  kFolderNumber,
  kCount
};

/// The record's name of a key ("Meta.DateTakenFT").
std::wstring_view RecordKeyName(RecordKey key);

/// A read-through cache over one dictionary: each key is fetched at most once per expansion
/// (an action may change the record between two expansions, so the cache lives no longer).
/// Missing keys read as 0 or empty text. The `App.*` run values are looked up in the run's
/// globals dictionary (`Plugin.Globals`) when the record itself does not hold them.
class RecordReader {
 public:
  explicit RecordReader(IDictionary* dictionary) : dictionary_(dictionary) {}
  RecordReader(const RecordReader&) = delete;
  RecordReader& operator=(const RecordReader&) = delete;

  /// True when the record holds the key.
  bool Has(RecordKey key);
  /// The value as a signed integer; VT_BOOL true reads as 1, reals are truncated, text that is
  /// no number and anything missing reads as 0.
  int64_t Integer(RecordKey key);
  /// The value as a real number (0 when missing or not a number).
  double Real(RecordKey key);
  /// The value as text; valid until the reader is destroyed. Empty when missing.
  std::wstring_view Text(RecordKey key);

 private:
  // Slots are made only for the keys a template reads: a short template reads two or three of
  // the fifty-odd keys, and making every VARIANT would cost more than the reads.
  struct Slot {
    bool present = false;
    Variant value;
  };
  Slot& Load(RecordKey key);
  Slot& NewSlot();

  static constexpr size_t kInlineSlots = 8;
  IDictionary* dictionary_;
  std::array<Slot*, static_cast<size_t>(RecordKey::kCount)> by_key_{};
  std::array<std::optional<Slot>, kInlineSlots> inline_slots_;
  size_t used_inline_ = 0;
  std::list<Slot> more_slots_;  // stable addresses; allocates nothing while empty
};

}  // namespace lmk
