// The XMP packet reader against the metadata library's own XMP decoder: for every property
// both report, the two must agree, and each case's properties must be found by both.
#include "host/xmp_packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exiv2/exiv2.hpp>
#include <map>
#include <string>
#include <vector>

#include "host/exiv2_metadata_reader.h"

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

struct PacketCase {
  const char* name;
  std::string packet;
  std::vector<std::string> keys;  // properties both must report
};

class XmpPacketTest : public ::testing::TestWithParam<PacketCase> {};

TEST_P(XmpPacketTest, AgreesWithTheLibraryDecoder) {
  ASSERT_TRUE(CExiv2MetadataReader::Initialize());
  const PacketCase& c = GetParam();
  std::vector<XmpKeyedProperty> parsed;
  std::string error;
  ASSERT_TRUE(ParseXmpPacket(c.packet, &parsed, &error)) << error;
  std::map<std::string, XmpProperty> ours(parsed.begin(), parsed.end());

  Exiv2::XmpData data;
  ASSERT_EQ(Exiv2::XmpParser::decode(data, c.packet), 0);
  std::map<std::string, XmpProperty> library;
  for (const Exiv2::Xmpdatum& datum : data) library.emplace(datum.key(), XmpPropertyOf(datum));

  for (const std::string& key : c.keys) {
    ASSERT_TRUE(ours.count(key)) << c.name << ": " << key << " not read";
    ASSERT_TRUE(library.count(key)) << c.name << ": " << key << " not in the library's decoding";
  }
  for (const auto& [key, property] : ours) {
    const auto it = library.find(key);
    if (it != library.end()) ExpectSame(property, it->second, std::string(c.name) + ": " + key);
  }
}

const PacketCase kCases[] = {
    {"AttributesAndElements",
     Packet(Description("xmp:Rating=\"4\" xmp:Label=\"Red\"",
                        "<photoshop:City>S&amp;P &lt;north&gt;</photoshop:City>"
                        "<photoshop:Country><![CDATA[<Portugal>]]></photoshop:Country>"
                        "<photoshop:Urgency> 2 </photoshop:Urgency>")),
     {"Xmp.xmp.Rating", "Xmp.xmp.Label", "Xmp.photoshop.City", "Xmp.photoshop.Country",
      "Xmp.photoshop.Urgency"}},
    {"Arrays",
     Packet(Description("",
                        "<dc:subject><rdf:Bag><rdf:li>sea</rdf:li><rdf:li></rdf:li>"
                        "<rdf:li>boat</rdf:li></rdf:Bag></dc:subject>"
                        "<dc:creator><rdf:Seq><rdf:li>Ana Silva</rdf:li></rdf:Seq>"
                        "</dc:creator>"
                        "<xmpRights:Owner><rdf:Alt><rdf:li>A</rdf:li><rdf:li>B</rdf:li>"
                        "</rdf:Alt></xmpRights:Owner>")),
     {"Xmp.dc.subject", "Xmp.dc.creator", "Xmp.xmpRights.Owner"}},
    {"LanguageAlternatives",
     Packet(Description(
         "",
         "<dc:title><rdf:Alt><rdf:li xml:lang=\"de\">Hafen</rdf:li>"
         "<rdf:li xml:lang=\"x-default\">Harbour</rdf:li></rdf:Alt></dc:title>"
         "<dc:description><rdf:Alt><rdf:li xml:lang=\"en-us\">Boats</rdf:li>"
         "<rdf:li xml:lang=\"de\">Boote</rdf:li><rdf:li xml:lang=\"fr-CA\">Bateaux</rdf:li>"
         "</rdf:Alt></dc:description>"
         "<dc:rights><rdf:Alt><rdf:li xml:lang=\"X-Default\">(c) Ana</rdf:li></rdf:Alt>"
         "</dc:rights>")),
     {"Xmp.dc.title", "Xmp.dc.description", "Xmp.dc.rights"}},
    {"Structures",
     Packet(Description("",
                        "<Iptc4xmpCore:CreatorContactInfo rdf:parseType=\"Resource\">"
                        "<Iptc4xmpCore:CiAdrCity>Lisbon</Iptc4xmpCore:CiAdrCity>"
                        "<Iptc4xmpCore:CiEmailWork>ana@example.com</Iptc4xmpCore:CiEmailWork>"
                        "</Iptc4xmpCore:CreatorContactInfo>"
                        "<xmpRights:WebStatement rdf:resource=\"http://example.com/rights\"/>") +
            Description("", "<Iptc4xmpCore:Location>Harbour</Iptc4xmpCore:Location>")),
     {"Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrCity",
      "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiEmailWork", "Xmp.xmpRights.WebStatement",
      "Xmp.iptc.Location"}},
    {"StructureForms",
     Packet(Description("",
                        "<Iptc4xmpCore:CreatorContactInfo><rdf:Description "
                        "Iptc4xmpCore:CiAdrCtry=\"Portugal\">"
                        "<Iptc4xmpCore:CiAdrPcode>1100</Iptc4xmpCore:CiAdrPcode>"
                        "</rdf:Description></Iptc4xmpCore:CreatorContactInfo>") +
            Description("", "<Iptc4xmpCore:Scene Iptc4xmpCore:CiTelWork=\"+351\"/>")),
     {"Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrCtry",
      "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrPcode"}},
    {"PassesOverWhatItDoesNotRead",
     Packet(Description("other:Thing=\"1\" xmp:Rating=\"-1\"",
                        "<xmpMM:History><rdf:Seq><rdf:li rdf:parseType=\"Resource\">"
                        "<stEvt:action>saved</stEvt:action></rdf:li></rdf:Seq></xmpMM:History>"
                        "<other:Deep><rdf:Bag><rdf:li>x</rdf:li></rdf:Bag></other:Deep>"
                        "<exif:GPSLatitude>38,42.5N</exif:GPSLatitude>")),
     {"Xmp.xmp.Rating", "Xmp.exif.GPSLatitude"}},
};

INSTANTIATE_TEST_SUITE_P(Packets, XmpPacketTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

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

// Packets without the usual root element are read whole, padding and all.
TEST(XmpPacketTest, PacketWithoutItsRootElementIsReadWhole) {
  const std::string packet = "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">" +
                             Description("xmp:Rating=\"2\"", "") + "</rdf:RDF>" +
                             std::string(100, ' ') + std::string(4, '\0');
  std::vector<XmpKeyedProperty> parsed;
  std::string error;
  ASSERT_TRUE(ParseXmpPacket(packet, &parsed, &error)) << error;
  ASSERT_EQ(parsed.size(), 1u);
  EXPECT_EQ(parsed[0].second.text, "2");
}

}  // namespace
}  // namespace lmk
