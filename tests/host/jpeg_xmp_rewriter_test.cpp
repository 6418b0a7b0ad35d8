// The JPEG packet edit, read back by exiftool: every form of the property it edits, and the
// forms it must leave to the general writer or refuse.
#include "host/jpeg_xmp_rewriter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "host/exiftool_report.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

using Outcome = CJpegXmpRewriter::Outcome;

constexpr XmpPropertyName kRating{"http://ns.adobe.com/xap/1.0/", "xmp", "Rating"};
constexpr XmpPropertyName kUrgency{"http://ns.adobe.com/photoshop/1.0/", "photoshop", "Urgency"};
constexpr const char* kHead = R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?>)"
                              R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF )"
                              R"(xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)";
constexpr const char* kTail = "</rdf:RDF></x:xmpmeta>";
// Room for the longest edit below.
const std::string kPadding = std::string(120, ' ') + "\n";
constexpr const char* kDescription = R"(<rdf:Description rdf:about="" )";
constexpr const char* kXmpNs = R"(xmlns:xmp="http://ns.adobe.com/xap/1.0/")";

std::string Segment(char marker, std::string payload) {
  const std::size_t length = payload.size() + 2;
  return std::string{'\xFF', marker, static_cast<char>(length >> 8), static_cast<char>(length)} +
         payload;
}

std::string Xmp(const std::string& body, const std::string& padding = kPadding, char mode = 'w') {
  return Segment('\xE1', std::string("http://ns.adobe.com/xap/1.0/\0", 29) + kHead + body + kTail +
                             padding + "<?xpacket end=\"" + mode + "\"?>");
}

// A small JPEG: JFIF, EXIF with an orientation, `segments`, then a scan.
std::string Jpeg(const std::string& segments) {
  const std::string exif("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0",
                         32);
  return "\xFF\xD8" + Segment('\xE0', std::string("JFIF\0\x01\x01\0\0\x01\0\x01\0\0", 14)) +
         Segment('\xE1', exif) + segments + Segment('\xDA', std::string("\x01\x01\0\0\x3F\0", 6)) +
         "\x12\x34\xFF\xD9";
}

struct RewriteCase {
  const char* name;
  std::string file;
  XmpPropertyName property;
  const char* value;
  Outcome outcome;
  const char* tag = "";   // exiftool's name of the property, read back after kRewritten
  bool sameSize = false;  // the packet's padding took the change
};

std::vector<RewriteCase> Cases() {
  const std::string d = kDescription;
  const std::string ns = kXmpNs;
  return {
      {"Attribute", Jpeg(Xmp(d + ns + " xmp:Rating=\"2\"/>")), kRating, "4", Outcome::kRewritten,
       "XMP-xmp:Rating", true},
      {"AttributeRemoved", Jpeg(Xmp(d + ns + " xmp:Rating=\"2\" xmp:Label=\"Red\"/>")), kRating, "",
       Outcome::kRewritten, "XMP-xmp:Rating", true},
      {"ElementSingleQuotes",
       Jpeg(Xmp("<rdf:Description rdf:about='' " + ns +
                ">\n <xmp:Rating>3</xmp:Rating>\n</rdf:Description>")),
       kRating, "-1", Outcome::kRewritten, "XMP-xmp:Rating", true},
      {"EmptyElement", Jpeg(Xmp(d + ns + "><xmp:Rating/></rdf:Description>")), kRating, "5",
       Outcome::kRewritten, "XMP-xmp:Rating", true},
      {"NamespaceMissing", Jpeg(Xmp(d + ns + " xmp:Rating=\"2\"/>")), kUrgency, "7",
       Outcome::kRewritten, "XMP-photoshop:Urgency", true},
      {"NoXmp", Jpeg(""), kRating, "3", Outcome::kRewritten, "XMP-xmp:Rating"},
      {"PaddingTooSmall", Jpeg(Xmp(d + "/>", "")), kUrgency, "8", Outcome::kRewritten,
       "XMP-photoshop:Urgency"},
      {"SameValue", Jpeg(Xmp(d + ns + " xmp:Rating=\"2\"/>")), kRating, "2", Outcome::kUnchanged},
      {"PrefixMeansOther", Jpeg(Xmp(d + "xmlns:xmp=\"urn:other\"/>")), kRating, "2",
       Outcome::kUnsupported},
      {"ReadOnlyPacket", Jpeg(Xmp(d + "/>", kPadding, 'r')), kRating, "2", Outcome::kUnsupported},
      {"ValueWithChildren",
       Jpeg(Xmp(d + ns + "><xmp:Rating><rdf:Bag/></xmp:Rating></rdf:Description>")), kRating, "2",
       Outcome::kUnsupported},
      {"ExtendedXmp",
       Jpeg(Xmp(d + "/>") +
            Segment('\xE1', std::string("http://ns.adobe.com/xmp/extension/\0", 35))),
       kRating, "2", Outcome::kUnsupported},
      {"SegmentPastEnd", Jpeg("").substr(0, 30), kRating, "2", Outcome::kDamaged},
      {"NoMarker", Jpeg("x"), kRating, "2", Outcome::kDamaged},
  };
}

class JpegXmpRewriterTest : public testing::TestWithParam<RewriteCase> {};

TEST_P(JpegXmpRewriterTest, EditsWhatItIsSureOf) {
  const RewriteCase& c = GetParam();
  CJpegXmpRewriter rewriter(c.file);
  ASSERT_EQ(rewriter.Set(c.property, c.value), c.outcome);
  if (c.outcome != Outcome::kRewritten) return;
  std::string out;
  for (std::string_view piece : rewriter.Pieces()) out += piece;
  EXPECT_EQ(out.size() == c.file.size(), c.sameSize);
  // The picture data after the segments is the old file's.
  EXPECT_EQ(out.substr(out.find("\xFF\xDA")), c.file.substr(c.file.find("\xFF\xDA")));
  if (!test::ExifToolAvailable()) GTEST_SKIP() << "exiftool is not installed";
  test::ScopedTempDir dir;
  std::ofstream(dir / "a.jpg", std::ios::binary) << out;
  const auto report = test::RunExifTool(dir / "a.jpg");
  ASSERT_TRUE(report.has_value());
  const auto found = report->find(c.tag);
  EXPECT_EQ(found == report->end() ? "" : found->second, c.value);
  EXPECT_EQ(report->count("ExifTool:Warning"), 0U) << report->at("ExifTool:Warning");
  EXPECT_EQ(report->at("IFD0:Orientation"), "6");
}

INSTANTIATE_TEST_SUITE_P(Forms, JpegXmpRewriterTest, testing::ValuesIn(Cases()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
