// The classes this server makes, with the identities under which they are registered.
#pragma once

#include <span>
#include <string_view>

#include "com/com.h"
#include "scripts/iscript_engine.h"

namespace lmk {

/// Creates an object of one class: the contract of IClassFactory::CreateInstance.
using ClassCreator = HRESULT (*)(IUnknown* outer, REFIID riid, void** ppv) noexcept;

/// One creatable class of the server.
struct ServerClass {
  CLSID clsid;
  const wchar_t* progId;                    ///< version-dependent, "....1"
  const wchar_t* versionIndependentProgId;  ///< without the version
  const wchar_t* description;
  bool isPlugin;        ///< entered in the plug-in component category
  ClassCreator create;  ///< null while the class is not available in this build
};

/// The server's type library, application and their texts.
inline constexpr GUID LIBID_LmkFileUtilities = {
    0xEEFAB84F, 0x95BD, 0x4E28, {0xB8, 0x0E, 0x8F, 0x8D, 0x15, 0x8C, 0x69, 0xAF}};
inline constexpr const wchar_t* kTypeLibraryHelpString = L"Lumarko FileUtilities 1.0 Type Library";
inline constexpr const wchar_t* kTypeLibraryVersion = L"1.0";
inline constexpr GUID APPID_FileUtilities = {
    0xE36BF927, 0x7918, 0x4A81, {0x83, 0x20, 0xB8, 0x2C, 0x28, 0x94, 0x95, 0x69}};
inline constexpr const wchar_t* kAppIdName = L"Lumarko FileUtilities Plugin";
inline constexpr const wchar_t* kPluginCategoryDescription = L"Lumarko Plugins";

/// Every class of the server, the plug-in object first.
std::span<const ServerClass> ServerClasses();

/// The class of clsid, or null when this server does not have it.
const ServerClass* FindServerClass(REFCLSID clsid);

/// The class registered under progId, with or without its version, compared without regard to
/// case as registry key names are; null when this server has none.
const ServerClass* FindServerClassByProgId(std::wstring_view progId);

}  // namespace lmk
