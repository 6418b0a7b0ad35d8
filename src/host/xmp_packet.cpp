// A small RDF reader over expat for the XMP properties the metadata reader looks at.
#include "host/xmp_packet.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <exiv2/exiv2.hpp>
#include <limits>
#include <memory>
#include <random>
#include <type_traits>

namespace lmk {
namespace {

// expat gives a namespaced name as "<namespace URI><separator><local name>".
constexpr char kSeparator = '\x1F';

constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view kXml = "http://www.w3.org/XML/1998/namespace";

// Namespace URI, the metadata library's key prefix, and the prefix it writes for a field of a
// structure in that namespace.
struct Namespace {
  std::string_view uri;
  std::string_view keyPrefix;
  std::string_view fieldPrefix;
};

constexpr std::array<Namespace, 11> kNamespaces = {{
    {"http://purl.org/dc/elements/1.1/", "dc", "dc"},
    {"http://ns.adobe.com/xap/1.0/", "xmp", "xmp"},
    {"http://ns.adobe.com/xap/1.0/rights/", "xmpRights", "xmpRights"},
    {"http://ns.adobe.com/xap/1.0/mm/", "xmpMM", "xmpMM"},
    {"http://ns.adobe.com/exif/1.0/", "exif", "exif"},
    {"http://cipa.jp/exif/1.0/", "exifEX", "exifEX"},
    {"http://ns.adobe.com/exif/1.0/aux/", "aux", "aux"},
    {"http://ns.adobe.com/tiff/1.0/", "tiff", "tiff"},
    {"http://ns.adobe.com/photoshop/1.0/", "photoshop", "photoshop"},
    {"http://iptc.org/std/Iptc4xmpCore/1.0/xmlns/", "iptc", "Iptc4xmpCore"},
    {"http://ns.adobe.com/xmp/1.0/DynamicMedia/", "xmpDM", "xmpDM"},
}};

struct Name {
  std::string_view uri;
  std::string_view local;
};

Name Split(const XML_Char* name) {
  const std::string_view full(name);
  const std::size_t at = full.find(kSeparator);
  if (at == std::string_view::npos) return {{}, full};
  return {full.substr(0, at), full.substr(at + 1)};
}

const Namespace* Known(std::string_view uri) {
  for (const Namespace& ns : kNamespaces) {
    if (ns.uri == uri) return &ns;
  }
  return nullptr;
}

bool IsRdf(const Name& n, std::string_view local) { return n.uri == kRdf && n.local == local; }

// Syntax attributes of RDF and XML that are not properties.
bool IsSyntaxAttribute(const Name& n) { return n.uri == kRdf || n.uri == kXml || n.uri.empty(); }

bool EqualNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

// The order in which the metadata library keeps the languages of an alternative: longer codes
// first, then the later one in alphabetical order, without regard to case.
bool ListedBefore(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return a.size() > b.size();
  for (std::size_t i = 0; i < a.size(); ++i) {
    const int x = std::tolower(static_cast<unsigned char>(a[i]));
    const int y = std::tolower(static_cast<unsigned char>(b[i]));
    if (x != y) return x > y;
  }
  return false;
}

// A language tag in the form XMP keeps it: the first subtag in lower case, a two-letter
// second subtag (a region) in upper case, the rest in lower case ("X-Default" is "x-default",
// "en-us" is "en-US").
std::string NormalizedLanguage(std::string_view tag) {
  std::string out(tag);
  std::size_t subtag = 0;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= out.size(); ++i) {
    if (i < out.size() && out[i] != '-') continue;
    const bool region = subtag == 1 && i - start == 2;
    for (std::size_t k = start; k < i; ++k) {
      const auto c = static_cast<unsigned char>(out[k]);
      out[k] = static_cast<char>(region ? std::toupper(c) : std::tolower(c));
    }
    ++subtag;
    start = i + 1;
  }
  return out;
}

class RdfReader {
 public:
  explicit RdfReader(std::vector<XmpKeyedProperty>* out) : out_(out) {}

  void Start(const XML_Char* element, const XML_Char** attributes) {
    const Name name = Split(element);
    const Kind parent = frames_.empty() ? Kind::kOutside : frames_.back().kind;
    Frame frame;
    switch (parent) {
      case Kind::kOutside:
        frame.kind = IsRdf(name, "RDF") ? Kind::kRdf : Kind::kOutside;
        break;
      case Kind::kRdf:
        if (IsRdf(name, "Description")) {
          frame.kind = Kind::kDescription;
          AttributesAsProperties(attributes, {});
        }
        break;
      case Kind::kDescription:
      case Kind::kStruct:
        frame = PropertyFrame(name, parent == Kind::kStruct ? frames_.back().key : std::string(),
                              parent == Kind::kStruct, attributes);
        break;
      case Kind::kProperty: {
        // Whatever element a property holds, its value is not the text around it.
        Frame& property = frames_.back();
        property.hasContent = true;
        if (IsRdf(name, "Bag") || IsRdf(name, "Seq") || IsRdf(name, "Alt")) {
          frame.kind = Kind::kArray;
          frame.key = property.key;
          frame.isAlt = IsRdf(name, "Alt");
        } else if (IsRdf(name, "Description")) {
          frame.kind = Kind::kStruct;
          frame.key = property.key;
          AttributesAsProperties(attributes, frame.key);
        }
        break;
      }
      case Kind::kArray:
        if (IsRdf(name, "li")) {
          frame.kind = Kind::kItem;
          for (const XML_Char** a = attributes; a[0] != nullptr; a += 2) {
            const Name attribute = Split(a[0]);
            if (attribute.uri == kXml && attribute.local == "lang") frame.lang = a[1];
            // An item that is a structure is not a simple item.
            if (IsRdf(attribute, "parseType")) {
              frame.kind = Kind::kIgnored;
              frames_.back().hasComplexItems = true;
            }
          }
        }
        break;
      case Kind::kItem:
        // A structure or qualifiers inside an item: the item is not a simple one.
        frames_.back().kind = Kind::kIgnored;
        frames_[frames_.size() - 2].hasComplexItems = true;
        break;
      case Kind::kIgnored:
        break;
    }
    frames_.push_back(std::move(frame));
  }

