// The rating, label and urgency actions against a host that records its writes: the steps over
// 0, the bounds, later frames, equal values, refusals and a host that renames on a write.
#include <gtest/gtest.h>

#include <optional>

#include "action_fixture.h"
#include "actions/label_action.h"
#include "actions/rating_action.h"
#include "actions/urgency_action.h"

namespace lmk::test {
namespace {

/// One image record whose only text is its path, for GetImageByCookie.
class RenamedImage final : public ComObject<RenamedImage, ILumarkoImage> {
 public:
  explicit RenamedImage(std::wstring path) : path_(std::move(path)) {
    record_.fullPath = path_.c_str();
  }
  HRESULT STDMETHODCALLTYPE GetRecord(const LMKIMAGERECORD** ppRecord) override {
    *ppRecord = &record_;
    return S_OK;
  }

 private:
  std::wstring path_;
  LMKIMAGERECORD record_{};
};

class WritingHost final : public UnansweringHost<WritingHost> {
 public:
  BOOL inPlace = TRUE;
  bool refuse = false;
  std::optional<SHORT> written;
  SHORT convention = -100;

  HRESULT STDMETHODCALLTYPE IsRatingInPlace(BOOL* pfInPlace) override {
    *pfInPlace = inPlace;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetXmpRating(ULONGLONG, SHORT value) override { return Write(value); }
  HRESULT STDMETHODCALLTYPE SetXmpLabel(ULONGLONG, SHORT value, SHORT conv) override {
    convention = conv;
    return Write(value);
  }
  HRESULT STDMETHODCALLTYPE SetPhotoshopUrgency(ULONGLONG, SHORT value) override {
    return Write(value);
  }
  HRESULT STDMETHODCALLTYPE GetImageByCookie(ULONGLONG, ILumarkoImage** ppImage) override {
    *ppImage = MakeComObject<RenamedImage>(L"/p/renamed.jpg").Detach();
    return S_OK;
  }

 private:
  HRESULT Write(SHORT value) {
    written = value;
    return refuse ? E_ACCESSDENIED : S_OK;
  }
};

enum class Kind { kRating, kLabel, kUrgency };
constexpr SHORT kNoWrite = -100;

struct MarkCase {
  const char* name;
  Kind kind;
  SHORT setting;
  SHORT current;
  SHORT convention = 0;
  USHORT frame = 0;
  BOOL inPlace = TRUE;
  bool refuse = false;
  HRESULT hr = S_OK;
  SHORT written = kNoWrite;  // what the host is asked to write
};

std::unique_ptr<CMetadataAction> MakeAction(const MarkCase& c) {
  if (c.kind == Kind::kRating) return std::make_unique<CRatingAction>();
  if (c.kind == Kind::kUrgency) return std::make_unique<CUrgencyAction>();
  auto label = std::make_unique<CLabelAction>();
  label->SetConvention(c.convention);
  return label;
}

const wchar_t* KeyOf(Kind kind) {
  return kind == Kind::kRating  ? L"Meta.XMP.Rating"
         : kind == Kind::kLabel ? L"Meta.XMP.Label"
                                : L"Meta.Photoshop.Urgency";
}

class MetadataActionTest : public testing::TestWithParam<MarkCase> {};

TEST_P(MetadataActionTest, AsksTheHostAndUpdatesTheRecord) {
  const MarkCase& c = GetParam();
  MemoryLog log;
  ComPtr<WritingHost> host = MakeComObject<WritingHost>();
  host->inPlace = c.inPlace;
  host->refuse = c.refuse;
  ComPtr<IDictionary> record = MakeImageRecord(L"/p/a.jpg", L"/p", c.frame, host.Get());
  Bstr key(KeyOf(c.kind));
  ThrowIfFailed(record->put_Value(key.get(), Variant::I2(c.current).ref()));
  std::unique_ptr<CMetadataAction> action = MakeAction(c);
  action->SetValue(c.setting);

  EXPECT_EQ(action->Execute(record.Get()), c.hr);
  EXPECT_EQ(host->written.value_or(kNoWrite), c.written);
  const bool stored = c.written != kNoWrite && !c.refuse;
  EXPECT_EQ(RecordText(record.Get(), KeyOf(c.kind)),
            std::to_wstring(stored ? c.written : c.current));
  if (c.kind == Kind::kLabel && stored) {
    EXPECT_EQ(host->convention, c.convention);
    EXPECT_EQ(RecordText(record.Get(), L"Meta.XMP.LabellingConvention"),
              std::to_wstring(c.convention));
  }
  EXPECT_EQ(RecordText(record.Get(), L"File.Name"),
            stored && !c.inPlace ? L"/p/renamed.jpg" : L"/p/a.jpg");
  EXPECT_EQ(log.TextsAt(kEventLevelInformation).size(),
            (c.written != kNoWrite ? 1u : 0u) + (stored && !c.inPlace ? 1u : 0u));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MetadataActionTest,
    testing::ValuesIn(std::vector<MarkCase>{
        {.name = "OneMoreOnUnrated",
         .kind = Kind::kRating,
         .setting = kOneMore,
         .current = 0,
         .written = 1},
        {.name = "OneMoreOnRejectedSkipsZero",
         .kind = Kind::kRating,
         .setting = kOneMore,
         .current = -1,
         .written = 1},
        {.name = "OneMoreOnFiveStars", .kind = Kind::kRating, .setting = kOneMore, .current = 5},
        {.name = "OneLessOnOneStarRejects",
         .kind = Kind::kRating,
         .setting = kOneLess,
         .current = 1,
         .written = -1},
        {.name = "OneLessOnUnrated", .kind = Kind::kRating, .setting = kOneLess, .current = 0},
        {.name = "SameRatingInPlace", .kind = Kind::kRating, .setting = 3, .current = 3},
        {.name = "SameRatingRenamingHost",
         .kind = Kind::kRating,
         .setting = 3,
         .current = 3,
         .inPlace = FALSE,
         .written = 3},
        {.name = "LaterFrame",
         .kind = Kind::kRating,
         .setting = 4,
         .current = 0,
         .frame = 1,
         .hr = S_FALSE},
        {.name = "HostRefuses",
         .kind = Kind::kRating,
         .setting = 4,
         .current = 0,
         .refuse = true,
         .hr = E_FAIL,
         .written = 4},
        {.name = "LabelFiveStopsAtFive", .kind = Kind::kLabel, .setting = kOneMore, .current = 5},
        {.name = "LabelNineGoesOn",
         .kind = Kind::kLabel,
         .setting = kOneMore,
         .current = 5,
         .convention = 1,
         .written = 6},
        {.name = "LabelNineStopsAtNine",
         .kind = Kind::kLabel,
         .setting = kOneMore,
         .current = 9,
         .convention = 1},
        {.name = "SameLabelAlwaysSkipped",
         .kind = Kind::kLabel,
         .setting = 2,
         .current = 2,
         .inPlace = FALSE},
        {.name = "LabelSet",
         .kind = Kind::kLabel,
         .setting = 4,
         .current = 0,
         .convention = 2,
         .written = 4},
        {.name = "UrgencyOneLessOnOne",
         .kind = Kind::kUrgency,
         .setting = kOneLess,
         .current = 1,
         .written = -1},
        {.name = "UrgencyStopsAtNine", .kind = Kind::kUrgency, .setting = kOneMore, .current = 9},
    }),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk::test
