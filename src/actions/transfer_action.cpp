// The steps that copy, move and hard link share.
#include "actions/transfer_action.h"

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "actions/companion_words.h"
#include "actions/shared_companion.h"
#include "actions/transfer_destination.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "templates/template_keys.h"

namespace lmk {
namespace {

constexpr HRESULT kFileExistsHr = HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);

// Gives the owner write permission back, so that a read-only target can be replaced.
void ClearReadOnly(std::wstring_view path) {
  DWORD attributes = 0;
  if (SUCCEEDED(GetFileAttributesOf(path, &attributes)) &&
      (attributes & kFileAttributeReadOnly) != 0) {
    (void)SetFileAttributesOf(path, attributes & ~kFileAttributeReadOnly);
  }
}

std::wstring FileExistsMessage(std::wstring_view target) {
  return FormatActionText(action_text::kFileExists, target) + L" (" + FormatHresult(kFileExistsHr) +
         L")";
}

}  // namespace

CTransferAction::CTransferAction(const ElementKind& kind) : CAction(kind) {
  SetFlags(kCompanionXmp | kCompanionWav);
}

void CTransferAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Text(destination_);
  archive.Text(renameTemplate_);
}

void CTransferAction::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"destination", destination_);
  archive.Text(L"rename", renameTemplate_);
  std::uint32_t flags = Flags();
  archive.FlagBit(L"preserve-hierarchy", flags, kTransferPreserveHierarchy);
  archive.FlagBit(L"overwrite", flags, kTransferOverwrite);
  if (Verifies()) archive.FlagBit(L"verify", flags, kTransferVerify);
  ExchangeCompanions(archive, flags);
  SetFlags(flags);
}

bool CTransferAction::IsValid(std::wstring* reason) const {
  return CheckTransferTemplates(destination_, renameTemplate_,
                                L"Sorted/{DateTaken:Year}/{DateTaken:Month0}", reason);
}

std::wstring CTransferAction::Description() const {
  std::wstring text(Verb());
  text += L" the image to \"" + destination_ + L"\"";
  if (!renameTemplate_.empty()) text += L", renamed using \"" + renameTemplate_ + L"\"";
  text += Option(kTransferPreserveHierarchy) ? L", preserving the folder hierarchy"
                                             : L", flattening the folder hierarchy";
  text += Option(kTransferOverwrite) ? L", overwriting existing files"
                                     : L", without overwriting existing files";
  text += CompanionPhrase(Flags());
  if (Verifies() && Option(kTransferVerify)) text += L", checking the copy's integrity";
  text += L'.';
  return text;
}

HRESULT CTransferAction::AfterImage(IDictionary& /*record*/, std::wstring_view /*source*/,
                                    std::wstring_view /*target*/) const {
  return S_OK;
}

HRESULT CTransferAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  return GuardedCall([&] { return ExecuteFrame(*record); });
}

HRESULT CTransferAction::TransferWithRetry(std::wstring_view source, std::wstring_view target,
                                           TransferSession& session, std::wstring* failure) const {
  const bool overwrite = Option(kTransferOverwrite);
  HRESULT hr = !overwrite && !RefusesExistingTarget(session) && FileExists(target)
                   ? kFileExistsHr
                   : TransferFile(source, target, false, session, failure);
  if (hr == kFileExistsHr) {
    const HRESULT finished = FinishExisting(source, target, failure);
    if (finished != S_FALSE) {
      TakeErrorDescription();
      return finished;
    }
  }
  if (hr == kFileExistsHr && overwrite) {
    TakeErrorDescription();
    failure->clear();
    ClearReadOnly(target);
    hr = TransferFile(source, target, true, session, failure);
  }
  if (FAILED(hr)) {
    // The platform's own description is replaced by the action's text, which names both files.
    TakeErrorDescription();
    if (hr == kFileExistsHr) {
      *failure = FileExistsMessage(target);
    } else if (failure->empty()) {
      *failure = FailureMessage(FormatActionText(FailureText(), source, target), hr);
    }
  }
  return hr;
}

