// Where copy, move and link put an image: the destination folder template expanded and made
// valid, resolved against the image's folder or the images folder, the folder hierarchy kept
// when asked, and the new name from a named renaming template.
#pragma once

#include <string>
#include <string_view>

#include "actions/renaming_template_store.h"
#include "com/com.h"
#include "dictionary/idictionary.h"
#include "templates/template_context.h"

namespace lmk {

/// The parameters that decide the destination.
struct DestinationSettings {
  std::wstring_view folderTemplate;  ///< e.g. "Best/{DateTaken:Year}"
  std::wstring_view renameTemplate;  ///< a template's name (or the template itself); empty: keep
  bool preserveHierarchy = false;
};

/// Where one image goes.
struct TransferTarget {
  std::wstring folder;     ///< the destination folder
  std::wstring baseName;   ///< the image's name there, without extension
  std::wstring extension;  ///< the image's own extension, kept
  std::wstring path;       ///< folder, baseName and extension joined
};

/// Expands a destination folder template as copy, move and link do, before it is resolved:
/// values taken from the picture stay inside one folder name, invalid characters and leading
/// dots become '~', separators become the system's (see SafeFolderPath). Sets the context to
/// confine values. S_OK; the expander's failure.
[[nodiscard]] HRESULT ExpandFolderTemplate(IDictionary* record, std::wstring_view templ,
                                           TemplateContext& context, std::wstring* folder);

/// Expands a template that names a file (rename, renaming templates) to the base name that
/// the action gives it (see SafeFileName); empty when the template yields only white space.
/// Sets the context to confine values. S_OK; the expander's failure.
[[nodiscard]] HRESULT ExpandNameTemplate(IDictionary* record, std::wstring_view templ,
                                         TemplateContext& context, std::wstring* name);

/// Plans the transfer of the image at source (`File.Name` of record). All templates are
/// expanded with one context, so that one template's `{RegEx:...}` feeds the next one's `{1}`.
/// S_OK; a failure of the record, the expander or the template store, or
/// HRESULT_FROM_WIN32(ERROR_NOT_FOUND) for a renaming template that does not exist, each
/// reported as the action's error (ReportFailure) with the text that says why (naming the
/// settings database when it is the cause).
[[nodiscard]] HRESULT PlanTransfer(IDictionary& record, std::wstring_view source,
                                   const DestinationSettings& settings, TransferTarget* target);

/// The text of the renaming template settings.renameTemplate names: the stored template of
/// that name, else the text itself when it holds a '{' (a template written in place). S_OK;
/// S_FALSE when it is neither; the store's failure.
[[nodiscard]] HRESULT ResolveRenamingTemplate(CRenamingTemplateStore& store, std::wstring_view name,
                                              std::wstring* text);

/// Whether an action that writes into a folder has usable templates: a destination (`example`
/// is offered when it is missing), both templates well formed, and a renaming template that
/// names a stored template or is one. When not, *reason says which parameter and why.
[[nodiscard]] bool CheckTransferTemplates(std::wstring_view destination,
                                          std::wstring_view renameTemplate,
                                          std::wstring_view example, std::wstring* reason);

}  // namespace lmk
