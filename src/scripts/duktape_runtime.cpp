// JavaScript scripts on Duktape: the heap, the dictionary as a script object, and the mapping of
// values between VARIANTs and JavaScript.
#include "scripts/duktape_runtime.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "duktape.h"
#include "platform/environment.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

// The hidden property (Duktape hides keys that start with 0xFF) holding a dictionary's index in
// the runtime's list of held dictionaries.
constexpr char kDictionaryKey[] =
    "\xFF"
    "lmkDictionary";
constexpr char kRuntimeKey[] =
    "\xFF"
    "lmkRuntime";

// Script-side helpers: the dictionary's wrapper (a Proxy, so that for...in lists its names and
// context["File.Name"] reads a value), the Enumerator that scripts written for Windows use, and
// the local-time parts of dates. Evaluated once per heap; the result is kept in the stash.
constexpr char kPrelude[] = R"JS((function (global) {
  function Enumerator(collection) {
    this._keys = collection === undefined || collection === null ? [] :
        (typeof collection.__keys === 'function' ? collection.__keys() : Object.keys(collection));
    this._at = 0;
  }
  Enumerator.prototype.atEnd = function () { return this._at >= this._keys.length; };
  Enumerator.prototype.item = function () { return this._keys[this._at]; };
  Enumerator.prototype.moveNext = function () { this._at++; };
  Enumerator.prototype.moveFirst = function () { this._at = 0; };
  global.Enumerator = Enumerator;
  var handler = {
    // Names are listed only when the target has them as enumerable properties: placeholders
    // are made for them, and reads go to the dictionary before the target.
    ownKeys: function (target) {
      var keys = target.__keys();
      for (var i = 0; i < keys.length; i++) {
        if (!Object.prototype.hasOwnProperty.call(target, keys[i])) {
          Object.defineProperty(target, keys[i], {value: null, enumerable: true, configurable: true});
        }
      }
      return keys;
    },
    get: function (target, key) {
      if (typeof key === 'string' && target.Test(key)) return target.Value(key);
      return target[key];
    },
    set: function (target, key, value) { target.PutValue(key, value); return true; },
    has: function (target, key) { return (key in target) || target.Test(String(key)); }
  };
  return {
    wrap: function (target) { return new Proxy(target, handler); },
    dateParts: function (d) {
      return [d.getFullYear(), d.getMonth() + 1, d.getDate(), d.getHours(), d.getMinutes(),
              d.getSeconds(), d.getMilliseconds()];
    },
    makeDate: function (y, mo, d, h, mi, s, ms) { return new Date(y, mo - 1, d, h, mi, s, ms); }
  };
})(this))JS";

std::wstring Wide(duk_context* ctx, duk_idx_t index) {
  duk_size_t size = 0;
  const char* text = duk_safe_to_lstring(ctx, index, &size);
  return FromUtf8(std::string_view(text, size));
}

void PushWide(duk_context* ctx, std::wstring_view text) {
  const std::string utf8 = ToUtf8(text);
  duk_push_lstring(ctx, utf8.data(), utf8.size());
}

class DuktapeRuntime;
DuktapeRuntime& RuntimeOf(duk_context* ctx);
void PushHostObject(duk_context* ctx);

class DuktapeRuntime final : public ScriptRuntime {
 public:
  DuktapeRuntime() {
    ctx_ = duk_create_heap(&Alloc, &Realloc, &Free, this, &Fatal);
    if (ctx_ == nullptr) throw ComError(E_OUTOFMEMORY);
    duk_push_global_stash(ctx_);
    duk_push_pointer(ctx_, this);
    duk_put_prop_string(ctx_, -2, kRuntimeKey);
    if (duk_peval_string(ctx_, kPrelude) != 0) {
      duk_destroy_heap(ctx_);
      throw ComError(E_UNEXPECTED);
    }
    duk_put_prop_string(ctx_, -2, "lmk");
    duk_pop(ctx_);
    PushHostObject(ctx_);
  }
  ~DuktapeRuntime() override { duk_destroy_heap(ctx_); }

