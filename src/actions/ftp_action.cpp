// The "FTPUpload" action.
#include "actions/ftp_action.h"

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "actions/companion_files.h"
#include "actions/companion_words.h"
#include "actions/ftp_texts.h"
#include "actions/template_syntax.h"
#include "actions/transfer_destination.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/ftp_client.h"
#include "platform/internet_error.h"
#include "platform/secret_store.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

constexpr HRESULT kFileExistsHr = HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);

// The server part ("ftp://user:pw@host:21") and the folder part of a destination template.
std::pair<std::wstring_view, std::wstring_view> SplitDestination(std::wstring_view destination) {
  const size_t scheme = destination.find(L"://");
  const size_t start = scheme == std::wstring_view::npos ? 0 : scheme + 3;
  const size_t slash = destination.find_first_of(L"/\\", start);
  if (slash == std::wstring_view::npos) return {destination, L""};
  return {destination.substr(0, slash), destination.substr(slash)};
}

// Expands the template: values from the picture never add or climb a folder, in the server
// part as in the folder part.
HRESULT ExpandDestination(IDictionary& record, std::wstring_view destination, std::wstring* out) {
  const auto [server, folder] = SplitDestination(destination);
  TemplateContext context;
  context.set_confine_values(true);
  std::wstring expandedServer;
  LMK_RETURN_IF_FAILED(ExpandTemplate(&record, server, &expandedServer, &context));
  std::wstring expandedFolder;
  if (!folder.empty()) {
    LMK_RETURN_IF_FAILED(ExpandFolderTemplate(&record, folder, context, &expandedFolder));
  }
  *out = expandedServer + L'/' + expandedFolder;
  return S_OK;
}

// A name appended to an address is escaped where the address would be decoded or split: a
// POSIX file name may hold a backslash, which must not become a folder on the server.
std::wstring EscapeName(std::wstring_view name) {
  std::wstring out;
  for (const wchar_t c : name) {
    if (c == L'%') {
      out += L"%25";
    } else if (c == L'\\') {
      out += L"%5C";
    } else {
      out += c;
    }
  }
  return out;
}

std::wstring ExtensionChanged(std::wstring_view url, std::wstring_view extension,
                              std::wstring_view suffix) {
  std::wstring changed(url.substr(0, url.size() - extension.size()));
  changed += suffix;
  return changed;
}

}  // namespace

CFTPAction::CFTPAction() : CAction(ProductKind(ElementFamily::Action, L"FTPUpload")) {
  // Its destination may carry a password from the moment it is loaded.
  KeepSecretsOutOfCoreFiles();
  SetFlags(kFtpPassive | kCompanionXmp | kCompanionWav);
}

void CFTPAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Text(destination_);
}

void CFTPAction::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"destination", destination_);
  std::uint32_t flags = Flags();
  archive.FlagBit(L"passive", flags, kFtpPassive);
  archive.FlagBit(L"overwrite", flags, kFtpOverwrite);
  archive.FlagBit(L"preserve-hierarchy", flags, kFtpPreserveHierarchy);
  ExchangeCompanions(archive, flags);
  SetFlags(flags);
}

bool CFTPAction::IsValid(std::wstring* reason) const {
  const auto refuse = [reason](std::wstring why) {
    if (reason != nullptr) *reason = std::move(why);
    return false;
  };
  std::wstring why;
  if (!CheckTemplateSyntax(destination_, &why)) return refuse(L"destination: " + why);
  FtpAddress address;
  if (FAILED(CrackFtpAddress(TrimWhiteSpace(destination_), &address))) {
    return refuse(L"destination: " + std::wstring(ftp_text::kMalformed));
  }
  return true;
}

std::wstring CFTPAction::Description() const {
  std::wstring text = L"Upload the image to \"" + MaskFtpPassword(destination_) + L"\"";
  text += Option(kFtpPassive) ? L" in passive mode" : L" in active mode";
  text += Option(kFtpPreserveHierarchy) ? L", preserving the folder hierarchy"
                                        : L", flattening the folder hierarchy";
  text += Option(kFtpOverwrite) ? L", overwriting existing files"
                                : L", without overwriting existing files";
  text += CompanionPhrase(Flags());
  text += L'.';
  return text;
}

