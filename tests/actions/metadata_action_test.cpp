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

/// The record a renaming host gives after the write.
class RenamedImage final : public ComObject<RenamedImage, ILumarkoImage> {
 public:
  HRESULT STDMETHODCALLTYPE GetRecord(const LMKIMAGERECORD** ppRecord) override {
    record_.fullPath = L"/p/renamed.jpg";
    *ppRecord = &record_;
    return S_OK;
  }
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
    return Write(value, conv);
  }
  HRESULT STDMETHODCALLTYPE SetPhotoshopUrgency(ULONGLONG, SHORT v) override { return Write(v); }
  HRESULT STDMETHODCALLTYPE GetImageByCookie(ULONGLONG, ILumarkoImage** ppImage) override {
    *ppImage = MakeComObject<RenamedImage>().Detach();
    return S_OK;
  }
  HRESULT Write(SHORT value, SHORT conv = -100) {
    written = value;
    convention = conv;
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
  SHORT written = kNoWrite;  // what the host is asked to write
  HRESULT hr = S_OK;
  SHORT convention = 0;
  BOOL inPlace = TRUE;
  USHORT frame = 0;
  bool refuse = false;
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

INSTANTIATE_TEST_SUITE_P(Cases, MetadataActionTest,
                         testing::ValuesIn(std::vector<MarkCase>{
                             {"OneMoreOnUnrated", Kind::kRating, kOneMore, 0, 1},
                             {"OneMoreOnRejectedSkipsZero", Kind::kRating, kOneMore, -1, 1},
                             {"OneMoreOnFiveStars", Kind::kRating, kOneMore, 5},
                             {"OneLessOnOneStarRejects", Kind::kRating, kOneLess, 1, -1},
                             {"OneLessOnUnrated", Kind::kRating, kOneLess, 0},
                             {"SameRatingInPlace", Kind::kRating, 3, 3},
                             {"SameRatingRenamingHost", Kind::kRating, 3, 3, 3, S_OK, 0, FALSE},
                             {"LaterFrame", Kind::kRating, 4, 0, kNoWrite, S_FALSE, 0, TRUE, 1},
                             {"HostRefuses", Kind::kRating, 4, 0, 4, E_FAIL, 0, TRUE, 0, true},
                             {"LabelFiveStopsAtFive", Kind::kLabel, kOneMore, 5},
                             {"LabelNineGoesOn", Kind::kLabel, kOneMore, 5, 6, S_OK, 1},
                             {"LabelNineStopsAtNine", Kind::kLabel, kOneMore, 9, kNoWrite, S_OK, 1},
                             {"SameLabelAlwaysSkipped", Kind::kLabel, 2, 2, kNoWrite, S_OK, 0,
                              FALSE},
                             {"UrgencyOneLessOnOne", Kind::kUrgency, kOneLess, 1, -1},
                             {"UrgencyStopsAtNine", Kind::kUrgency, kOneMore, 9},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk::test