  /// Whether this heap holds exactly this script, compiled, and nothing went wrong in it.
  bool Holds(const std::string& utf8) const { return !broken_ && utf8 == loaded_; }
  /// Whether the heap may serve another call: no failure, no interrupt.
  bool Reusable() const { return !broken_ && !Interrupted(); }

  HRESULT Load(std::wstring_view source, ScriptError* error) override {
    const std::string utf8 = ToUtf8(source);
    duk_push_global_stash(ctx_);
    if (utf8 != loaded_) {
      duk_push_lstring(ctx_, utf8.data(), utf8.size());
      duk_push_string(ctx_, "script");
      if (duk_pcompile(ctx_, 0) != 0) return Failed(error, kSyntaxOrLoadError, 1);
      duk_put_prop_string(ctx_, -2, "program");
      loaded_ = utf8;
    }
    // The top level runs again for each call, so each picture sees the script's variables as
    // the script sets them; only compiling is saved.
    duk_get_prop_string(ctx_, -1, "program");
    if (duk_pcall(ctx_, 0) != 0) return Failed(error, kSyntaxOrLoadError, 1);
    duk_pop_2(ctx_);
    return S_OK;
  }

  HRESULT Find(std::wstring_view function) override {
    const std::string name = ToUtf8(function);
    duk_get_global_lstring(ctx_, name.data(), name.size());
    const bool found = duk_is_function(ctx_, -1);
    duk_pop(ctx_);
    return found ? S_OK : DISP_E_UNKNOWNNAME;
  }

  HRESULT Call(std::wstring_view function, IDictionary* context, VARIANT* result,
               ScriptError* error) override {
    PushDictionary(context);
    duk_dup(ctx_, -1);
    duk_put_global_string(ctx_, "Context");
    duk_dup(ctx_, -1);
    duk_put_global_string(ctx_, "context");
    const std::string name = ToUtf8(function);
    duk_get_global_lstring(ctx_, name.data(), name.size());
    duk_swap_top(ctx_, -2);
    if (duk_pcall(ctx_, 1) != 0) return Failed(error, DISP_E_EXCEPTION, 0);
    Variant value;
    const HRESULT hr = ToVariant(-1, std::addressof(value));
    duk_pop(ctx_);
    EndCall();
    if (FAILED(hr)) return hr;
    value.Detach(result);
    return S_OK;
  }

  void Interrupt() noexcept override { interrupted_.store(true, std::memory_order_relaxed); }

  bool Interrupted() const noexcept { return interrupted_.load(std::memory_order_relaxed); }

  // ---- The dictionary object --------------------------------------------------------------

  /// Pushes the script object of a dictionary (a proxy over the native methods).
  void PushDictionary(IDictionary* dictionary) {
    held_.emplace_back(dictionary);
    duk_push_global_stash(ctx_);
    duk_get_prop_string(ctx_, -1, "lmk");
    duk_get_prop_string(ctx_, -1, "wrap");
    // The call's number goes with the slot, so an object a script kept from an earlier call
    // names no dictionary of this one.
    const double slot = static_cast<double>(epoch_) * kSlotsPerCall + (held_.size() - 1);
    PushTarget();
    duk_push_number(ctx_, slot);
    duk_put_prop_string(ctx_, -2, kDictionaryKey);
    duk_call(ctx_, 1);
    // Hidden keys bypass the proxy's traps and are stored on the proxy itself: the methods are
    // called with the proxy as "this" by scripts and with the target by the traps.
    duk_push_number(ctx_, slot);
    duk_put_prop_string(ctx_, -2, kDictionaryKey);
    duk_remove(ctx_, -2);
    duk_remove(ctx_, -2);
  }

