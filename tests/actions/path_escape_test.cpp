// Names and folders made from templates stay where the template puts them: a picture's values
// never add, remove or climb a folder, names are never hidden and hold only portable
// characters. POSIX and Windows expectations side by side.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions/action_fixture.h"
#include "actions/action_path.h"
#include "actions/transfer_destination.h"

namespace lmk {
namespace {

// The expanded destination (values already confined) as the actions resolve it.
struct FolderCase {
  std::string name;
  PathStyle style;
  std::wstring expanded;
  std::wstring
      expected;  // resolved against image folder "/p/a" or "C:\p\a", images folder its parent
};

std::vector<FolderCase> FolderCases() {
  using enum PathStyle;
  return {
      {"LeadingDotHidden", Posix, L".hidden/x", L"/p/~hidden/x"},
      {"TemplateDotsClimb", Posix, L"../out", L"/p/../out"},
      {"DotsFormBesideImage", Posix, L"...\\Best", L"/p/a/Best"},
      {"DotsGluedToNameAreNoForm", Posix, L"...x", L"/p/~..x"},
      {"WildcardsEverywhere", Posix, L"a:b/c?*\"<>|", L"/p/a~b/c~~~~~~"},
      {"ControlCharacter", Posix, L"a\tb", L"/p/a~b"},
      {"AbsoluteStays", Posix, L"/mnt/.cache/x", L"/mnt/~cache/x"},
      {"PosixColonIsNoDrive", Posix, L"C:/x", L"/p/C~/x"},
      {"WindowsDriveKept", Windows, L"D:\\12:30\\.x", L"D:\\12~30\\~x"},
      {"WindowsSlashesBecomeBackslashes", Windows, L"a/b", L"C:\\p\\a\\b"},
      {"WindowsLeadingDot", Windows, L".\\.git", L"C:\\p\\.\\~git"},
      {"WindowsNetworkRootKept", Windows, L"\\\\nas\\share\\.x", L"\\\\nas\\share\\~x"},
  };
}

class SafeFolderTest : public ::testing::TestWithParam<FolderCase> {};

TEST_P(SafeFolderTest, StaysInTheTemplatesFolders) {
  const FolderCase& c = GetParam();
  const bool windows = c.style == PathStyle::Windows;
  EXPECT_EQ(
      ResolveDestinationFolder(SafeFolderPath(c.expanded, c.style), windows ? L"C:\\p\\a" : L"/p/a",
                               windows ? L"C:\\p" : L"/p", c.style),
      c.expected);
}

INSTANTIATE_TEST_SUITE_P(Paths, SafeFolderTest, ::testing::ValuesIn(FolderCases()),
                         [](const auto& i) { return i.param.name; });

struct NameCase {
  std::string name;
  std::wstring made;
  std::wstring expected;
};

std::vector<NameCase> NameCases() {
  return {
      {"ColonOnEverySystem", L"a:b", L"a~b"},
      {"SeparatorsAndWildcards", L"a/b\\c?*<>|\"", L"a~b~c~~~~~~"},
      {"LeadingDot", L".hidden", L"~hidden"},
      {"OnlyDots", L"..", L"~"},
      {"TrimmedBeforeDotRule", L"  .x  ", L"~x"},
      {"WhiteSpaceOnly", L" \t ", L""},
      {"NonAsciiKept", L"\u00e9t\u00e9 \u65e5", L"\u00e9t\u00e9 \u65e5"},
  };
}

class SafeNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(SafeNameTest, IsOnePortableVisibleName) {
  EXPECT_EQ(SafeFileName(GetParam().made), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Names, SafeNameTest, ::testing::ValuesIn(NameCases()),
                         [](const auto& i) { return i.param.name; });

// A camera model as a crafted picture may carry it, through the actions' own expansion.
struct ValueCase {
  std::string name;
  std::wstring model;
  std::wstring templ;
  std::wstring folder;  // ExpandFolderTemplate
  std::wstring file;    // ExpandNameTemplate
};

std::vector<ValueCase> ValueCases() {
  return {
      {"ClimbingValue", L"../../x", L"out/{CameraModel}", L"out/~.~..~x", L"out~..~..~x"},
      {"DotDotValue", L"..", L"{CameraModel}/y", L"~/y", L"~~y"},
      {"SingleDotValue", L".", L"a/{CameraModel}", L"a/~", L"a~~"},
      {"BackslashValue", L"..\\..\\x", L"{CameraModel}", L"~.~..~x", L"~.~..~x"},
      {"AbsoluteValue", L"/etc/x", L"{CameraModel}", L"~etc~x", L"~etc~x"},
      {"DriveValue", L"C:\\x", L"{CameraModel}", L"C~~x", L"C~~x"},
      {"HiddenValue", L".hidden", L"{CameraModel}", L"~hidden", L"~hidden"},
      {"TextFunctionSeesRawValue", L"a/b", L"{Replace{CameraModel},\"/\",\"-\"}", L"a-b", L"a-b"},
      {"FunctionResultConfined", L"x", L"{Replace{CameraModel},\"x\",\"../\"}", L"~.~", L"~.~"},
      {"DotsValueIsNoForm", L"...x", L"{CameraModel}", L"~..x", L"~..x"},
      {"TemplatesDotsForm", L"m", L"...{CameraModel}", L".../m", L"~..m"},
      {"BackReferenceConfined", L"a/b", L"{RegEx{CameraModel}:(.*)}{1}/n", L"a~b/n", L"a~b~n"},
      {"TemplatesOwnSlashesKept", L"m", L"x/{CameraModel}/y", L"x/m/y", L"x~m~y"},
  };
}

class ConfinedValueTest : public ::testing::TestWithParam<ValueCase> {};

TEST_P(ConfinedValueTest, ValueStaysInOneName) {
  const ValueCase& c = GetParam();
  ComPtr<IDictionary> record = test::MakeImageRecord(L"/p/a/img.jpg", L"/p");
  Bstr key(L"Meta.CameraModel");
  ASSERT_EQ(record->put_Value(key.get(), Variant::String(c.model).ref()), S_OK);
  TemplateContext context;
  std::wstring folder;
  std::wstring file;
  ASSERT_EQ(ExpandFolderTemplate(record.Get(), c.templ, context, &folder), S_OK);
  TemplateContext nameContext;
  ASSERT_EQ(ExpandNameTemplate(record.Get(), c.templ, nameContext, &file), S_OK);
  EXPECT_EQ(folder, c.folder);
  EXPECT_EQ(file, c.file);
}

INSTANTIATE_TEST_SUITE_P(Values, ConfinedValueTest, ::testing::ValuesIn(ValueCases()),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