HRESULT CTransferAction::TransferCompanion(const CompanionFile& companion, std::wstring_view target,
                                           std::wstring_view image, CompanionClaim& claim,
                                           TransferSession& session, std::wstring* failure) const {
  if (!TakesSource()) return TransferWithRetry(companion.path, target, session, failure);
  const SharedCompanion shared(companion, image, claim);
  return shared.Take(
      target, Option(kTransferOverwrite),
      [&] { return TransferWithRetry(companion.path, target, session, failure); }, failure);
}

HRESULT CTransferAction::ExecuteFrame(IDictionary& record) const {
  if (const HRESULT hr = StartOnFirstFrame(record, UsageEventName()); hr != S_OK) return hr;

  std::wstring source;
  LMK_RETURN_IF_FAILED(ReadRecordText(record, L"File.Name", &source));
  if (source.empty()) return S_FALSE;
  std::wstring pathNoExt;
  LMK_RETURN_IF_FAILED(ReadPathNoExt(record, source, &pathNoExt));

  TransferTarget target;
  const DestinationSettings settings{destination_, renameTemplate_,
                                     Option(kTransferPreserveHierarchy)};
  HRESULT hr = PlanTransfer(record, source, settings, &target);
  if (FAILED(hr)) return hr;

  if (renameTemplate_.empty()) {
    LogEvent(kEventLevelInformation, AnnounceText(false), source, target.folder);
  } else {
    LogEvent(kEventLevelInformation, AnnounceText(true), source, target.folder, renameTemplate_);
  }

  // Within a run the folder is made or looked at once; later images going there cost nothing.
  hr = CreateDirectories(target.folder);
  if (FAILED(hr)) {
    TakeErrorDescription();
    return ReportFailure(
        hr, FailureMessage(FormatActionText(action_text::kCannotCreateFolder, target.folder), hr));
  }
  // A file that already stands where it is to be moved is done (a rule set run twice).
  if (AlreadyDone(source, target.path)) return S_OK;

  // Companions are looked up before the image goes: they are found beside it.
  const std::vector<CompanionFile> companions = FindCompanions(source, pathNoExt, Flags());
  // Only a move takes companions away; copies and links leave them where they are.
  CompanionClaim claim(source, TakesSource() ? companions : std::vector<CompanionFile>());

  TransferSession session;
  hr = BeginTransfers(source, target.folder, &session);
  if (FAILED(hr)) {
    return ReportFailure(hr,
                         FailureMessage(FormatActionText(FailureText(), source, target.path), hr));
  }
  std::wstring failure;
  hr = TransferWithRetry(source, target.path, session, &failure);
  if (FAILED(hr)) return ReportFailure(hr, failure);
  LMK_RETURN_IF_FAILED(AfterImage(record, source, target.path));

  std::wstring targetNoExt = target.path.substr(0, target.path.size() - target.extension.size());
  for (const CompanionFile& companion : companions) {
    const std::wstring companionTarget = targetNoExt + companion.suffix;
    failure.clear();
    hr = TransferCompanion(companion, companionTarget, target.path, claim, session, &failure);
    // What was done to the image stands; the policy decides whether the rule goes on.
    LMK_RETURN_IF_FAILED(CompanionFailure(hr, failure, OnFailure()));
  }
  return S_OK;
}

void CTransferAction::AddNeededKeys(RecordKeySet& keys) const {
  AddFileActionKeys(keys);
  keys.Add(L"App.ImagesFolder");
  AddTemplateKeys(destination_, keys);
  if (renameTemplate_.empty()) return;
  CRenamingTemplateStore store;
  std::wstring text;
  const HRESULT found = ResolveRenamingTemplate(store, renameTemplate_, &text);
  // A store that cannot be read now may be read when the action runs: any value may be used.
  if (FAILED(found)) {
    keys.AddEvery();
  } else if (found == S_OK) {
    AddTemplateKeys(text, keys);
  }
}

}  // namespace lmk
