// Planning where an image is copied, moved or linked to.
#include "actions/transfer_destination.h"

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "com/com_error.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

// Expands one template of the plan; a failure (a counter that cannot be advanced) keeps the
// expander's own description, which names the settings database and what is wrong with it.
HRESULT ExpandForPlan(IDictionary& record, std::wstring_view templ, TemplateContext& context,
                      std::wstring* expanded, std::wstring* failure) {
  const HRESULT hr = ExpandTemplate(&record, templ, expanded, &context);
  if (FAILED(hr)) *failure = TakeErrorDescription();
  return hr;
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

HRESULT PlanTransfer(IDictionary& record, std::wstring_view source,
                     const DestinationSettings& settings, CRenamingTemplateStore& store,
                     TemplateContext& context, TransferTarget* target, std::wstring* failure) {
  constexpr PathStyle kStyle = kNativePathStyle;
  std::wstring imagesFolder;
  LMK_RETURN_IF_FAILED(ReadOptionalText(record, L"App.ImagesFolder", &imagesFolder));

  std::wstring expanded;
  LMK_RETURN_IF_FAILED(ExpandForPlan(record, settings.folderTemplate, context, &expanded, failure));
  const std::wstring_view imageFolder = FolderOf(source, kStyle);
  target->folder = ResolveDestinationFolder(ReplaceInvalidPathCharacters(expanded, kStyle),
                                            imageFolder, imagesFolder, kStyle);
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
    LMK_RETURN_IF_FAILED(ExpandForPlan(record, templ, context, &newName, failure));
    const std::wstring valid = ReplaceInvalidNameCharacters(newName, kStyle);
    // A template that yields nothing keeps the image's own name rather than making ".jpg".
    if (const std::wstring_view trimmed = TrimWhiteSpace(valid); !trimmed.empty()) {
      target->baseName = trimmed;
    }
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

}  // namespace lmk
