// CMetadataWriter: the library parses and re-encodes the picture or sidecar in memory; the
// result replaces the file through lmk::ReplaceFileContents, never by writing the file in place
// (the library would truncate it first, and a crash then would leave nothing).
#include "host/metadata_writer.h"

#include <array>
#include <cwctype>
#include <exiv2/exiv2.hpp>
#include <exiv2/webpimage.hpp>
#include <functional>
#include <mutex>

#include "com/com_error.h"
#include "host/exiv2_metadata_reader.h"
#include "host/jpeg_xmp_rewriter.h"
#include "host/metadata_parsing.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr std::array<std::wstring_view, 7> kInPictureExtensions = {
    L".jpg", L".jpeg", L".jpe", L".tif", L".tiff", L".png", L".webp"};

// Stripes of locks by target path: writes of one file follow each other, others run at once.
std::array<std::mutex, 64> g_targetLocks;

std::mutex& LockOf(std::wstring_view target) {
  return g_targetLocks[std::hash<std::wstring_view>{}(target) % g_targetLocks.size()];
}

std::wstring LowerExtension(std::wstring_view path) {
  const std::size_t slash = path.find_last_of(L'/');
  const std::size_t dot = path.find_last_of(L'.');
  if (dot == std::wstring_view::npos || (slash != std::wstring_view::npos && dot < slash)) {
    return {};
  }
  std::wstring extension(path.substr(dot));
  for (wchar_t& c : extension) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return extension;
}

bool WritesIntoPicture(std::wstring_view path) {
  const std::wstring extension = LowerExtension(path);
  for (std::wstring_view known : kInPictureExtensions) {
    if (extension == known) return true;
  }
  return false;
}

struct MarkNames {
  const char* key;
  std::wstring_view name;
};

// In the order of XmpMark.
constexpr std::array<MarkNames, 3> kMarkNames = {{
    {"Xmp.xmp.Rating", L"rating"},
    {"Xmp.xmp.Label", L"label"},
    {"Xmp.photoshop.Urgency", L"urgency"},
}};

const char* KeyOf(XmpMark mark) { return kMarkNames.at(static_cast<std::size_t>(mark)).key; }

std::wstring_view NameOf(XmpMark mark) {
  return kMarkNames.at(static_cast<std::size_t>(mark)).name;
}

void Apply(Exiv2::XmpData& xmp, XmpMark mark, std::string_view value) {
  const Exiv2::XmpKey key(KeyOf(mark));
  if (const auto found = xmp.findKey(key); found != xmp.end()) xmp.erase(found);
  if (!value.empty()) xmp[KeyOf(mark)] = std::string(value);
}

// Reads the file whole; what the read learnt of the file serves its replacement.
bool ReadWhole(std::wstring_view path, std::string* bytes, ReadFileFacts* facts) {
  if (SUCCEEDED(ReadWholeFile(path, bytes, facts))) return true;
  (void)TakeErrorDescription();  // the caller says what failed, in the writer's words
  return false;
}

// A failure whose description is text, for a file that was left as it was.
HRESULT Refuse(std::wstring text) {
  SetErrorDescription(text);
  return E_FAIL;
}

// Says why a write of the picture failed; the text is made only then.
class WriteFailure {
 public:
  WriteFailure(std::wstring_view picture, XmpMark mark) : picture_(picture), mark_(mark) {}
  HRESULT operator()(std::wstring_view why, std::wstring_view what) const {
    return Refuse(L"Cannot write the " + std::wstring(NameOf(mark_)) + L" of \"" +
                  std::wstring(picture_) + L"\": " + std::wstring(why) +
                  L" It was left unchanged; " + std::wstring(what));
  }

 private:
  std::wstring_view picture_;
  XmpMark mark_;
};

HRESULT WriteSidecar(std::wstring_view sidecar, XmpMark mark, std::string_view value,
                     const WriteFailure& fail) {
  std::string packet;
  ReadFileFacts facts;
  const bool exists = FileExists(sidecar);
  if (exists && !ReadWhole(sidecar, &packet, &facts)) {
    return fail(L"its sidecar \"" + std::wstring(sidecar) + L"\" cannot be read.",
                L"make it readable and run the rules again.");
  }
  Exiv2::XmpData xmp;
  if (!packet.empty() && Exiv2::XmpParser::decode(xmp, packet) != 0) {
    return fail(L"its sidecar \"" + std::wstring(sidecar) + L"\" is not valid XMP.",
                L"repair or remove the sidecar and run the rules again.");
  }
  Apply(xmp, mark, value);
  std::string encoded;
  if (Exiv2::XmpParser::encode(
          encoded, xmp, Exiv2::XmpParser::omitPacketWrapper | Exiv2::XmpParser::useCompactFormat) !=
      0) {
    return fail(L"the new sidecar could not be encoded.", L"report this with the sidecar.");
  }
  // The packet wrapper other tools write around a sidecar, so that they read ours as theirs.
  if (!encoded.starts_with("<?xml")) {
    encoded = "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n" + encoded +
              "<?xpacket end=\"w\"?>";
  }
  const std::string_view content = encoded;
  return exists ? ReplaceFileContents(facts, {&content, 1}, ReplacedFileTime::kNow)
                : ReplaceFileContents(sidecar, content, ReplacedFileTime::kNow);
}

