// The rating, label and urgency actions against a host that records its writes: the steps over
// 0, the bounds, later frames, equal values, refusals and a host that renames on a write.
#include <gtest/gtest.h>

#include <optional>

#include "action_fixture.h"
#include "actions/label_action.h"
#include "actions/rating_action.h"
#include "actions/urgency_action.h"
#include "support/data_table.h"

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

constexpr SHORT kNoWrite = -100;

// A setting: "+1" and "-1" are the steps, other words the values they say.
SHORT Setting(const std::string& text) {
  return text == "+1" ? kOneMore : text == "-1" ? kOneLess : static_cast<SHORT>(std::stoi(text));
}

std::unique_ptr<CMetadataAction> MakeAction(const std::string& kind, SHORT convention) {
  if (kind == "rating") return std::make_unique<CRatingAction>();
  if (kind == "urgency") return std::make_unique<CUrgencyAction>();
  auto label = std::make_unique<CLabelAction>();
  label->SetConvention(convention);
  return label;
}

class MetadataActionTest : public testing::TestWithParam<CaseRow> {};

// Fields: action, setting, current value, written (-: nothing), result, convention, in place,
// frame, refused.
TEST_P(MetadataActionTest, AsksTheHostAndUpdatesTheRecord) {
  const CaseRow& c = GetParam();
  const auto current = static_cast<SHORT>(std::stoi(c[2]));
  const SHORT written = c[3] == "-" ? kNoWrite : static_cast<SHORT>(std::stoi(c[3]));
  const auto convention = static_cast<SHORT>(std::stoi(c[5]));
  const bool inPlace = c[6] == "yes", refuse = c[8] == "yes";
  const wchar_t* key = c[0] == "rating"  ? L"Meta.XMP.Rating"
                       : c[0] == "label" ? L"Meta.XMP.Label"
                                         : L"Meta.Photoshop.Urgency";
  TakeErrorDescription();  // one left by an earlier test would pass for the host's own
  MemoryLog log;
  ComPtr<WritingHost> host = MakeComObject<WritingHost>();
  host->inPlace = inPlace;
  host->refuse = refuse;
  ComPtr<IDictionary> record =
      MakeImageRecord(L"/p/a.jpg", L"/p", static_cast<USHORT>(std::stoi(c[7])), host.Get());
  ThrowIfFailed(record->put_Value(Bstr(key).get(), Variant::I2(current).ref()));
  std::unique_ptr<CMetadataAction> action = MakeAction(c[0], convention);
  action->SetValue(Setting(c[1]));

  EXPECT_EQ(action->Execute(record.Get()), c[4] == "S_OK"      ? S_OK
                                           : c[4] == "S_FALSE" ? S_FALSE
                                                               : E_FAIL);
  EXPECT_EQ(host->written.value_or(kNoWrite), written);
  const bool stored = written != kNoWrite && !refuse;
  EXPECT_EQ(RecordText(record.Get(), key), std::to_wstring(stored ? written : current));
  if (c[0] == "label" && stored) {
    EXPECT_EQ(host->convention, convention);
    EXPECT_EQ(RecordText(record.Get(), L"Meta.XMP.LabellingConvention"),
              std::to_wstring(convention));
  }
  EXPECT_EQ(RecordText(record.Get(), L"File.Name"),
            stored && !inPlace ? L"/p/renamed.jpg" : L"/p/a.jpg");
  EXPECT_EQ(log.TextsAt(kEventLevelInformation).size(),
            (written != kNoWrite ? 1u : 0u) + (stored && !inPlace ? 1u : 0u));
}

INSTANTIATE_TEST_SUITE_P(Cases, MetadataActionTest,
                         testing::ValuesIn(ReadCaseTable("cases/metadata_actions.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk::test