  /// The dictionary of the object at index, or null when it is none of ours.
  IDictionary* DictionaryAt(duk_idx_t index) {
    if (!duk_is_object(ctx_, index)) return nullptr;
    if (!duk_get_prop_string(ctx_, index, kDictionaryKey)) {
      duk_pop(ctx_);
      return nullptr;
    }
    const double slot = duk_get_number(ctx_, -1);
    duk_pop(ctx_);
    const double first = static_cast<double>(epoch_) * kSlotsPerCall;
    if (slot < first || slot >= first + static_cast<double>(held_.size())) return nullptr;
    return held_[static_cast<std::size_t>(slot - first)].Get();
  }

  // ---- Values --------------------------------------------------------------------------------

  void PushVariant(const VARIANT& value) {
    switch (value.vt) {
      case VT_EMPTY:
        duk_push_undefined(ctx_);
        return;
      case VT_NULL:
        duk_push_null(ctx_);
        return;
      case VT_BOOL:
        duk_push_boolean(ctx_, value.boolVal != VARIANT_FALSE);
        return;
      case VT_BSTR:
        PushWide(ctx_, std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal)));
        return;
      case VT_DATE: {
        SYSTEMTIME t{};
        if (!DateToSystemTime(value.date, &t)) break;
        duk_push_global_stash(ctx_);
        duk_get_prop_string(ctx_, -1, "lmk");
        duk_get_prop_string(ctx_, -1, "makeDate");
        for (const WORD part :
             {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds}) {
          duk_push_uint(ctx_, part);
        }
        duk_call(ctx_, 7);
        duk_remove(ctx_, -2);
        duk_remove(ctx_, -2);
        return;
      }
      case VT_DISPATCH:
      case VT_UNKNOWN: {
        if (const ComPtr<IDictionary> dictionary = DictionaryIn(value)) {
          PushDictionary(dictionary.Get());
        } else {
          duk_push_null(ctx_);
        }
        return;
      }
      default:
        break;
    }
    Variant number;
    if (SUCCEEDED(VariantChangeType(number.get(), &value, 0, VT_R8))) {
      duk_push_number(ctx_, number.get()->dblVal);
      return;
    }
    Variant text;
    if (SUCCEEDED(VariantChangeType(text.get(), &value, 0, VT_BSTR))) {
      PushVariant(*text.get());
      return;
    }
    duk_push_undefined(ctx_);
  }

  HRESULT ToVariant(duk_idx_t index, Variant* out) {
    index = duk_normalize_index(ctx_, index);
    switch (duk_get_type(ctx_, index)) {
      case DUK_TYPE_UNDEFINED:
        *out = Variant();
        return S_OK;
      case DUK_TYPE_NULL:
        *out = Variant::Null();
        return S_OK;
      case DUK_TYPE_BOOLEAN:
        *out = Variant::Bool(duk_get_boolean(ctx_, index) != 0);
        return S_OK;
      case DUK_TYPE_NUMBER: {
        // Whole numbers that fit are VT_I4, as scripts on Windows hand them back.
        const double number = duk_get_number(ctx_, index);
        if (std::trunc(number) == number && number >= INT32_MIN && number <= INT32_MAX &&
            !(number == 0 && std::signbit(number))) {
          *out = Variant::I4(static_cast<std::int32_t>(number));
        } else {
          *out = Variant::R8(number);
        }
        return S_OK;
      }
      case DUK_TYPE_STRING:
        *out = Variant::String(Wide(ctx_, index));
        return S_OK;
      default:
        break;
    }
    if (IDictionary* dictionary = DictionaryAt(index)) {
      *out = Variant::Dispatch(dictionary);
      return S_OK;
    }
    duk_get_global_string(ctx_, "Date");
    const bool isDate = duk_is_object(ctx_, index) && duk_instanceof(ctx_, index, -1);
    duk_pop(ctx_);
    if (isDate) {
      duk_push_global_stash(ctx_);
      duk_get_prop_string(ctx_, -1, "lmk");
      duk_get_prop_string(ctx_, -1, "dateParts");
      duk_dup(ctx_, index);
      duk_call(ctx_, 1);
      WORD parts[7] = {};
      for (duk_uarridx_t i = 0; i < 7; ++i) {
        duk_get_prop_index(ctx_, -1, i);
        parts[i] = static_cast<WORD>(duk_get_int(ctx_, -1));
        duk_pop(ctx_);
      }
      duk_pop_3(ctx_);
      SYSTEMTIME t{};
      t.wYear = parts[0];
      t.wMonth = parts[1];
      t.wDay = parts[2];
      t.wHour = parts[3];
      t.wMinute = parts[4];
      t.wSecond = parts[5];
      t.wMilliseconds = parts[6];
      DATE date = 0;
      if (!SystemTimeToDate(t, &date)) return DISP_E_OVERFLOW;
      *out = Variant::Date(date);
      return S_OK;
    }
    *out = Variant::String(Wide(ctx_, index));
    return S_OK;
  }

 private:
  static constexpr HRESULT kSyntaxOrLoadError = static_cast<HRESULT>(0x80020101);
  static constexpr double kSlotsPerCall = 1 << 20;

  /// Describes the error on top of the stack, pops it and `extra` more values, and marks the
  /// heap as not to be used again.
  HRESULT Failed(ScriptError* error, HRESULT hr, duk_idx_t extra) {
    Describe(-1, error);
    duk_pop_n(ctx_, 1 + extra);
    broken_ = true;
    EndCall();
    return hr;
  }

  /// Lets go of the call's dictionaries: the script's globals no longer reach them.
  void EndCall() {
    duk_push_undefined(ctx_);
    duk_put_global_string(ctx_, "Context");
    duk_push_undefined(ctx_);
    duk_put_global_string(ctx_, "context");
    held_.clear();
    ++epoch_;
  }

  // Every block carries its size in front, so that the heap's total can be kept.
  struct alignas(std::max_align_t) BlockHeader {
    std::size_t size;
  };

  static void* Alloc(void* udata, duk_size_t size) {
    auto* self = static_cast<DuktapeRuntime*>(udata);
    if (size == 0) return nullptr;
    if (size > kDuktapeHeapLimit || self->used_ + size > kDuktapeHeapLimit) return nullptr;
    auto* header = static_cast<BlockHeader*>(std::malloc(sizeof(BlockHeader) + size));
    if (header == nullptr) return nullptr;
    header->size = size;
    self->used_ += size;
    return header + 1;
  }
  static void* Realloc(void* udata, void* ptr, duk_size_t size) {
    if (ptr == nullptr) return Alloc(udata, size);
    auto* self = static_cast<DuktapeRuntime*>(udata);
    auto* header = static_cast<BlockHeader*>(ptr) - 1;
    if (size == 0) {
      Free(udata, ptr);
      return nullptr;
    }
    const std::size_t old = header->size;
    if (size > old && (size > kDuktapeHeapLimit || self->used_ - old + size > kDuktapeHeapLimit)) {
      return nullptr;
    }
    auto* moved = static_cast<BlockHeader*>(std::realloc(header, sizeof(BlockHeader) + size));
    if (moved == nullptr) return nullptr;
    moved->size = size;
    self->used_ = self->used_ - old + size;
    return moved + 1;
  }
  static void Free(void* udata, void* ptr) {
    if (ptr == nullptr) return;
    auto* header = static_cast<BlockHeader*>(ptr) - 1;
    static_cast<DuktapeRuntime*>(udata)->used_ -= header->size;
    std::free(header);
  }
  // Only reached for an error outside every protected call, which this runtime never makes.
  [[noreturn]] static void Fatal(void*, const char* message) {
    std::fprintf(stderr, "lumarko: fatal error in the JavaScript engine: %s\n",
                 message != nullptr ? message : "");
    std::abort();
  }

  /// Pushes a fresh target object with the dictionary's native methods.
  void PushTarget();

  void Describe(duk_idx_t index, ScriptError* error) {
    index = duk_normalize_index(ctx_, index);
    if (duk_is_error(ctx_, index)) {
      duk_get_prop_string(ctx_, index, "name");
      error->source = Wide(ctx_, -1);
      duk_get_prop_string(ctx_, index, "message");
      error->description = error->source + L": " + Wide(ctx_, -1);
      duk_get_prop_string(ctx_, index, "lineNumber");
      error->line = duk_is_number(ctx_, -1) ? duk_get_int(ctx_, -1) : 0;
      duk_pop_3(ctx_);
    } else {
      error->source = L"Error";
      error->description = L"Uncaught " + Wide(ctx_, index);
    }
  }

  duk_context* ctx_ = nullptr;
  std::atomic<bool> interrupted_{false};
  std::size_t used_ = 0;
  std::vector<ComPtr<IDictionary>> held_;
  std::uint64_t epoch_ = 0;
  std::string loaded_;
  bool broken_ = false;
};