XmpPropertyName PropertyOf(XmpMark mark) {
  switch (mark) {
    case XmpMark::kRating:
      return {"http://ns.adobe.com/xap/1.0/", "xmp", "Rating"};
    case XmpMark::kLabel:
      return {"http://ns.adobe.com/xap/1.0/", "xmp", "Label"};
    case XmpMark::kUrgency:
      return {"http://ns.adobe.com/photoshop/1.0/", "photoshop", "Urgency"};
  }
  return {};
}

HRESULT WritePicture(std::wstring_view path, XmpMark mark, std::string_view value,
                     const WriteFailure& fail) {
  std::string bytes;
  ReadFileFacts facts;
  if (!ReadWhole(path, &bytes, &facts)) {
    return fail(L"the picture cannot be read.", L"make it readable and run the rules again.");
  }
  // Most pictures are JPEGs whose packet can be edited as text: that spares decoding and
  // re-encoding all their metadata. Anything else goes through the library.
  CJpegXmpRewriter rewriter(bytes);
  switch (rewriter.Set(PropertyOf(mark), value)) {
    case CJpegXmpRewriter::Outcome::kRewritten: {
      const std::array<std::string_view, 3> pieces = rewriter.Pieces();
      return ReplaceFileContents(facts, pieces, ReplacedFileTime::kKeep);
    }
    case CJpegXmpRewriter::Outcome::kUnchanged:
      return S_OK;
    case CJpegXmpRewriter::Outcome::kDamaged:
      return fail(L"the picture is damaged (" + FromUtf8(rewriter.Problem()) + L").",
                  L"check that it opens in a viewer.");
    case CJpegXmpRewriter::Outcome::kUnsupported:
      break;
  }
  Exiv2::Image::AutoPtr image;
  try {
    image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(bytes.data()),
                                      static_cast<long>(bytes.size()));
    const int type = image->imageType();
    if (type != Exiv2::ImageType::jpeg && type != Exiv2::ImageType::tiff &&
        type != Exiv2::ImageType::png && type != Exiv2::ImageType::webp) {
      return fail(L"its content is not what its extension says.",
                  L"give it the right extension and run the rules again.");
    }
    image->readMetadata();
  } catch (const std::exception& e) {
    return fail(L"the picture is damaged (" + DecodeMetadataText(e.what()) + L").",
                L"check that it opens in a viewer.");
  }
  // The library drops a packet it cannot parse and would write the picture without it.
  if (!image->xmpPacket().empty() && image->xmpData().empty()) {
    return fail(L"its XMP packet is damaged and would be lost.",
                L"repair or remove the packet with a metadata tool and run the rules again.");
  }
  try {
    Apply(image->xmpData(), mark, value);
    image->writeMetadata();
    Exiv2::BasicIo& io = image->io();
    if (io.open() != 0) return E_FAIL;
    const std::size_t size = io.size();
    const Exiv2::byte* data = io.mmap();
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    const HRESULT hr = ReplaceFileContents(facts, {&content, 1}, ReplacedFileTime::kKeep);
    io.munmap();
    io.close();
    return hr;
  } catch (const std::exception& e) {
    return fail(L"the picture could not be rewritten (" + DecodeMetadataText(e.what()) + L").",
                L"check that it opens in a viewer.");
  }
}

}  // namespace

std::wstring CMetadataWriter::TargetOf(std::wstring_view picturePath) {
  std::wstring sidecar = CExiv2MetadataReader::FindSidecar(picturePath);
  if (!sidecar.empty() || WritesIntoPicture(picturePath)) {
    return sidecar.empty() ? std::wstring(picturePath) : sidecar;
  }
  const std::size_t slash = picturePath.find_last_of(L'/');
  const std::size_t dot = picturePath.find_last_of(L'.');
  const bool hasExtension =
      dot != std::wstring_view::npos && (slash == std::wstring_view::npos || dot > slash + 1);
  return std::wstring(hasExtension ? picturePath.substr(0, dot) : picturePath) + L".xmp";
}

HRESULT CMetadataWriter::Write(std::wstring_view picturePath, XmpMark mark,
                               std::string_view value) noexcept {
  try {
    CExiv2MetadataReader::Initialize();
    const WriteFailure fail(picturePath, mark);
    const std::wstring target = TargetOf(picturePath);
    std::lock_guard guard(LockOf(target));
    if (target == picturePath) return WritePicture(picturePath, mark, value, fail);
    return WriteSidecar(target, mark, value, fail);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