HRESULT CFTPAction::RemoteAddress(std::wstring_view destination, std::wstring_view source,
                                  std::wstring_view imagesFolder, bool preserveHierarchy,
                                  std::wstring* url) {
  constexpr PathStyle kStyle = kNativePathStyle;
  std::wstring joined(destination);
  if (preserveHierarchy) {
    joined += L'/';
    joined += EscapeName(HierarchyBelow(FolderOf(source, kStyle), imagesFolder, kStyle));
  }
  joined += L'/';
  joined += EscapeName(NameOf(source, kStyle));
  if (joined.size() >= kFtpMaxAddress) return E_FAIL;
  *url = NormalizeFtpSeparators(joined);
  return S_OK;
}

HRESULT CFTPAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  return GuardedCall([&] { return Run(*record); });
}

HRESULT CFTPAction::UploadOne(std::wstring_view local, std::wstring_view url,
                              std::wstring* failure) const {
  const std::wstring shown = MaskFtpPassword(url);
  LogEvent(kEventLevelInformation, ftp_text::kUploading, local, shown);
  FtpAddress target;
  std::wstring error;
  HRESULT hr = CrackFtpAddress(url, &target);
  if (FAILED(hr)) {
    error = InternetErrorName(static_cast<DWORD>(hr & 0xFFFF));
  } else {
    hr = ThreadFtpClient().Upload(target, local, Option(kFtpPassive), !Option(kFtpOverwrite),
                                  &error);
  }
  if (SUCCEEDED(hr)) return S_OK;
  TakeErrorDescription();
  if (hr == kFileExistsHr) {
    *failure = FormatActionText(action_text::kFileExists, shown) + L" (" + FormatHresult(hr) + L")";
    return hr;
  }
  *failure = FormatActionText(ftp_text::kCannotUpload, local, shown);
  if (!error.empty()) *failure += L' ' + error;
  return hr;
}

HRESULT CFTPAction::Run(IDictionary& record) const {
  if (const HRESULT hr = StartOnFirstFrame(record, UsageEventName()); hr != S_OK) return hr;

  std::wstring source;
  LMK_RETURN_IF_FAILED(ReadRecordText(record, L"File.Name", &source));
  if (source.empty()) return ReportFailure(E_FAIL, L"The record names no file to upload.");
  std::wstring imagesFolder;
  LMK_RETURN_IF_FAILED(ReadOptionalText(record, L"App.ImagesFolder", &imagesFolder));
  std::wstring pathNoExt;
  LMK_RETURN_IF_FAILED(ReadPathNoExt(record, source, &pathNoExt));

  std::wstring destination;
  HRESULT hr = ExpandDestination(record, TrimWhiteSpace(destination_), &destination);
  if (FAILED(hr)) return ReportFailure(hr, FailureMessage(TakeErrorDescription(), hr));
  std::wstring url;
  if (FAILED(
          RemoteAddress(destination, source, imagesFolder, Option(kFtpPreserveHierarchy), &url))) {
    return ReportFailure(E_FAIL, ftp_text::kPathTooLong);
  }

  std::wstring failure;
  hr = UploadOne(source, url, &failure);
  if (FAILED(hr)) return ReportFailure(hr, failure);

  const std::wstring_view extension = ExtensionOf(source, kNativePathStyle);
  for (const CompanionFile& companion : FindCompanions(source, pathNoExt, Flags())) {
    failure.clear();
    hr = UploadOne(companion.path,
                   ExtensionChanged(url, EscapeName(extension), EscapeName(companion.suffix)),
                   &failure);
    // The image is on the server; the policy decides whether a missing companion matters.
    LMK_RETURN_IF_FAILED(CompanionFailure(hr, failure, OnFailure()));
  }
  return S_OK;
}

}  // namespace lmk