DuktapeRuntime& RuntimeOf(duk_context* ctx) {
  duk_push_global_stash(ctx);
  duk_get_prop_string(ctx, -1, kRuntimeKey);
  auto* runtime = static_cast<DuktapeRuntime*>(duk_get_pointer(ctx, -1));
  duk_pop_2(ctx);
  return *runtime;
}

// ---- Native methods of the dictionary object ----------------------------------------------

IDictionary& This(duk_context* ctx) {
  duk_push_this(ctx);
  IDictionary* dictionary = RuntimeOf(ctx).DictionaryAt(-1);
  duk_pop(ctx);
  if (dictionary == nullptr)
    (void)duk_error_raw(ctx, DUK_ERR_TYPE_ERROR, nullptr, 0, "not a dictionary");
  return *dictionary;
}

// Errors carry no C source position, so that the script's own line is the one reported.
[[noreturn]] void ThrowFailure(duk_context* ctx, HRESULT hr, const char* what,
                               const std::wstring& name) {
  const std::string utf8 = ToUtf8(name);
  if (hr == E_FAIL) {
    (void)duk_error_raw(ctx, DUK_ERR_ERROR, nullptr, 0, "%s '%s': the record has no such value",
                        what, utf8.c_str());
  }
  (void)duk_error_raw(ctx, DUK_ERR_ERROR, nullptr, 0, "%s '%s' failed (0x%08lx)", what,
                      utf8.c_str(), static_cast<unsigned long>(static_cast<std::uint32_t>(hr)));
  std::abort();
}

