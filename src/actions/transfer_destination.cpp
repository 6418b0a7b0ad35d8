// Planning where an image is copied, moved or linked to.
#include "actions/transfer_destination.h"

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "actions/template_syntax.h"
#include "com/com_error.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

// An expansion's failure (a counter that cannot be advanced) keeps the expander's own
// description, which names the settings database and what is wrong with it.
HRESULT KeepDescription(HRESULT hr, std::wstring* failure) {
  if (FAILED(hr)) *failure = TakeErrorDescription();
  return hr;
}

// The expander starts every text with room for a long one; the thread's buffer keeps that
// room from one image to the next instead of allocating it for every expansion. Its text is
// used up before the thread expands again.
std::wstring& ExpansionBuffer() {
  thread_local std::wstring buffer;
  return buffer;
}

}  // namespace

HRESULT ResolveRenamingTemplate(CRenamingTemplateStore& store, std::wstring_view name,
                                std::wstring* text) {
  const HRESULT hr = store.Find(name, text);
  if (hr != S_FALSE) return hr;
  if (name.find(L'{') == std::wstring_view::npos) return S_FALSE;
  text->assign(name);
  return S_OK;
}

HRESULT ExpandFolderTemplate(IDictionary* record, std::wstring_view templ, TemplateContext& context,
                             std::wstring* folder) {
  context.set_confine_values(true);
  // "..." is a form of the template's own text ("beside the image"), never a value's: it is
  // taken off before expansion, so that a camera model "...x" cannot pose as it.
  const bool besideImage = templ.starts_with(L"...");
  std::wstring& expanded = ExpansionBuffer();
  LMK_RETURN_IF_FAILED(
      ExpandTemplate(record, besideImage ? templ.substr(3) : templ, &expanded, &context));
  *folder = SafeFolderPath(expanded, kNativePathStyle);
  if (besideImage) {
    if (!folder->empty() && !IsSeparator(folder->front(), kNativePathStyle)) {
      folder->insert(folder->begin(), PreferredSeparator(kNativePathStyle));
    }
    folder->insert(0, L"...");
  }
  return S_OK;
}

HRESULT ExpandNameTemplate(IDictionary* record, std::wstring_view templ, TemplateContext& context,
                           std::wstring* name) {
  context.set_confine_values(true);
  std::wstring& expanded = ExpansionBuffer();
  LMK_RETURN_IF_FAILED(ExpandTemplate(record, templ, &expanded, &context));
  *name = SafeFileName(expanded);
  return S_OK;
}

namespace {

HRESULT Plan(IDictionary& record, std::wstring_view source, const DestinationSettings& settings,
             CRenamingTemplateStore& store, TemplateContext& context, TransferTarget* target,
             std::wstring* failure) {
  constexpr PathStyle kStyle = kNativePathStyle;
  std::wstring imagesFolder;
  LMK_RETURN_IF_FAILED(ReadOptionalText(record, L"App.ImagesFolder", &imagesFolder));

  std::wstring destination;
  LMK_RETURN_IF_FAILED(KeepDescription(
      ExpandFolderTemplate(&record, settings.folderTemplate, context, &destination), failure));
  const std::wstring_view imageFolder = FolderOf(source, kStyle);
  target->folder = ResolveDestinationFolder(destination, imageFolder, imagesFolder, kStyle);
  if (settings.preserveHierarchy && !imagesFolder.empty()) {
    target->folder =
        JoinPaths(target->folder, HierarchyBelow(imageFolder, imagesFolder, kStyle), kStyle);
  }

  target->extension = ExtensionOf(source, kStyle);
  const std::wstring_view name = NameOf(source, kStyle);
  target->baseName = name.substr(0, name.size() - target->extension.size());
  if (!settings.renameTemplate.empty()) {
    std::wstring templ;
    const HRESULT found = ResolveRenamingTemplate(store, settings.renameTemplate, &templ);
    if (FAILED(found)) {
      std::wstring why = TakeErrorDescription();
      if (why.empty()) why = FailureReason(found);
      *failure = FormatActionText(action_text::kTemplateLookupFailed, settings.renameTemplate, why);
      return found;
    }
    if (found == S_FALSE) {
      *failure = FormatActionText(action_text::kUnknownTemplate, settings.renameTemplate);
      return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    }
    std::wstring newName;
    LMK_RETURN_IF_FAILED(
        KeepDescription(ExpandNameTemplate(&record, templ, context, &newName), failure));
    // A template that yields nothing keeps the image's own name rather than making ".jpg".
    if (!newName.empty()) target->baseName = std::move(newName);
  }
  // The name is appended as it is: on POSIX the image's own name may hold a backslash.
  target->path = target->folder;
  if (target->path.empty() || !IsSeparator(target->path.back(), kStyle)) {
    target->path += PreferredSeparator(kStyle);
  }
  target->path += target->baseName;
  target->path += target->extension;
  return S_OK;
}

}  // namespace

HRESULT PlanTransfer(IDictionary& record, std::wstring_view source,
                     const DestinationSettings& settings, TransferTarget* target) {
  CRenamingTemplateStore store;
  TemplateContext context;
  std::wstring failure;
  const HRESULT hr = Plan(record, source, settings, store, context, target, &failure);
  if (FAILED(hr)) return ReportFailure(hr, failure.empty() ? FailureMessage(L"", hr) : failure);
  return hr;
}

bool CheckTransferTemplates(std::wstring_view destination, std::wstring_view renameTemplate,
                            std::wstring_view example, std::wstring* reason) {
  const auto refuse = [reason](std::wstring why) {
    if (reason != nullptr) *reason = std::move(why);
    return false;
  };
  if (TrimWhiteSpace(destination).empty()) {
    return refuse(L"destination: the destination folder is missing; give one, such as \"" +
                  std::wstring(example) + L"\"");
  }
  std::wstring why;
  if (!CheckTemplateSyntax(destination, &why)) return refuse(L"destination: " + why);
  if (renameTemplate.empty()) return true;
  if (!CheckTemplateSyntax(renameTemplate, &why)) return refuse(L"rename: " + why);
  CRenamingTemplateStore store;
  std::wstring text;
  // A store that cannot be read is reported when the action runs, where the error is seen.
  if (ResolveRenamingTemplate(store, renameTemplate, &text) == S_FALSE) {
    return refuse(L"rename: " + FormatActionText(action_text::kUnknownTemplate, renameTemplate));
  }
  return true;
}

}  // namespace lmk
