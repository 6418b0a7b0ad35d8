// The JPEG segment walk and the packet text edit behind CJpegXmpRewriter. The packet is parsed
// with expat to learn where the property stands; the edit itself is a splice of the text.
#include "host/jpeg_xmp_rewriter.h"

#include <expat.h>

#include <memory>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/xmp_packet.h"

namespace lmk {
namespace {

constexpr char kSeparator = '\x1F';
constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view kXmpNote = "http://ns.adobe.com/xmp/note/";
constexpr std::string_view kXmpSignature("http://ns.adobe.com/xap/1.0/\0", 29);
constexpr std::string_view kExtendedSignature("http://ns.adobe.com/xmp/extension/\0", 35);
constexpr std::string_view kExifSignature("Exif\0\0", 6);
constexpr std::string_view kTrailer = "<?xpacket end=";
// Larger packets are rare enough to be left to the general writer, which may move them into
// extended XMP.
constexpr std::size_t kLargestPacket = 65000;
// Room left for later edits in a packet that is made or rebuilt, as other writers leave it.
constexpr std::size_t kNewPadding = 2048;

// A packet with the property missing, for a JPEG that has none.
constexpr std::string_view kEmptyPacket =
    "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
    "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
    "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description "
    "rdf:about=\"\"/></rdf:RDF></x:xmpmeta>\n<?xpacket end=\"w\"?>";

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string Escaped(std::string_view value, bool attribute) {
  std::string out;
  out.reserve(value.size());
  for (char c : value) {
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '"' && attribute) {
      out += "&quot;";
    } else {
      out += c;
    }
  }
  return out;
}

// One attribute as written in a start tag: its qualified name and where its text lies.
struct RawAttribute {
  std::string_view name;
  std::size_t begin = 0;       // the white space before the name
  std::size_t valueBegin = 0;  // inside the quotes
  std::size_t valueEnd = 0;
};

// The attributes of the well-formed start tag `tag` (offsets into it).
std::vector<RawAttribute> AttributesOf(std::string_view tag) {
  std::vector<RawAttribute> out;
  std::size_t at = 1;
  while (at < tag.size() && !IsSpace(tag[at]) && tag[at] != '/' && tag[at] != '>') ++at;
  while (true) {
    const std::size_t begin = at;
    while (at < tag.size() && IsSpace(tag[at])) ++at;
    if (at >= tag.size() || tag[at] == '/' || tag[at] == '>') return out;
    const std::size_t nameBegin = at;
    while (at < tag.size() && !IsSpace(tag[at]) && tag[at] != '=') ++at;
    RawAttribute attribute{tag.substr(nameBegin, at - nameBegin), begin};
    while (at < tag.size() && tag[at] != '"' && tag[at] != '\'') ++at;
    if (at >= tag.size()) return out;
    const std::size_t close = tag.find(tag[at], at + 1);
    if (close == std::string_view::npos) return out;
    attribute.valueBegin = at + 1;
    attribute.valueEnd = close;
    out.push_back(attribute);
    at = close + 1;
  }
}

// Where the property stands in a packet, learnt from one parse.
class PacketScan {
 public:
  explicit PacketScan(std::string_view document, const XmpPropertyName& property)
      : document_(document), property_(property) {}

  // False when the document is not well-formed XML.
  bool Run();

  enum class Form { kMissing, kAttribute, kElement };
  bool unsure = false;  // a form the edit does not handle with certainty
  Form form = Form::kMissing;
  std::size_t rootEnd = 0;
  // kAttribute: the value's text; kElement: the element and its content; kMissing: the first
  // top-level description's start tag (tagBegin, tagEnd).
  std::size_t tagBegin = 0, tagEnd = 0, contentBegin = 0, contentEnd = 0, elementEnd = 0;
  bool emptyElement = false;  // <p:Name/>, or a description without children
  std::string qualifiedName;  // kElement: the element's name as written
  std::string boundPrefix;    // kMissing: a prefix in scope for the namespace, if any
  bool prefixTaken = false;   // kMissing: the usual prefix means another namespace there