duk_ret_t PutValueAt(duk_context* ctx, duk_idx_t nameIndex, duk_idx_t valueIndex) {
  DuktapeRuntime& runtime = RuntimeOf(ctx);
  const std::wstring name = Wide(ctx, nameIndex);
  Variant value;
  if (FAILED(runtime.ToVariant(valueIndex, std::addressof(value))))
    (void)duk_error_raw(ctx, DUK_ERR_RANGE_ERROR, nullptr, 0, "bad value");
  const Bstr key(name);
  const HRESULT hr = This(ctx).put_Value(key.get(), *value.get());
  if (FAILED(hr)) ThrowFailure(ctx, hr, "Writing the value", name);
  return 0;
}

duk_ret_t NativeValue(duk_context* ctx) {
  if (duk_get_top(ctx) >= 2) return PutValueAt(ctx, 0, 1);
  const std::wstring name = Wide(ctx, 0);
  const Bstr key(name);
  Variant value;
  const HRESULT hr = This(ctx).get_Value(key.get(), value.get());
  if (FAILED(hr)) ThrowFailure(ctx, hr, "Reading the value", name);
  RuntimeOf(ctx).PushVariant(*value.get());
  return 1;
}

duk_ret_t NativePutValue(duk_context* ctx) { return PutValueAt(ctx, 0, 1); }

