// Tests of the per-file record: its 120 keys in order with their types, the values taken from
// the host's record, and the files and dictionaries that cannot be used.
#include "batch/file_record_builder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/time_convert.h"
#include "dictionary/idictionary.h"
#include "support/fake_host.h"

namespace lmk {
namespace {

using test::FakeRunHost;

// Records the one PutMultiple call it expects and fails every other use.
class RecordingDictionary final : public ComObject<RecordingDictionary, IDictionary> {
 public:
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Value(BSTR, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Value(BSTR, VARIANT) override {
    ++singlePuts;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_Count(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetMultiple(ULONG, LPOLESTR*, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE PutMultiple(ULONG cb, LPOLESTR* names, VARIANT* values) override {
    ++multiplePuts;
    for (ULONG i = 0; i < cb; ++i) {
      this->names.emplace_back(names[i]);
      types.push_back(values[i].vt);
    }
    return failPut ? E_OUTOFMEMORY : S_OK;
  }
  HRESULT STDMETHODCALLTYPE Test(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE MergeTo(IDictionary*) override { return E_NOTIMPL; }

  bool failPut = false;
  int multiplePuts = 0;
  int singlePuts = 0;
  std::vector<std::wstring> names;
  std::vector<VARTYPE> types;
};

// Same type and same value, compared as the text the value converts to.
bool SameValue(const Variant& a, const Variant& b) {
  Variant x = a, y = b;
  return a.vt() == b.vt() && x.ChangeType(VT_BSTR) == S_OK && y.ChangeType(VT_BSTR) == S_OK &&
         std::wstring_view(x.ref().bstrVal) == std::wstring_view(y.ref().bstrVal);
}

constexpr FILETIME kTaken = {0xD53E8000, 0x01D5A3B2};  // some day in 2019

class FileRecordTest : public ::testing::Test {
 protected:
  FileRecordTest() {
    host_->AddImage(L"/pictures/a.jpg");
    globals_ = MakeDictionary();
    attachments_ = MakeDictionary();
  }

  CFileRecordBuilder Builder(std::function<bool(std::wstring_view)> exists = nullptr,
                             CFileRecordBuilder::DictionaryFactory factory = nullptr) {
    if (!exists) exists = [](std::wstring_view) { return true; };
    return CFileRecordBuilder(host_.Get(), globals_.Get(), attachments_.Get(), exists, factory);
  }

  Variant ValueOf(const LMKIMAGERECORD& record, std::wstring_view key) {
    ComPtr<IDictionary> out;
    EXPECT_EQ(Builder().Build(record, out), FileRecordStatus::kBuilt);
    Variant value;
    const Bstr name(key);
    EXPECT_EQ(out->get_Value(name.get(), &value), S_OK) << std::string(key.begin(), key.end());
    return value;
  }

  // A factory that hands out dictionary, for a test to look into.
  static CFileRecordBuilder::DictionaryFactory Handing(ComPtr<RecordingDictionary> dictionary) {
    return [dictionary](IDictionary** out) {
      dictionary->AddRef();
      *out = dictionary.Get();
      return S_OK;
    };
  }

  ComPtr<FakeRunHost> host_ = MakeComObject<FakeRunHost>();
  ComPtr<IDictionary> globals_;
  ComPtr<IDictionary> attachments_;
};

// The documented vocabulary is pinned in tests/data/file_record_keys.txt.
TEST_F(FileRecordTest, PutsTheDocumentedKeysInOrderWithOnePutMultiple) {
  const std::map<std::string, VARTYPE> types = {{"VT_BOOL", VT_BOOL}, {"VT_BSTR", VT_BSTR},
                                                {"VT_DATE", VT_DATE}, {"VT_DISPATCH", VT_DISPATCH},
                                                {"VT_I2", VT_I2},     {"VT_I4", VT_I4},
                                                {"VT_I8", VT_I8},     {"VT_R4", VT_R4},
                                                {"VT_R8", VT_R8},     {"VT_UI1", VT_UI1},
                                                {"VT_UI2", VT_UI2},   {"VT_UI4", VT_UI4},
                                                {"VT_UI8", VT_UI8},   {"VT_UNKNOWN", VT_UNKNOWN}};
  std::ifstream in(LMK_TEST_DATA_DIR "/file_record_keys.txt");
  ASSERT_TRUE(in) << "cannot read " LMK_TEST_DATA_DIR "/file_record_keys.txt";
  ComPtr<RecordingDictionary> spy = MakeComObject<RecordingDictionary>();
  ComPtr<IDictionary> out;
  ASSERT_EQ(Builder(nullptr, Handing(spy)).Build(host_->Image(0).record(), out),
            FileRecordStatus::kBuilt);
  EXPECT_EQ(spy->multiplePuts, 1);
  EXPECT_EQ(spy->singlePuts, 0);
  size_t i = 0;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    const size_t blank = line.find(' ');
    ASSERT_LT(i, spy->names.size());
    EXPECT_EQ(spy->names[i], std::wstring(line.begin(), line.begin() + blank)) << i;
    EXPECT_EQ(spy->types[i], types.at(line.substr(blank + 1))) << i;
    ++i;
  }
  EXPECT_EQ(i, spy->names.size());
}

// Values taken from the host's record.
struct ValueCase {
  const char* name;
  std::function<void(CImageRecord&)> fill;
  std::wstring_view key;
  std::function<Variant()> expected;
};

class RecordValue : public FileRecordTest, public ::testing::WithParamInterface<ValueCase> {};

TEST_P(RecordValue, IsStoredWithItsType) {
  CImageRecord& image = host_->Image(0);
  GetParam().fill(image);
  const Variant actual = ValueOf(image.record(), GetParam().key);
  const Variant expected = GetParam().expected();
  ASSERT_EQ(actual.vt(), expected.vt());
  EXPECT_TRUE(SameValue(actual, expected));
}

INSTANTIATE_TEST_SUITE_P(
    Record, RecordValue,
    ::testing::ValuesIn(std::vector<ValueCase>{
        // Files of 4 GB and more wrap: the size is deliberately 32 bits.
        {"SizeTruncatedTo32Bits", [](CImageRecord& i) { i.record().size = 0x100000005ull; },
         L"File.Size", [] { return Variant::UI4(5); }},
        {"SizeBelow4GB", [](CImageRecord& i) { i.record().size = 0xFFFFFFFFull; }, L"File.Size",
         [] { return Variant::UI4(0xFFFFFFFFu); }},
        {"DateTakenLocal", [](CImageRecord& i) { i.record().dateTaken = kTaken; },
         L"Meta.DateTaken", [] { return Variant::Date(FileTimeToLocalDate(kTaken)); }},
        {"DateTakenTicks", [](CImageRecord& i) { i.record().dateTaken = kTaken; },
         L"Meta.DateTakenFT", [] { return Variant::I8(FileTimeToInt64(kTaken)); }},
        {"UnknownDateIsZero", [](CImageRecord&) {}, L"File.CreationTime",
         [] { return Variant::Date(0.0); }},
        {"UnknownDateTicksAreZero", [](CImageRecord&) {}, L"File.CreationTimeFT",
         [] { return Variant::I8(0); }},
        {"FlagIsTrue", [](CImageRecord& i) { i.record().markedForDeletion = 7; },
         L"Misc.MarkedForDeletionFlag", [] { return Variant::Bool(true); }},
        {"Path", [](CImageRecord&) {}, L"File.Name",
         [] { return Variant::String(L"/pictures/a.jpg"); }},
        {"PathNoExt", [](CImageRecord&) {}, L"File.PathNoExt",
         [] { return Variant::String(L"/pictures/a"); }},
        {"ImagesFolder", [](CImageRecord&) {}, L"App.ImagesFolder",
         [] { return Variant::String(L"/pictures"); }},
        {"KeepCopyFolder", [](CImageRecord&) {}, L"App.KeepCopyFolder",
         [] { return Variant::String(L"/pictures/keep"); }},
        {"Camera", [](CImageRecord& i) { i.SetText(&LMKIMAGERECORD::cameraModel, L"X-T5"); },
         L"Meta.CameraModel", [] { return Variant::String(L"X-T5"); }},
        {"Creator", [](CImageRecord& i) { i.SetText(&LMKIMAGERECORD::iptcCreator, L"Ana Lopes"); },
         L"Meta.IPTC.Photographer.Creator", [] { return Variant::String(L"Ana Lopes"); }},
        {"Rating", [](CImageRecord& i) { i.record().xmpRating = -1; }, L"Meta.XMP.Rating",
         [] { return Variant::I2(-1); }},
        {"Latitude", [](CImageRecord& i) { i.record().gpsLatitude = -33.8567844; },
         L"Meta.GPS.Latitude", [] { return Variant::R8(-33.8567844); }},
        {"Altitude", [](CImageRecord& i) { i.record().gpsAltitude = 1234.5f; },
         L"Meta.GPS.Altitude", [] { return Variant::R4(1234.5f); }},
        {"TimeBias", [](CImageRecord& i) { i.record().iptcDateCreatedTimeBias = -120; },
         L"Meta.IPTC.DescriptiveInfo.DateCreatedTimeBias", [] { return Variant::I4(-120); }},
        {"Cookie", [](CImageRecord& i) { i.record().cookie = 0xFEDCBA9876543210ull; },
         L"File.InternalCookie", [] { return Variant::UI8(0xFEDCBA9876543210ull); }},
        {"Index", [](CImageRecord& i) { i.record().index = 77; }, L"Image.Index",
         [] { return Variant::UI4(77); }},
    }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(FileRecordTest, DictionaryThatCannotBeCreated) {
  ComPtr<IDictionary> out;
  EXPECT_EQ(Builder(nullptr, [](IDictionary**) { return E_OUTOFMEMORY; })
                .Build(host_->Image(0).record(), out),
            FileRecordStatus::kCannotCreate);
  EXPECT_FALSE(out);
}

TEST_F(FileRecordTest, DictionaryThatCannotBeFilled) {
  ComPtr<RecordingDictionary> spy = MakeComObject<RecordingDictionary>();
  spy->failPut = true;
  ComPtr<IDictionary> out;
  EXPECT_EQ(Builder(nullptr, Handing(spy)).Build(host_->Image(0).record(), out),
            FileRecordStatus::kCannotFill);
  EXPECT_FALSE(out);
}

TEST(TextValue, UnallocatableStringBecomesAnError) {
  // Longer than any BSTR can be: refused before a character is read.
  const wchar_t one = L'x';
  const Variant value = TextValue(std::wstring_view(&one, 0xFFFFFFF0u));
  ASSERT_EQ(value.vt(), VT_ERROR);
  EXPECT_EQ(value.ref().scode, E_OUTOFMEMORY);
}

}  // namespace
}  // namespace lmk
