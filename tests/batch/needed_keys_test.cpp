// Elements that name the record values they read must decide and act on a record holding only
// those values (and what every record holds) exactly as on the whole record.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "batch/file_record_builder.h"
#include "batch/product_elements.h"
#include "com/bstr.h"
#include "platform/text_encoding.h"
#include "rules/action.h"
#include "rules/condition.h"
#include "shell/image_record.h"
#include "support/fake_host.h"
#include "support/named_params.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

struct Case {
  std::string name;
  std::wstring key;
  std::string params;
};
void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

// Two pictures: one with a date taken, rating, label and camera; one with none of them.
struct Picture {
  const char* name;
  FILETIME taken;
  SHORT rating;
  SHORT label;
  const wchar_t* make;
};
constexpr Picture kPictures[] = {{"dated", {0xD53E8000, 0x01D5A3B2}, 3, 2, L"Canon"},
                                 {"undated", {0, 0}, -1, 0, L""}};

class NeededKeysTest : public ::testing::TestWithParam<Case> {
 protected:
  // What the element did with the picture: its result, the files of the folder afterwards and
  // the values it declared as the record holds them then.
  std::string Outcome(const Picture& picture, bool narrowed) {
    const fs::path folder = dir_ / "pictures";
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (const char* file : {"IMG_0001.jpg", "IMG_0001.xmp"}) std::ofstream(folder / file) << file;
    const std::wstring path = FromUtf8((folder / "IMG_0001.jpg").string());

    ComPtr<test::FakeRunHost> host = MakeComObject<test::FakeRunHost>();
    host->imagesFolder = FromUtf8(folder.string());
    ComPtr<CImageRecord> image = MakeComObject<CImageRecord>();
    image->SetText(&LMKIMAGERECORD::fullPath, path);
    image->SetText(&LMKIMAGERECORD::pathNoExt, path.substr(0, path.size() - 4));
    image->SetText(&LMKIMAGERECORD::cameraMake, picture.make);
    image->SetText(&LMKIMAGERECORD::cameraModel, picture.make);
    LMKIMAGERECORD& fields = image->record();
    fields.dateTaken = picture.taken;
    fields.lastWriteTime = fields.creationTime = {0x2A5E8000, 0x01D8C1F0};
    fields.size = 123456;
    fields.xmpRating = picture.rating;
    fields.xmpLabel = picture.label;
    fields.photoshopUrgency = picture.label;

    const auto element = ProductElements().Create(GetParam().key);
    test::LoadNamed(*element, test::ParamsOf(GetParam().params));
    RecordKeySet keys;
    element->AddNeededKeys(keys);
    EXPECT_FALSE(keys.IsEvery()) << "the element names no values";
    ComPtr<IDictionary> globals = MakeDictionary(), attachments = MakeDictionary();
    CFileRecordBuilder builder(host.Get(), globals.Get(), attachments.Get(),
                               [](std::wstring_view) { return true; });
    if (narrowed) builder.SetNeededKeys(keys);
    ComPtr<IDictionary> record;
    EXPECT_EQ(builder.Build(image->record(), record), FileRecordStatus::kBuilt);

    const auto* condition = dynamic_cast<const CCondition*>(element.get());
    const HRESULT hr = condition != nullptr
                           ? condition->Evaluate(record.Get())
                           : dynamic_cast<const CAction&>(*element).Execute(record.Get());
    std::ostringstream out;
    out << std::hex << hr;
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      files.insert(fs::relative(entry.path(), folder).string());
    }
    for (const std::string& file : files) out << ' ' << file;
    for (const std::wstring& key : keys.Keys()) {
      Variant value;
      const HRESULT read = record->get_Value(Bstr(key).get(), &value);
      out << ' ' << ToUtf8(key) << '=' << std::hex << read;
      if (SUCCEEDED(read) && SUCCEEDED(value.ChangeType(VT_BSTR))) {
        out << ':' << ToUtf8(value.ref().bstrVal);
      }
    }
    return out.str();
  }

  test::ScopedTempDir dir_;
  test::ScopedEnv config_{"XDG_CONFIG_HOME", (dir_ / "config").string()};
  test::ScopedEnv data_{"XDG_DATA_HOME", (dir_ / "data").string()};
};

TEST_P(NeededKeysTest, SameOutcomeAsOnTheWholeRecord) {
  for (const Picture& picture : kPictures) {
    SCOPED_TRACE(picture.name);
    EXPECT_EQ(Outcome(picture, true), Outcome(picture, false));
  }
}

std::vector<Case> Cases() {
  const std::string taken = "when=on-or-after;date=2019-01-01";
  return {
      {"FileType", L"Condition.FileType", "type=jpeg"},
      {"DateTaken", L"Condition.DateTaken", taken},
      {"DateTakenOrModified", L"Condition.DateTaken", taken + ";fallback-to-modified=true"},
      {"GpsTimeTaken", L"Condition.DateTaken", taken + ";source=gps;fallback-to-modified=true"},
      {"TimeTaken", L"Condition.TimeTaken", "when=after;time=10:00"},
      {"FileDate", L"Condition.FileDate", "date-of=modified;" + taken},
      {"FileName", L"Condition.FileName", "pattern=IMG_*"},
      {"FileSize", L"Condition.FileSize", "compare=>;size=100 KB"},
      {"Rating", L"Condition.Xmp.Rating", "compare=>=;rating=3"},
      {"Label", L"Condition.Xmp.Label", "compare==;label=2"},
      {"Urgency", L"Condition.Photoshop.Urgency", "compare=<>;urgency=0"},
      {"CameraMake", L"Condition.CameraMakeMatch", "pattern=Can*"},
      {"CameraModel", L"Condition.CameraModelMatch", "pattern=C*"},
      {"RenameByDate", L"Action.Rename", "template={DateTaken:6}_{Upper{FileName}}"},
      {"MoveByDate", L"Action.Move", "destination={DateTaken:Year}/{CameraModel}"},
      {"CopyRenamed", L"Action.Copy", "destination=best;rename={RegEx{FileName}:IMG_(.*)}{1}"},
      {"Link", L"Action.Link", "destination={FileLastWriteDate:Year}"},
      {"Delete", L"Action.Delete", "trash=false"},
      {"OneMoreStar", L"Action.SetXMPRating", "rating=one-more"},
      {"LabelRed", L"Action.SetXMPLabel", "label=red"},
      {"Urgency", L"Action.SetPhotoshopUrgency", "urgency=one-less"},
      {"FileDate", L"Action.FileDateTime", ""},
  };
}

INSTANTIATE_TEST_SUITE_P(Elements, NeededKeysTest, ::testing::ValuesIn(Cases()),
                         [](const auto& info) {
                           return info.param.name + (info.param.key[0] == L'A' ? "Action" : "");
                         });

}  // namespace
}  // namespace lmk