duk_ret_t NativeCount(duk_context* ctx) {
  LONG count = 0;
  This(ctx).get_Count(&count);
  duk_push_int(ctx, count);
  return 1;
}

duk_ret_t NativeTest(duk_context* ctx) {
  const Bstr key(Wide(ctx, 0));
  duk_push_boolean(ctx, This(ctx).Test(key.get()) == S_OK);
  return 1;
}

std::vector<std::wstring> NamesOf(duk_context* ctx, duk_idx_t index) {
  std::vector<std::wstring> names;
  const duk_size_t count = duk_is_array(ctx, index) ? duk_get_length(ctx, index) : 0;
  for (duk_uarridx_t i = 0; i < count; ++i) {
    duk_get_prop_index(ctx, index, i);
    names.push_back(Wide(ctx, -1));
    duk_pop(ctx);
  }
  return names;
}

duk_ret_t NativeGetMultiple(duk_context* ctx) {
  IDictionary& dictionary = This(ctx);
  const std::vector<std::wstring> names = NamesOf(ctx, 0);
  const duk_idx_t array = duk_push_array(ctx);
  for (duk_uarridx_t i = 0; i < names.size(); ++i) {
    const Bstr key(names[i]);
    Variant value;
    const HRESULT hr = dictionary.get_Value(key.get(), value.get());
    if (FAILED(hr)) ThrowFailure(ctx, hr, "Reading the value", names[i]);
    RuntimeOf(ctx).PushVariant(*value.get());
    duk_put_prop_index(ctx, array, i);
  }
  return 1;
}

duk_ret_t NativePutMultiple(duk_context* ctx) {
  const std::vector<std::wstring> names = NamesOf(ctx, 0);
  for (duk_uarridx_t i = 0; i < names.size(); ++i) {
    duk_get_prop_index(ctx, 1, i);
    PushWide(ctx, names[i]);
    PutValueAt(ctx, -1, -2);
    duk_pop_2(ctx);
  }
  return 0;
}

duk_ret_t NativeMergeTo(duk_context* ctx) {
  IDictionary* target = RuntimeOf(ctx).DictionaryAt(0);
  if (target == nullptr)
    (void)duk_error_raw(ctx, DUK_ERR_TYPE_ERROR, nullptr, 0, "MergeTo needs a dictionary");
  const HRESULT hr = This(ctx).MergeTo(target);
  if (FAILED(hr)) ThrowFailure(ctx, hr, "Merging into", L"dictionary");
  return 0;
}

duk_ret_t NativeKeys(duk_context* ctx) {
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> names;
  if (FAILED(This(ctx).get__NewEnum(&unknown)) || FAILED(unknown.As(&names))) {
    (void)duk_error_raw(ctx, DUK_ERR_ERROR, nullptr, 0, "the names cannot be listed");
  }
  const duk_idx_t array = duk_push_array(ctx);
  duk_uarridx_t i = 0;
  for (;;) {
    Variant name;
    ULONG fetched = 0;
    if (names->Next(1, name.get(), &fetched) != S_OK || fetched != 1) break;
    RuntimeOf(ctx).PushVariant(*name.get());
    duk_put_prop_index(ctx, array, i++);
  }
  return 1;
}

// ---- The "Lumarko" object: what JavaScript lacks for the tasks scripts do -------------------

duk_ret_t NativeEnvironment(duk_context* ctx) {
  const std::wstring name = Wide(ctx, 0);
  const std::wstring reference = L"${" + name + L"}";
  const std::wstring value = ExpandEnvironmentText(reference);
  if (value == reference) {
    duk_push_undefined(ctx);
  } else {
    PushWide(ctx, value);
  }
  return 1;
}

// Workers append to one catalogue at once: each line is written whole under one lock.
std::mutex g_appendLock;

