// The XMP packet reader against the metadata library's own XMP decoder: for every property
// both report, the two must agree, and each case's properties must be found by both.
#include "host/xmp_packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exiv2/exiv2.hpp>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/exiv2_metadata_reader.h"
#include "support/data_table.h"

namespace lmk {
namespace {

std::string Packet(const std::string& descriptions) {
  return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
         "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n" +
         descriptions + "</rdf:RDF>\n</x:xmpmeta>\n" + std::string(64, ' ') +
         "\n<?xpacket end=\"w\"?>" + std::string(3, '\0');
}

const char* const kNamespaces =
    " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\""
    " xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
    " xmlns:photoshop=\"http://ns.adobe.com/photoshop/1.0/\""
    " xmlns:xmpRights=\"http://ns.adobe.com/xap/1.0/rights/\""
    " xmlns:xmpMM=\"http://ns.adobe.com/xap/1.0/mm/\""
    " xmlns:stEvt=\"http://ns.adobe.com/xap/1.0/sType/ResourceEvent#\""
    " xmlns:exif=\"http://ns.adobe.com/exif/1.0/\""
    " xmlns:Iptc4xmpCore=\"http://iptc.org/std/Iptc4xmpCore/1.0/xmlns/\""
    " xmlns:other=\"http://example.com/other/\"";

std::string Description(const std::string& attributes, const std::string& body) {
  return std::string("<rdf:Description rdf:about=\"\"") + kNamespaces + " " + attributes + ">" +
         body + "</rdf:Description>\n";
}

// Language alternatives are compared as the reader uses them: the text shown, and the set of
// languages.
void ExpectSame(const XmpProperty& got, const XmpProperty& want, const std::string& where) {
  ASSERT_EQ(static_cast<int>(got.kind), static_cast<int>(want.kind)) << where;
  EXPECT_EQ(got.text, want.text) << where;
  EXPECT_EQ(got.items, want.items) << where;
  EXPECT_EQ(got.DefaultLanguageText(), want.DefaultLanguageText()) << where;
  auto gotLangs = got.langs, wantLangs = want.langs;
  std::sort(gotLangs.begin(), gotLangs.end());
  std::sort(wantLangs.begin(), wantLangs.end());
  EXPECT_EQ(gotLangs, wantLangs) << where;
}

class XmpPacketTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(XmpPacketTest, AgreesWithTheLibraryDecoder) {
  ASSERT_TRUE(CExiv2MetadataReader::Initialize());
  const test::CaseRow& c = GetParam();
  std::string descriptions = c[0];
  for (std::size_t at; (at = descriptions.find("@ns")) != std::string::npos;) {
    descriptions.replace(at, 3, kNamespaces + 1);
  }
  const std::string packet = Packet(descriptions);
  std::vector<XmpKeyedProperty> parsed;
  std::string error;
  ASSERT_TRUE(ParseXmpPacket(packet, &parsed, &error)) << error;
  std::map<std::string, XmpProperty> ours(parsed.begin(), parsed.end());

  Exiv2::XmpData data;
  ASSERT_EQ(Exiv2::XmpParser::decode(data, packet), 0);
  std::map<std::string, XmpProperty> library;
  for (const Exiv2::Xmpdatum& datum : data) library.emplace(datum.key(), XmpPropertyOf(datum));

  std::istringstream keys(c[1]);
  for (std::string key; keys >> key;) {
    ASSERT_TRUE(ours.count(key)) << key << " not read";
    ASSERT_TRUE(library.count(key)) << key << " not in the library's decoding";
  }
  for (const auto& [key, property] : ours) {
    const auto it = library.find(key);
    if (it != library.end()) ExpectSame(property, it->second, key);
  }
}

INSTANTIATE_TEST_SUITE_P(Packets, XmpPacketTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/xmp_packets.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(XmpPacketTest, DamagedPacketsGiveNothingAndSayWhy) {
  const std::string good = Packet(Description("xmp:Rating=\"4\"", ""));
  const std::string damaged[] = {
      good.substr(0, good.size() / 2),
      "<x:xmpmeta><rdf:RDF></x:xmpmeta>",
      "",
      std::string("\xFF\xFE\x00<", 4),
  };
  for (const std::string& packet : damaged) {
    std::vector<XmpKeyedProperty> parsed{{"stale", {}}};
    std::string error;
    EXPECT_FALSE(ParseXmpPacket(packet, &parsed, &error)) << packet;
    EXPECT_TRUE(parsed.empty());
    EXPECT_FALSE(error.empty());
  }
  // The reader's parser is reused after a failure.
  std::vector<XmpKeyedProperty> parsed;
  std::string error;
  ASSERT_TRUE(ParseXmpPacket(good, &parsed, &error)) << error;
  ASSERT_EQ(parsed.size(), 1u);
  EXPECT_EQ(parsed[0].first, "Xmp.xmp.Rating");
  EXPECT_EQ(parsed[0].second.text, "4");
}

}  // namespace
}  // namespace lmk
