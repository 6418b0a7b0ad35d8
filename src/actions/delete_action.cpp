// The "Delete" action.
#include "actions/delete_action.h"

#include "actions/action_failure.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "actions/companion_claim.h"
#include "actions/companion_words.h"
#include "actions/empty_folder_removal.h"
#include "actions/shared_companion.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_facts.h"
#include "platform/file_operations.h"
#include "platform/trash.h"

namespace lmk {

CDeleteAction::CDeleteAction() : CAction(ProductKind(ElementFamily::Action, L"Delete")) {
  SetFlags(kDeleteToTrash | kCompanionXmp | kCompanionWav);
}

void CDeleteAction::ExchangeFields(CFieldArchive& /*archive*/, BYTE /*version*/) {}

void CDeleteAction::ExchangeParameters(CParamArchive& archive) {
  std::uint32_t flags = Flags();
  archive.FlagBit(L"trash", flags, kDeleteToTrash);
  archive.FlagBit(L"read-only", flags, kDeleteReadOnly);
  archive.FlagBit(L"remove-empty-folders", flags, kDeleteEmptyFolders);
  ExchangeCompanions(archive, flags);
  SetFlags(flags);
}

std::wstring CDeleteAction::Description() const {
  std::wstring text =
      Option(kDeleteToTrash) ? L"Move the image to the trash" : L"Delete the image permanently";
  text += CompanionPhrase(Flags());
  if (Option(kDeleteReadOnly)) text += L", read-only files included";
  if (Option(kDeleteEmptyFolders)) text += L", then remove the folders left empty";
  text += L'.';
  return text;
}

HRESULT CDeleteAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  return GuardedCall([&] { return ExecuteFrame(*record); });
}

HRESULT CDeleteAction::DeleteOne(std::wstring_view path, std::wstring* errorText) const {
  HRESULT hr = S_OK;
  if (Option(kDeleteToTrash)) {
    LogEvent(kEventLevelInformation, action_text::kRecycling, path);
    hr = MoveToTrash(path);
    if (FAILED(hr)) {
      // The trash's own description says why (no trash on that volume, ...): keep it.
      std::wstring why = TakeErrorDescription();
      *errorText = FailureMessage(FormatActionText(action_text::kCannotRecycle, path), hr);
      if (!why.empty()) *errorText += L" " + why;
    }
    return hr;
  }
  LogEvent(kEventLevelInformation, action_text::kDeleting, path);
  hr = DeleteFileAt(path);
  if (hr == E_ACCESSDENIED && Option(kDeleteReadOnly)) {
    DWORD attributes = 0;
    if (SUCCEEDED(GetFileAttributesOf(path, &attributes)) &&
        (attributes & kFileAttributeReadOnly) != 0) {
      TakeErrorDescription();
      (void)SetFileAttributesOf(path, attributes & ~kFileAttributeReadOnly);
      hr = DeleteFileAt(path);
    }
  }
  if (FAILED(hr)) {
    TakeErrorDescription();
    *errorText = FailureMessage(FormatActionText(action_text::kCannotDelete, path), hr);
  }
  return hr;
}

HRESULT CDeleteAction::ExecuteFrame(IDictionary& record) const {
  if (const HRESULT hr = StartOnFirstFrame(record, UsageEventName()); hr != S_OK) return hr;

  std::wstring path;
  LMK_RETURN_IF_FAILED(ReadRecordText(record, L"File.Name", &path));
  if (path.empty()) return S_FALSE;
  std::wstring pathNoExt;
  LMK_RETURN_IF_FAILED(ReadPathNoExt(record, path, &pathNoExt));
  const std::vector<CompanionFile> companions = FindCompanions(path, pathNoExt, Flags());
  CompanionClaim claim(path, companions);

  std::wstring errorText;
  HRESULT hr = DeleteOne(path, &errorText);
  if (FAILED(hr)) return ReportFailure(hr, errorText);
  TellHostDeleted(record, path);

  for (const CompanionFile& companion : companions) {
    const SharedCompanion shared(companion, path, claim);
    if (!shared.OtherUser().empty()) {
      LogEvent(kEventLevelInformation, action_text::kKeepingShared, companion.path,
               shared.OtherUser());
      continue;
    }
    errorText.clear();
    hr = DeleteOne(companion.path, &errorText);
    LMK_RETURN_IF_FAILED(CompanionFailure(hr, errorText, OnFailure()));
  }

  if (Option(kDeleteEmptyFolders)) {
    std::wstring imagesFolder;
    std::wstring keepCopyFolder;
    LMK_RETURN_IF_FAILED(ReadOptionalText(record, L"App.ImagesFolder", &imagesFolder));
    LMK_RETURN_IF_FAILED(ReadOptionalText(record, L"App.KeepCopyFolder", &keepCopyFolder));
    std::vector<std::wstring> runPaths;
    LMK_RETURN_IF_FAILED(ReadRunPaths(record, &runPaths));
    const FolderRemovalGuard guard(std::move(runPaths), std::move(imagesFolder),
                                   std::move(keepCopyFolder), FolderSystemFacts::Native());
    RemoveEmptiedFolders(path, guard, Option(kDeleteReadOnly), retry_);
  }
  return S_OK;
}

void CDeleteAction::AddNeededKeys(RecordKeySet& keys) const {
  AddFileActionKeys(keys);
  keys.Add({L"App.ImagesFolder", L"App.KeepCopyFolder"});
}

}  // namespace lmk