 private:
  static void XMLCALL OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    static_cast<PacketScan*>(self)->Start(name, attributes);
  }
  static void XMLCALL OnEnd(void* self, const XML_Char* /*name*/) {
    static_cast<PacketScan*>(self)->End();
  }
  static void XMLCALL OnNamespaceStart(void* self, const XML_Char* prefix, const XML_Char* uri) {
    static_cast<PacketScan*>(self)->scope_.emplace_back(prefix != nullptr ? prefix : "",
                                                        uri != nullptr ? uri : "");
  }
  static void XMLCALL OnNamespaceEnd(void* self, const XML_Char* /*prefix*/) {
    auto& scope = static_cast<PacketScan*>(self)->scope_;
    if (!scope.empty()) scope.pop_back();
  }

  std::string_view Resolve(std::string_view prefix) const {
    for (auto it = scope_.rbegin(); it != scope_.rend(); ++it) {
      if (it->first == prefix) return it->second;
    }
    return {};
  }

  bool IsTarget(std::string_view name) const {
    return name.size() == property_.uri.size() + 1 + property_.local.size() &&
           name.starts_with(property_.uri) && name[property_.uri.size()] == kSeparator &&
           name.ends_with(property_.local);
  }

  void Start(const XML_Char* element, const XML_Char** attributes);
  void End();
  void StartDescription(const XML_Char** attributes);

  std::string_view document_;
  XmpPropertyName property_;
  XML_Parser parser_ = nullptr;
  std::vector<std::pair<std::string, std::string>> scope_;
  int depth_ = 0;
  int rdfDepth_ = -1;
  int hits_ = 0;
  int hitDepth_ = -1;  // the element form being read
  bool descriptionSeen_ = false;
};

void PacketScan::Start(const XML_Char* element, const XML_Char** attributes) {
  ++depth_;
  const std::string_view name(element);
  const bool isRdf = name.starts_with(kRdf) && name.size() > kRdf.size() + 1;
  const std::string_view local = isRdf ? name.substr(kRdf.size() + 1) : std::string_view();
  if (hitDepth_ >= 0) {
    unsure = true;  // the property holds more than text
  } else if (isRdf && local == "RDF") {
    if (rdfDepth_ >= 0) unsure = true;
    rdfDepth_ = depth_;
  } else if (rdfDepth_ >= 0 && depth_ == rdfDepth_ + 1) {
    if (isRdf && local == "Description") {
      StartDescription(attributes);
    } else {
      unsure = true;  // a typed node
    }
  } else if (rdfDepth_ >= 0 && depth_ == rdfDepth_ + 2 && IsTarget(name)) {
    ++hits_;
    if (attributes[0] != nullptr) unsure = true;
    const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_));
    const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser_));
    form = Form::kElement;
    tagBegin = begin;
    contentBegin = begin + length;
    const std::string_view tag = document_.substr(begin, length);
    emptyElement = tag.ends_with("/>");
    std::size_t nameEnd = 1;
    while (nameEnd < tag.size() && !IsSpace(tag[nameEnd]) && tag[nameEnd] != '/' &&
           tag[nameEnd] != '>') {
      ++nameEnd;
    }
    qualifiedName = tag.substr(1, nameEnd - 1);
    hitDepth_ = depth_;
  }
}

void PacketScan::StartDescription(const XML_Char** attributes) {
  const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_));
  const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser_));
  const std::string_view tag = document_.substr(begin, length);
  for (const XML_Char** a = attributes; a[0] != nullptr; a += 2) {
    const std::string_view name(a[0]);
    if (name.starts_with(kXmpNote) && name.ends_with("HasExtendedXMP")) unsure = true;
    if (!IsTarget(name)) continue;
    ++hits_;
    form = Form::kAttribute;
    for (const RawAttribute& raw : AttributesOf(tag)) {
      const std::size_t colon = raw.name.find(':');
      if (colon == std::string_view::npos || raw.name.substr(colon + 1) != property_.local ||
          Resolve(raw.name.substr(0, colon)) != property_.uri) {
        continue;
      }
      tagBegin = begin + raw.begin;
      contentBegin = begin + raw.valueBegin;
      contentEnd = begin + raw.valueEnd;
    }
    if (contentEnd == 0) unsure = true;
  }
  if (descriptionSeen_) return;
  descriptionSeen_ = true;
  if (form == Form::kMissing) {
    tagBegin = begin;
    tagEnd = begin + length;
    emptyElement = tag.ends_with("/>");
  }
  for (auto it = scope_.rbegin(); it != scope_.rend(); ++it) {
    if (it->second == property_.uri && Resolve(it->first) == property_.uri && !it->first.empty()) {
      boundPrefix = it->first;
      break;
    }
  }
  const std::string_view usual = Resolve(property_.prefix);
  prefixTaken = !usual.empty() && usual != property_.uri;
}

