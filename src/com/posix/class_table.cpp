// The process's table of registered class objects.
//
// The table must be one per process even when this library is linked into both a host program
// and the plug-in it loads (each then holds its own copy of this code). Every copy therefore
// asks the dynamic linker for LmkComProcessClassTable first: when the program exports it (built
// with exported symbols, or with this library shared), all copies use the program's table;
// otherwise a copy uses its own.
#include "com/posix/class_table.h"

#include <dlfcn.h>

#include <mutex>
#include <vector>

namespace {

struct Registration {
  DWORD cookie;
  CLSID clsid;
  IUnknown* object;  // one reference, released on revocation
};

struct ClassTable {
  std::mutex lock;
  std::vector<Registration> entries;
  DWORD last_cookie = 0;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) void* LmkComProcessClassTable() {
  static ClassTable table;
  return &table;
}

namespace {

ClassTable& Table() {
  static ClassTable* const table = [] {
    using Accessor = void* (*)();
    auto shared = reinterpret_cast<Accessor>(::dlsym(RTLD_DEFAULT, "LmkComProcessClassTable"));
    return static_cast<ClassTable*>(shared != nullptr ? shared() : LmkComProcessClassTable());
  }();
  return *table;
}

}  // namespace

HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* class_object, DWORD /*context*/,
                              DWORD /*flags*/, LPDWORD cookie) {
  if (class_object == nullptr || cookie == nullptr) return E_INVALIDARG;
  ClassTable& table = Table();
  std::lock_guard guard(table.lock);
  try {
    table.entries.reserve(table.entries.size() + 1);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  class_object->AddRef();
  *cookie = ++table.last_cookie;
  table.entries.push_back(Registration{*cookie, clsid, class_object});
  return S_OK;
}

HRESULT CoRevokeClassObject(DWORD cookie) {
  IUnknown* released = nullptr;
  {
    ClassTable& table = Table();
    std::lock_guard guard(table.lock);
    for (auto it = table.entries.begin(); it != table.entries.end(); ++it) {
      if (it->cookie == cookie) {
        released = it->object;
        table.entries.erase(it);
        break;
      }
    }
  }
  if (released == nullptr) return CO_E_OBJNOTREG;
  // Released outside the lock: the class object's destructor may use the table itself.
  released->Release();
  return S_OK;
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD /*context*/, LPVOID /*server_info*/, REFIID riid,
                         LPVOID* object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  IUnknown* found = nullptr;
  {
    ClassTable& table = Table();
    std::lock_guard guard(table.lock);
    for (auto it = table.entries.rbegin(); it != table.entries.rend(); ++it) {
      if (IsEqualGUID(it->clsid, clsid)) {
        found = it->object;
        found->AddRef();
        break;
      }
    }
  }
  if (found == nullptr) return REGDB_E_CLASSNOTREG;
  HRESULT hr = found->QueryInterface(riid, object);
  found->Release();
  return hr;
}

HRESULT CoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID riid,
                         LPVOID* object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  IClassFactory* factory = nullptr;
  HRESULT hr = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory,
                                reinterpret_cast<void**>(&factory));
  if (FAILED(hr)) return hr;
  hr = factory->CreateInstance(outer, riid, object);
  factory->Release();
  return hr;
}
