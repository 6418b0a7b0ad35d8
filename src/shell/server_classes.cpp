// The server's class table: one line per creatable class.
#include "shell/server_classes.h"

#include <array>

#include "com/dispatch_table.h"
#include "dictionary/idictionary.h"
#include "shell/file_utilities.h"
#include "shell/lumarko_plugin.h"

namespace lmk {

std::span<const ServerClass> ServerClasses() {
  static const std::array<ServerClass, 3> kClasses = {{
      {CLSID_FileUtilities, L"Lumarko.Plugin.FileUtilities.1", L"Lumarko.Plugin.FileUtilities",
       L"Lumarko FileUtilities Plugin", true, &CFileUtilities::Create},
      {CLSID_ScriptEngine, L"Lumarko.Plugin.FileUtilities.ScriptEngine.1",
       L"Lumarko.Plugin.FileUtilities.ScriptEngine", L"Lumarko FileUtilities ScriptEngine Class",
       false, &CreateScriptEngine},
      {CLSID_Dictionary, L"Lumarko.Plugin.FileUtilities.Dictionary.1",
       L"Lumarko.Plugin.FileUtilities.Dictionary", L"Lumarko FileUtilities Dictionary Class", false,
       &CreateDictionary},
  }};
  return kClasses;
}

const ServerClass* FindServerClass(REFCLSID clsid) {
  for (const ServerClass& server_class : ServerClasses()) {
    if (IsEqualGUID(server_class.clsid, clsid)) return &server_class;
  }
  return nullptr;
}

const ServerClass* FindServerClassByProgId(std::wstring_view progId) {
  for (const ServerClass& server_class : ServerClasses()) {
    if (SameDispatchName(progId, server_class.progId) ||
        SameDispatchName(progId, server_class.versionIndependentProgId)) {
      return &server_class;
    }
  }
  return nullptr;
}

}  // namespace lmk