void PacketScan::End() {
  if (depth_ == hitDepth_) {
    const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_));
    const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser_));
    // An empty-element tag has no end tag of its own.
    contentEnd = emptyElement ? contentBegin : begin;
    elementEnd = emptyElement ? contentBegin : begin + length;
    hitDepth_ = -1;
  }
  if (depth_ == 1) {
    rootEnd = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_) +
                                       XML_GetCurrentByteCount(parser_));
  }
  --depth_;
}

struct ParserFree {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

// The parser of this thread, reset for another document. Making a parser for each packet cost
// more than the parse, and each new parser asked the system for a fresh hash salt.
XML_Parser ThreadParser() {
  thread_local std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree> parser;
  thread_local const unsigned long salt = std::random_device{}();
  if (!parser || XML_ParserReset(parser.get(), "UTF-8") == XML_FALSE) {
    parser.reset(XML_ParserCreateNS("UTF-8", kSeparator));
  }
  if (parser) XML_SetHashSalt(parser.get(), salt);
  return parser.get();
}

bool PacketScan::Run() {
  XML_Parser parser = ThreadParser();
  if (parser == nullptr || document_.size() > kLargestPacket) return false;
  parser_ = parser;
  XML_SetUserData(parser_, this);
  XML_SetElementHandler(parser_, OnStart, OnEnd);
  XML_SetNamespaceDeclHandler(parser_, OnNamespaceStart, OnNamespaceEnd);
  const bool parsed = XML_Parse(parser_, document_.data(), static_cast<int>(document_.size()),
                                XML_TRUE) != XML_STATUS_ERROR;
  // The handlers point at this scan: the next document sets its own.
  XML_SetUserData(parser_, nullptr);
  parser_ = nullptr;
  if (!parsed) return false;
  if (hits_ > 1 || rdfDepth_ < 0 || !descriptionSeen_ || rootEnd == 0) unsure = true;
  return true;
}

// Appends to *out the packet `packet` with `property` set to `value`; false (with *out as it
// was or longer) when the packet is in a form that is not edited here. *unchanged tells that
// the packet already says so.
bool EditPacket(std::string_view packet, const XmpPropertyName& property, std::string_view value,
                bool* unchanged, std::string* out) {
  *unchanged = false;
  // The trailer says whether the packet may be changed, and the white space before it is the
  // room the packet may grow into.
  const std::size_t trailer = packet.rfind(kTrailer);
  if (trailer == std::string_view::npos) return false;
  const std::string_view end = packet.substr(trailer + kTrailer.size());
  if (!end.starts_with("\"w\"") && !end.starts_with("'w'")) return false;
  const std::string_view document = packet.substr(0, trailer);
  std::size_t padding = 0;
  while (padding < document.size() && IsSpace(document[document.size() - padding - 1])) {
    ++padding;
  }
  // The parser is spared the padding: walking kilobytes of spaces cost more than the parse.
  PacketScan scan(document.substr(0, document.size() - padding), property);
  if (!scan.Run() || scan.unsure) return false;

  std::size_t cutBegin = 0;
  std::size_t cutEnd = 0;
  std::string insert;
  using Form = PacketScan::Form;
  if (scan.form == Form::kMissing) {
    if (value.empty()) {
      *unchanged = true;
      return false;
    }
    if (scan.boundPrefix.empty() && scan.prefixTaken) return false;
    const std::string prefix =
        scan.boundPrefix.empty() ? std::string(property.prefix) : scan.boundPrefix;
    if (scan.boundPrefix.empty()) {
      insert.append(" xmlns:").append(prefix).append("=\"").append(property.uri).append("\"");
    }
    insert.append(" ").append(prefix).append(":").append(property.local).append("=\"");
    insert.append(Escaped(value, true)).append("\"");
    cutBegin = cutEnd = scan.tagEnd - (scan.emptyElement ? 2 : 1);
  } else if (scan.form == Form::kAttribute) {
    if (document.substr(scan.contentBegin, scan.contentEnd - scan.contentBegin) == value) {
      *unchanged = true;
      return false;
    }
    if (value.empty()) {
      // The attribute goes with the white space before it, up to its closing quote.
      cutBegin = scan.tagBegin;
      cutEnd = scan.contentEnd + 1;
    } else {
      cutBegin = scan.contentBegin;
      cutEnd = scan.contentEnd;
      insert = Escaped(value, document[scan.contentBegin - 1] == '"');
      if (document[scan.contentBegin - 1] == '\'' && value.find('\'') != std::string_view::npos) {
        return false;
      }
    }
  } else {
    if (document.substr(scan.contentBegin, scan.contentEnd - scan.contentBegin) == value) {
      *unchanged = true;
      return false;
    }
    if (value.empty()) {
      cutBegin = scan.tagBegin;
      cutEnd = scan.elementEnd;
    } else if (scan.emptyElement) {
      cutBegin = scan.tagBegin;
      cutEnd = scan.elementEnd;
      insert.append("<").append(scan.qualifiedName).append(">").append(Escaped(value, false));
      insert.append("</").append(scan.qualifiedName).append(">");
    } else {
      cutBegin = scan.contentBegin;
      cutEnd = scan.contentEnd;
      insert = Escaped(value, false);
    }
  }

  // The padding after the root element absorbs the change of length when it can.
  const std::ptrdiff_t growth =
      static_cast<std::ptrdiff_t>(insert.size()) - static_cast<std::ptrdiff_t>(cutEnd - cutBegin);
  out->reserve(out->size() + packet.size() + insert.size() + kNewPadding);
  out->append(document.substr(0, cutBegin)).append(insert);
  out->append(document.substr(cutEnd, trailer - padding - cutEnd));
  if (padding > 0 && growth <= static_cast<std::ptrdiff_t>(padding)) {
    if (growth < 0) out->append(static_cast<std::size_t>(-growth), ' ');
    const std::size_t dropped = growth > 0 ? static_cast<std::size_t>(growth) : 0;
    out->append(document.substr(trailer - padding + dropped, padding - dropped));
  } else {
    // Lines of a hundred spaces, as packet writers pad.
    static const std::string kFreshPadding = [] {
      std::string text(kNewPadding, ' ');
      for (std::size_t i = 100; i < text.size(); i += 101) text[i] = '\n';
      return text;
    }();
    out->append(kFreshPadding);
  }
  out->append(packet.substr(trailer));
  return true;
}

// Whether `after` holds `property` = `value` and every other property of `before`.
bool SaysTheSame(std::string_view before, std::string_view after, const XmpPropertyName& property,
                 std::string_view value) {
  std::vector<XmpKeyedProperty> old;
  std::vector<XmpKeyedProperty> now;
  if (!ParseXmpPacket(before, &old, nullptr) || !ParseXmpPacket(after, &now, nullptr)) {
    return false;
  }
  std::string key = "Xmp.";
  key.append(property.prefix).append(".").append(property.local);
  const auto drop = [&key](std::vector<XmpKeyedProperty>& list, std::string* found) {
    int count = 0;
    for (auto it = list.begin(); it != list.end();) {
      if (it->first != key) {
        ++it;
        continue;
      }
      *found = it->second.text;
      ++count;
      it = list.erase(it);
    }
    return count;
  };
  std::string oldValue;
  std::string newValue;
  (void)drop(old, &oldValue);
  const int found = drop(now, &newValue);
  return old == now && found == (value.empty() ? 0 : 1) && newValue == value;
}

}  // namespace