  void End() {
    if (frames_.empty()) return;
    Frame frame = std::move(frames_.back());
    frames_.pop_back();
    switch (frame.kind) {
      case Kind::kItem:
        // Empty items are dropped, as the metadata library drops them.
        if (!frames_.empty() && frames_.back().kind == Kind::kArray && !frame.text.empty()) {
          Frame& array = frames_.back();
          array.items.push_back(std::move(frame.text));
          array.itemLangs.push_back(NormalizedLanguage(frame.lang));
        }
        break;
      case Kind::kArray:
        EmitArray(frame);
        break;
      case Kind::kProperty:
        if (!frame.hasContent) Emit(frame.key, frame.text);
        break;
      default:
        break;
    }
  }

  void Text(const XML_Char* text, int length) {
    if (frames_.empty()) return;
    Frame& frame = frames_.back();
    if (frame.kind == Kind::kProperty || frame.kind == Kind::kItem) {
      frame.text.append(text, static_cast<std::size_t>(length));
    }
  }

 private:
  enum class Kind { kOutside, kRdf, kDescription, kProperty, kStruct, kArray, kItem, kIgnored };

  struct Frame {
    Kind kind = Kind::kIgnored;
    std::string key;  // empty: a property the reader does not know
    std::string text;
    std::string lang;
    bool hasContent = false;  // an array or a structure, not text
    bool isAlt = false;
    bool hasComplexItems = false;  // an array of structures, which the reader does not read
    std::vector<std::string> items;
    std::vector<std::string> itemLangs;
  };

  // The key of a property or (below a structure's key) of one of its fields; empty when the
  // namespace is not one the reader knows.
  static std::string KeyOf(const Name& name, const std::string& structKey, bool inStruct) {
    const Namespace* ns = Known(name.uri);
    if (ns == nullptr || name.local.empty()) return {};
    std::string key;
    if (inStruct) {
      if (structKey.empty()) return {};
      key.reserve(structKey.size() + ns->fieldPrefix.size() + name.local.size() + 2);
      key.append(structKey).append("/").append(ns->fieldPrefix).append(":").append(name.local);
    } else {
      key.reserve(ns->keyPrefix.size() + name.local.size() + 5);
      key.append("Xmp.").append(ns->keyPrefix).append(".").append(name.local);
    }
    return key;
  }

  Frame PropertyFrame(const Name& name, const std::string& structKey, bool inStruct,
                      const XML_Char** attributes) {
    Frame frame;
    frame.kind = Kind::kProperty;
    frame.key = KeyOf(name, structKey, inStruct);
    for (const XML_Char** a = attributes; a[0] != nullptr; a += 2) {
      const Name attribute = Split(a[0]);
      if (IsRdf(attribute, "parseType") && std::string_view(a[1]) == "Resource") {
        frame.kind = Kind::kStruct;
      } else if (IsRdf(attribute, "resource")) {
        frame.hasContent = true;
        Emit(frame.key, a[1]);
      }
    }
    // Other attributes make the property a structure written in short form.
    bool shortStruct = false;
    for (const XML_Char** a = attributes; a[0] != nullptr; a += 2) {
      if (!IsSyntaxAttribute(Split(a[0]))) shortStruct = true;
    }
    if (shortStruct) {
      frame.hasContent = true;
      AttributesAsProperties(attributes, frame.key);
    }
    return frame;
  }

  // Attributes that are properties (of a description) or fields (of the structure `structKey`).
  void AttributesAsProperties(const XML_Char** attributes, const std::string& structKey) {
    const bool inStruct = !structKey.empty();
    for (const XML_Char** a = attributes; a[0] != nullptr; a += 2) {
      const Name attribute = Split(a[0]);
      if (IsSyntaxAttribute(attribute)) continue;
      Emit(KeyOf(attribute, structKey, inStruct), a[1]);
    }
  }

  void Emit(const std::string& key, std::string_view text) {
    if (key.empty()) return;
    XmpProperty property;
    property.text = text;
    out_->emplace_back(key, std::move(property));
  }

