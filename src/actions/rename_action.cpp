// The "Rename" action.
#include "actions/rename_action.h"

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/companion_claim.h"
#include "actions/companion_words.h"
#include "actions/shared_companion.h"
#include "actions/template_syntax.h"
#include "actions/transfer_destination.h"
#include "com/com_error.h"
#include "templates/template_keys.h"

namespace lmk {

CRenameAction::CRenameAction() : CAction(ProductKind(ElementFamily::Action, L"Rename")) {
  SetFlags(kCompanionXmp | kCompanionWav);
}

void CRenameAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Text(template_);
}

void CRenameAction::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"template", template_);
  std::uint32_t flags = Flags();
  archive.FlagBit(L"overwrite", flags, kRenameOverwrite);
  ExchangeCompanions(archive, flags);
  SetFlags(flags);
}

bool CRenameAction::IsValid(std::wstring* reason) const {
  std::wstring why;
  if (TrimWhiteSpace(template_).empty()) {
    why =
        L"template: the renaming template is missing; give one, such as "
        L"\"{DateTaken:6}_{FileName}\"";
  } else if (CheckTemplateSyntax(template_, &why)) {
    return true;
  } else {
    why = L"template: " + why;
  }
  if (reason != nullptr) *reason = std::move(why);
  return false;
}

std::wstring CRenameAction::Description() const {
  std::wstring text = L"Rename the image using \"" + template_ + L"\"";
  text += Option(kRenameOverwrite) ? L", overwriting existing files"
                                   : L", without overwriting existing files";
  text += CompanionPhrase(Flags());
  text += L'.';
  return text;
}

HRESULT CRenameAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  return GuardedCall([&] { return ExecuteFrame(*record); });
}

HRESULT CRenameAction::ExecuteFrame(IDictionary& record) const {
  constexpr PathStyle kStyle = kNativePathStyle;
  if (const HRESULT hr = StartOnFirstFrame(record, UsageEventName()); hr != S_OK) return hr;

  std::wstring oldPath;
  LMK_RETURN_IF_FAILED(ReadRecordText(record, L"File.Name", &oldPath));
  if (oldPath.empty()) return S_FALSE;
  std::wstring pathNoExt;
  LMK_RETURN_IF_FAILED(ReadPathNoExt(record, oldPath, &pathNoExt));
  const std::vector<CompanionFile> companions = FindCompanions(oldPath, pathNoExt, Flags());
  CompanionClaim claim(oldPath, companions);

  TemplateContext context;
  std::wstring newName;
  LMK_RETURN_IF_FAILED(ExpandNameTemplate(&record, template_, context, &newName));
  // A template that yields nothing leaves the file alone rather than naming it ".jpg".
  if (newName.empty()) return S_FALSE;

  const std::wstring_view extension = ExtensionOf(oldPath, kStyle);
  std::wstring newPath(FolderOf(oldPath, kStyle));
  if (!newPath.empty() && !IsSeparator(newPath.back(), kStyle)) {
    newPath += PreferredSeparator(kStyle);
  }
  const std::size_t newNoExtLength = newPath.size() + newName.size();
  newPath += newName;
  newPath += extension;
  if (newPath == oldPath) return S_OK;

  std::wstring errorText;
  const HRESULT hr =
      RenameFile(oldPath, newPath, Option(kRenameOverwrite), template_, &errorText, retry_);
  if (FAILED(hr)) return ReportFailure(hr, errorText);
  LMK_RETURN_IF_FAILED(UpdateFilePath(record, newPath));
  TellHostRenamed(record, oldPath, newPath);

  const std::wstring newNoExt = newPath.substr(0, newNoExtLength);
  for (const CompanionFile& companion : companions) {
    errorText.clear();
    const std::wstring target = newNoExt + companion.suffix;
    // The old name stays for another picture that still uses the companion: the renamed one
    // takes a copy.
    const SharedCompanion shared(companion, newPath, claim);
    const HRESULT companionHr = shared.Take(
        target, Option(kRenameOverwrite),
        [&] {
          return RenameFile(companion.path, target, Option(kRenameOverwrite), template_, &errorText,
                            retry_);
        },
        &errorText);
    // The image keeps its new name whatever happens to its sidecar.
    LMK_RETURN_IF_FAILED(CompanionFailure(companionHr, errorText, OnFailure()));
  }
  return S_OK;
}

void CRenameAction::AddNeededKeys(RecordKeySet& keys) const {
  AddFileActionKeys(keys);
  AddTemplateKeys(template_, keys);
}

}  // namespace lmk
