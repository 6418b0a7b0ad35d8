// XMP properties read straight from a packet's RDF, without building the metadata library's
// XMP tree: for a picture with a small packet that tree costs more than all its other
// metadata together.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Exiv2 {
class Xmpdatum;
}

namespace lmk {

/// One XMP property as the reader uses it: a simple value, an array (bag, sequence or
/// alternative) of simple items, or a language alternative.
struct XmpProperty {
  enum class Kind { kText, kArray, kLangAlt };
  Kind kind = Kind::kText;
  std::string text;                                        // kText
  std::vector<std::string> items;                          // kArray, in document order
  std::vector<std::pair<std::string, std::string>> langs;  // kLangAlt: language, text

  /// The text of a language alternative that readers show: "x-default" (any case), else the
  /// language the metadata library lists first (the longest code, then the last in
  /// alphabetical order, ignoring case). Empty for other kinds.
  std::string_view DefaultLanguageText() const;

  bool operator==(const XmpProperty&) const = default;
};

/// The property of a metadata-library datum.
XmpProperty XmpPropertyOf(const Exiv2::Xmpdatum& datum);

/// A property under its metadata-library key: "Xmp.<prefix>.<Name>" for a top-level property,
/// "Xmp.<prefix>.<Struct>/<FieldPrefix>:<Field>" for a field of a structure.
using XmpKeyedProperty = std::pair<std::string, XmpProperty>;

/// Reads the properties of an XMP packet in the namespaces the reader knows (Dublin Core,
/// XMP basic, rights and media management, EXIF, EXIF-EX, auxiliary, TIFF, Photoshop, IPTC
/// core): simple properties in attribute or element form, arrays, language alternatives and
/// the simple fields of structures. Arrays of structures and qualifiers are passed over.
/// Returns false, with a reason in *error, when the packet is not well-formed XML; *out then
/// holds nothing.
bool ParseXmpPacket(std::string_view packet, std::vector<XmpKeyedProperty>* out,
                    std::string* error);

}  // namespace lmk