  void EmitArray(Frame& array) {
    if (array.key.empty() || array.hasComplexItems) return;
    XmpProperty property;
    const bool hasLanguages = std::any_of(array.itemLangs.begin(), array.itemLangs.end(),
                                          [](const std::string& lang) { return !lang.empty(); });
    if (array.isAlt && hasLanguages) {
      property.kind = XmpProperty::Kind::kLangAlt;
      for (std::size_t i = 0; i < array.items.size(); ++i) {
        if (array.itemLangs[i].empty()) continue;
        property.langs.emplace_back(std::move(array.itemLangs[i]), std::move(array.items[i]));
      }
    } else {
      property.kind = XmpProperty::Kind::kArray;
      property.items = std::move(array.items);
    }
    out_->emplace_back(array.key, std::move(property));
  }

  std::vector<XmpKeyedProperty>* out_;
  std::vector<Frame> frames_;
};

void XMLCALL OnStart(void* data, const XML_Char* name, const XML_Char** attributes) {
  static_cast<RdfReader*>(data)->Start(name, attributes);
}
void XMLCALL OnEnd(void* data, const XML_Char* /*name*/) { static_cast<RdfReader*>(data)->End(); }
void XMLCALL OnText(void* data, const XML_Char* text, int length) {
  static_cast<RdfReader*>(data)->Text(text, length);
}

struct ParserFree {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ParserPtr = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree>;

}  // namespace

std::string_view XmpProperty::DefaultLanguageText() const {
  if (kind != Kind::kLangAlt || langs.empty()) return {};
  // Of two entries for one language the later wins, as when the library reads them.
  const std::pair<std::string, std::string>* best = nullptr;
  for (const auto& entry : langs) {
    if (EqualNoCase(entry.first, "x-default")) best = &entry;
  }
  if (best != nullptr) return best->second;
  for (const auto& entry : langs) {
    if (best == nullptr || ListedBefore(entry.first, best->first) ||
        EqualNoCase(entry.first, best->first)) {
      best = &entry;
    }
  }
  return best->second;
}

XmpProperty XmpPropertyOf(const Exiv2::Xmpdatum& datum) {
  XmpProperty property;
  const Exiv2::Value& value = datum.value();
  switch (value.typeId()) {
    case Exiv2::langAlt:
      property.kind = XmpProperty::Kind::kLangAlt;
      if (const auto* alt = dynamic_cast<const Exiv2::LangAltValue*>(&value)) {
        for (const auto& [lang, text] : alt->value_) property.langs.emplace_back(lang, text);
      }
      break;
    case Exiv2::xmpBag:
    case Exiv2::xmpSeq:
    case Exiv2::xmpAlt:
      property.kind = XmpProperty::Kind::kArray;
      for (long i = 0; i < value.count(); ++i) property.items.push_back(value.toString(i));
      break;
    default:
      property.text = value.toString();
  }
  return property;
}

bool ParseXmpPacket(std::string_view packet, std::vector<XmpKeyedProperty>* out,
                    std::string* error) {
  out->clear();
  // One parser per thread, reset for each packet: making a parser costs more than parsing a
  // small packet.
  thread_local ParserPtr parser;
  if (!parser) {
    parser.reset(XML_ParserCreateNS(nullptr, kSeparator));
  } else if (XML_ParserReset(parser.get(), nullptr) == XML_FALSE) {
    parser.reset(XML_ParserCreateNS(nullptr, kSeparator));
  }
  if (!parser) {
    if (error != nullptr) *error = "out of memory";
    return false;
  }
  // Writers pad the packet after its root element, some with NULs, and close it with a
  // processing instruction that XML does not need. The parser is given the root element
  // alone, found from the front: walking kilobytes of padding costs more than the parse.
  constexpr std::string_view kRootEnd("</x:xmpmeta>");
  if (const std::size_t root = packet.find(kRootEnd); root != std::string_view::npos) {
    packet = packet.substr(0, root + kRootEnd.size());
  } else {
    const std::size_t end = packet.find_last_not_of(std::string_view("\0 \t\r\n", 5));
    packet = packet.substr(0, end == std::string_view::npos ? 0 : end + 1);
  }

  // A salt of its own per thread, so that a reset does not ask the system for a new one.
  thread_local const unsigned long salt = std::random_device{}();
  XML_SetHashSalt(parser.get(), salt);
  RdfReader reader(out);
  XML_SetUserData(parser.get(), &reader);
  XML_SetElementHandler(parser.get(), OnStart, OnEnd);
  XML_SetCharacterDataHandler(parser.get(), OnText);
  if (packet.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) ||
      XML_Parse(parser.get(), packet.data(), static_cast<int>(packet.size()), XML_TRUE) ==
          XML_STATUS_ERROR) {
    if (error != nullptr) {
      const XML_Error code = XML_GetErrorCode(parser.get());
      *error = std::string(XML_ErrorString(code)) + " at line " +
               std::to_string(XML_GetCurrentLineNumber(parser.get()));
    }
    out->clear();
    // A parser stopped by an error must not be reused half-way.
    parser.reset();
    return false;
  }
  return true;
}

}  // namespace lmk
