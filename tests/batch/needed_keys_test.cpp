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

class NeededKeysTest : public ::testing::TestWithParam<Case> {
 protected:
  // What the element did to a picture with or without a date taken, rating, label and camera:
  // its result, the folder's files afterwards and the values it named, as the record holds them.
  std::string Outcome(bool dated, bool narrowed) {
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
    image->SetText(&LMKIMAGERECORD::cameraMake, dated ? L"Canon" : L"");
    image->SetText(&LMKIMAGERECORD::cameraModel, dated ? L"Canon R" : L"");
    LMKIMAGERECORD& fields = image->record();
    if (dated) fields.dateTaken = {0xD53E8000, 0x01D5A3B2};
    fields.lastWriteTime = fields.creationTime = {0x2A5E8000, 0x01D8C1F0};
    fields.xmpRating = fields.photoshopUrgency = fields.xmpLabel = dated ? 2 : -1;
    fields.size = dated ? 123456 : 0;

    const auto element = ProductElements().Create(GetParam().key);
    test::LoadNamed(*element, test::ParamsOf(GetParam().params));
    RecordKeySet keys;
    element->AddNeededKeys(keys);
    EXPECT_FALSE(keys.IsEvery()) << "the element names no values";
    ComPtr<IDictionary> globals = MakeDictionary(), attachments = MakeDictionary(), record;
    CFileRecordBuilder builder(host.Get(), globals.Get(), attachments.Get(),
                               [](std::wstring_view) { return true; });
    if (narrowed) builder.SetNeededKeys(keys);
    EXPECT_EQ(builder.Build(image->record(), record), FileRecordStatus::kBuilt);

    const auto* condition = dynamic_cast<const CCondition*>(element.get());
    std::ostringstream out;
    out << std::hex
        << (condition != nullptr ? condition->Evaluate(record.Get())
                                 : dynamic_cast<const CAction&>(*element).Execute(record.Get()));
    std::set<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) files.insert(entry.path());
    for (const fs::path& file : files) out << ' ' << fs::relative(file, folder);
    for (const std::wstring& key : keys.Keys()) {
      Variant value;
      out << ' ' << ToUtf8(key) << '=' << record->get_Value(Bstr(key).get(), &value);
      if (SUCCEEDED(value.ChangeType(VT_BSTR))) out << ':' << ToUtf8(value.ref().bstrVal);
    }
    return out.str();
  }

  test::ScopedTempDir dir_;
  test::ScopedEnv config_{"XDG_CONFIG_HOME", (dir_ / "config").string()};
};

TEST_P(NeededKeysTest, SameOutcomeAsOnTheWholeRecord) {
  EXPECT_EQ(Outcome(true, true), Outcome(true, false)) << "dated picture";
  EXPECT_EQ(Outcome(false, true), Outcome(false, false)) << "undated picture";
}

std::vector<Case> Cases() {
  const std::string taken = "when=on-or-after;date=2019-01-01";
  return {
      {"FileType", L"Condition.FileType", "type=jpeg"},
      {"DateTaken", L"Condition.DateTaken", taken},
      {"GpsTimeTaken", L"Condition.DateTaken", taken + ";source=gps;fallback-to-modified=true"},
      {"TimeTaken", L"Condition.TimeTaken", "when=after;time=10:00"},
      {"FileDate", L"Condition.FileDate", "date-of=modified;" + taken},
      {"FileName", L"Condition.FileName", "pattern=IMG_*"},
      {"FileSize", L"Condition.FileSize", "compare=>;size=100 KB"},
      {"Rating", L"Condition.Xmp.Rating", "compare=>=;rating=2"},
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