duk_ret_t NativeAppendLine(duk_context* ctx) {
  const std::string path = ToUtf8(Wide(ctx, 0));
  const std::string line = ToUtf8(Wide(ctx, 1)) + "\n";
  bool written = false;
  {
    std::lock_guard<std::mutex> hold(g_appendLock);
    std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::app);
    written = static_cast<bool>(out << line) && static_cast<bool>(out.flush());
  }
  if (!written)
    (void)duk_error_raw(ctx, DUK_ERR_ERROR, nullptr, 0, "cannot append to '%s'", path.c_str());
  return 0;
}

void PushHostObject(duk_context* ctx) {
  const duk_function_list_entry methods[] = {
      {"Environment", NativeEnvironment, 1},
      {"AppendLine", NativeAppendLine, 2},
      {nullptr, nullptr, 0},
  };
  duk_push_object(ctx);
  duk_put_function_list(ctx, -1, methods);
  duk_put_global_string(ctx, "Lumarko");
}

void DuktapeRuntime::PushTarget() {
  const duk_function_list_entry methods[] = {
      {"Value", NativeValue, DUK_VARARGS},
      {"PutValue", NativePutValue, 2},
      {"Test", NativeTest, 1},
      {"GetMultiple", NativeGetMultiple, 1},
      {"PutMultiple", NativePutMultiple, 2},
      {"MergeTo", NativeMergeTo, 1},
      {"__keys", NativeKeys, 0},
      {nullptr, nullptr, 0},
  };
  const duk_idx_t target = duk_push_object(ctx_);
  duk_put_function_list(ctx_, target, methods);
  duk_push_string(ctx_, "Count");
  duk_push_c_function(ctx_, NativeCount, 0);
  duk_def_prop(ctx_, target, DUK_DEFPROP_HAVE_GETTER);
}

// Making a heap with its built-in objects costs far more than a call: heaps are kept, with
// their compiled script, for the next call of the same script on any worker (a heap serves one
// thread at a time, whichever). The list goes with the module (the plug-in is unloaded after a
// run), when no run is under way.
struct IdleHeaps {
  std::mutex lock;
  std::vector<std::unique_ptr<DuktapeRuntime>> heaps;
};
IdleHeaps& Idle() {
  static IdleHeaps idle;
  return idle;
}
constexpr std::size_t kMostIdleHeaps = 32;

class PooledDuktapeRuntime final : public ScriptRuntime {
 public:
  ~PooledDuktapeRuntime() override {
    if (!runtime_ || !runtime_->Reusable()) return;
    std::lock_guard<std::mutex> hold(Idle().lock);
    if (Idle().heaps.size() < kMostIdleHeaps) Idle().heaps.push_back(std::move(runtime_));
  }
  HRESULT Load(std::wstring_view source, ScriptError* error) override {
    const std::string utf8 = ToUtf8(source);
    {
      std::lock_guard<std::mutex> hold(Idle().lock);
      auto& heaps = Idle().heaps;
      for (auto it = heaps.rbegin(); it != heaps.rend(); ++it) {
        if ((*it)->Holds(utf8)) {
          runtime_ = std::move(*it);
          heaps.erase(std::next(it).base());
          break;
        }
      }
    }
    if (!runtime_) runtime_ = std::make_unique<DuktapeRuntime>();
    return runtime_->Load(source, error);
  }
  HRESULT Find(std::wstring_view function) override { return runtime_->Find(function); }
  HRESULT Call(std::wstring_view function, IDictionary* context, VARIANT* result,
               ScriptError* error) override {
    return runtime_->Call(function, context, result, error);
  }
  void Interrupt() noexcept override {
    if (runtime_) runtime_->Interrupt();
  }

 private:
  std::unique_ptr<DuktapeRuntime> runtime_;
};

}  // namespace

std::unique_ptr<ScriptRuntime> MakeDuktapeRuntime() {
  return std::make_unique<PooledDuktapeRuntime>();
}

}  // namespace lmk

extern "C" int lmk_duktape_timed_out(void* udata) {
  return udata != nullptr && static_cast<lmk::DuktapeRuntime*>(udata)->Interrupted() ? 1 : 0;
}