CJpegXmpRewriter::Outcome CJpegXmpRewriter::Damaged(std::string problem) {
  problem_ = std::move(problem);
  return Outcome::kDamaged;
}

CJpegXmpRewriter::Outcome CJpegXmpRewriter::Set(const XmpPropertyName& property,
                                                std::string_view value) {
  const auto byte = [this](std::size_t at) { return static_cast<unsigned char>(file_[at]); };
  if (file_.size() < 4 || byte(0) != 0xFF || byte(1) != 0xD8) return Outcome::kUnsupported;
  // Where a new packet goes: after the EXIF segment, else after a leading JFIF segment.
  std::size_t insertAt = 2;
  std::size_t xmpBegin = 0;
  std::size_t xmpEnd = 0;
  std::size_t at = 2;
  bool leading = true;
  while (true) {
    if (at >= file_.size()) return Damaged("it ends before its picture data");
    if (byte(at) != 0xFF) {
      return Damaged("a segment marker is missing at byte " + std::to_string(at));
    }
    while (at < file_.size() && byte(at) == 0xFF) ++at;
    if (at >= file_.size()) return Damaged("it ends before its picture data");
    const std::size_t segmentBegin = at - 1;
    const unsigned char marker = byte(at++);
    if (marker == 0xDA) break;
    if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;
    if (marker == 0x00 || marker == 0xD8 || marker == 0xD9) {
      return Damaged("a misplaced marker stands at byte " + std::to_string(segmentBegin));
    }
    if (at + 2 > file_.size()) return Damaged("it ends inside a segment header");
    const std::size_t length = (std::size_t{byte(at)} << 8) | byte(at + 1);
    if (length < 2 || at + length > file_.size()) {
      return Damaged("the segment at byte " + std::to_string(segmentBegin) +
                     " runs past the end of the file");
    }
    const std::string_view payload = file_.substr(at + 2, length - 2);
    at += length;
    if (marker == 0xE1 && payload.starts_with(kExtendedSignature)) return Outcome::kUnsupported;
    if (marker == 0xE1 && payload.starts_with(kXmpSignature)) {
      if (xmpEnd != 0) return Outcome::kUnsupported;
      xmpBegin = segmentBegin;
      xmpEnd = at;
    }
    const bool exif = marker == 0xE1 && payload.starts_with(kExifSignature);
    if (leading && (exif || (marker == 0xE0 && insertAt == 2))) {
      insertAt = at;
    } else {
      leading = false;
    }
  }

  const std::string_view packet = xmpEnd != 0
                                      ? file_.substr(xmpBegin + 4 + kXmpSignature.size(),
                                                     xmpEnd - xmpBegin - 4 - kXmpSignature.size())
                                      : kEmptyPacket;
  // The new segment is built in place: its marker, a length filled in below, the signature and
  // the edited packet.
  segment_.assign({'\xFF', '\xE1', '\0', '\0'});
  segment_.append(kXmpSignature);
  const std::size_t packetBegin = segment_.size();
  bool unchanged = false;
  const bool edited = EditPacket(packet, property, value, &unchanged, &segment_);
  if (unchanged) return Outcome::kUnchanged;
  const std::string_view newPacket = std::string_view(segment_).substr(packetBegin);
  if (!edited || newPacket.size() > kLargestPacket ||
      !SaysTheSame(packet, newPacket, property, value)) {
    return Outcome::kUnsupported;
  }
  const std::size_t length = segment_.size() - 2;
  segment_[2] = static_cast<char>(length >> 8);
  segment_[3] = static_cast<char>(length & 0xFF);
  cutBegin_ = xmpEnd != 0 ? xmpBegin : insertAt;
  cutEnd_ = xmpEnd != 0 ? xmpEnd : insertAt;
  return Outcome::kRewritten;
}

std::array<std::string_view, 3> CJpegXmpRewriter::Pieces() const {
  return {file_.substr(0, cutBegin_), segment_, file_.substr(cutEnd_)};
}

}  // namespace lmk
