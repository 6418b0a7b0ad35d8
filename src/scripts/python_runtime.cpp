// Python scripts on the embedded CPython interpreter: its one-time start, the dictionary as a
// Python object, and the mapping of values between VARIANTs and Python.
#define PY_SSIZE_T_CLEAN
#include "scripts/python_runtime.h"

#include <Python.h>
#include <datetime.h>

#include <atomic>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

PyTypeObject* g_contextType = nullptr;

/// Holds the interpreter's global lock for the life of the object, from any thread.
class GilScope {
 public:
  GilScope() noexcept : state_(PyGILState_Ensure()) {}
  ~GilScope() { PyGILState_Release(state_); }
  GilScope(const GilScope&) = delete;
  GilScope& operator=(const GilScope&) = delete;

 private:
  PyGILState_STATE state_;
};

/// Owns one Python reference.
class PyRef {
 public:
  explicit PyRef(PyObject* object = nullptr) noexcept : object_(object) {}
  ~PyRef() { Py_XDECREF(object_); }
  PyRef(const PyRef&) = delete;
  PyRef& operator=(const PyRef&) = delete;
  PyObject* get() const noexcept { return object_; }
  PyObject* release() noexcept { return std::exchange(object_, nullptr); }
  explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
  PyObject* object_;
};

std::wstring Wide(PyObject* text) {
  Py_ssize_t size = 0;
  const char* utf8 = text != nullptr ? PyUnicode_AsUTF8AndSize(text, &size) : nullptr;
  if (utf8 == nullptr) {
    PyErr_Clear();
    return {};
  }
  return FromUtf8(std::string_view(utf8, static_cast<std::size_t>(size)));
}

PyObject* PyText(std::wstring_view text) {
  const std::string utf8 = ToUtf8(text);
  return PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()), "replace");
}

// ---- The dictionary object ----------------------------------------------------------------

struct ContextObject {
  PyObject_HEAD IDictionary* dictionary;
};

PyObject* WrapDictionary(IDictionary* dictionary) {
  auto* object = PyObject_New(ContextObject, g_contextType);
  if (object == nullptr) return nullptr;
  dictionary->AddRef();
  object->dictionary = dictionary;
  return reinterpret_cast<PyObject*>(object);
}

IDictionary* DictionaryOf(PyObject* object) {
  if (object == nullptr || !PyObject_TypeCheck(object, g_contextType)) return nullptr;
  return reinterpret_cast<ContextObject*>(object)->dictionary;
}

PyObject* FromVariant(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      Py_RETURN_NONE;
    case VT_BOOL:
      return PyBool_FromLong(value.boolVal != VARIANT_FALSE);
    case VT_BSTR:
      return PyText(std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal)));
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_INT:
    case VT_I8:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UINT: {
      Variant wide;
      if (SUCCEEDED(VariantChangeType(wide.get(), &value, 0, VT_I8))) {
        return PyLong_FromLongLong(wide.get()->llVal);
      }
      break;
    }
    case VT_UI8:
      return PyLong_FromUnsignedLongLong(value.ullVal);
    case VT_DATE: {
      SYSTEMTIME t{};
      if (!DateToSystemTime(value.date, &t)) break;
      return PyDateTime_FromDateAndTime(t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond,
                                        t.wMilliseconds * 1000);
    }
    case VT_DISPATCH:
    case VT_UNKNOWN: {
      if (const ComPtr<IDictionary> dictionary = DictionaryIn(value)) {
        return WrapDictionary(dictionary.Get());
      }
      Py_RETURN_NONE;
    }
    default:
      break;
  }
  Variant number;
  if (SUCCEEDED(VariantChangeType(number.get(), &value, 0, VT_R8))) {
    return PyFloat_FromDouble(number.get()->dblVal);
  }
  Variant text;
  if (SUCCEEDED(VariantChangeType(text.get(), &value, 0, VT_BSTR))) return FromVariant(text.ref());
  Py_RETURN_NONE;
}

/// The VARIANT of a Python value; false with a Python error set when it has none.
bool ToVariant(PyObject* object, Variant* out) {
  if (object == Py_None) {
    *out = Variant();
  } else if (PyBool_Check(object)) {
    *out = Variant::Bool(object == Py_True);
  } else if (PyLong_Check(object)) {
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(object, &overflow);
    if (overflow != 0) {
      PyErr_SetString(PyExc_OverflowError, "the number does not fit in 64 bits");
      return false;
    }
    // Numbers that fit are VT_I4, as scripts on Windows hand them back; larger ones VT_I8.
    *out = number >= INT32_MIN && number <= INT32_MAX ? Variant::I4(static_cast<int32_t>(number))
                                                      : Variant::I8(number);
  } else if (PyFloat_Check(object)) {
    *out = Variant::R8(PyFloat_AsDouble(object));
  } else if (PyUnicode_Check(object)) {
    *out = Variant::String(Wide(object));
  } else if (PyDateTime_Check(object)) {
    SYSTEMTIME t{};
    t.wYear = static_cast<WORD>(PyDateTime_GET_YEAR(object));
    t.wMonth = static_cast<WORD>(PyDateTime_GET_MONTH(object));
    t.wDay = static_cast<WORD>(PyDateTime_GET_DAY(object));
    t.wHour = static_cast<WORD>(PyDateTime_DATE_GET_HOUR(object));
    t.wMinute = static_cast<WORD>(PyDateTime_DATE_GET_MINUTE(object));
    t.wSecond = static_cast<WORD>(PyDateTime_DATE_GET_SECOND(object));
    t.wMilliseconds = static_cast<WORD>(PyDateTime_DATE_GET_MICROSECOND(object) / 1000);
    DATE date = 0;
    if (!SystemTimeToDate(t, &date)) {
      PyErr_SetString(PyExc_OverflowError, "the date cannot be stored");
      return false;
    }
    *out = Variant::Date(date);
  } else if (IDictionary* dictionary = DictionaryOf(object)) {
    *out = Variant::Dispatch(dictionary);
  } else {
    PyRef text(PyObject_Str(object));
    if (!text) return false;
    *out = Variant::String(Wide(text.get()));
  }
  return true;
}

PyObject* GetValue(IDictionary& dictionary, PyObject* name) {
  if (!PyUnicode_Check(name)) {
    PyErr_SetString(PyExc_TypeError, "a value's name is a str");
    return nullptr;
  }
  const Bstr key(Wide(name));
  Variant value;
  if (FAILED(dictionary.get_Value(key.get(), value.get()))) {
    PyErr_SetObject(PyExc_KeyError, name);
    return nullptr;
  }
  return FromVariant(value.ref());
}

int PutValue(IDictionary& dictionary, PyObject* name, PyObject* value) {
  if (!PyUnicode_Check(name) || value == nullptr) {
    PyErr_SetString(PyExc_TypeError, "values are written under a str name and never removed");
    return -1;
  }
  Variant converted;
  if (!ToVariant(value, std::addressof(converted))) return -1;
  const Bstr key(Wide(name));
  const HRESULT hr = dictionary.put_Value(key.get(), *converted.get());
  if (FAILED(hr)) {
    PyErr_Format(PyExc_RuntimeError, "writing the value failed (0x%08lx)",
                 static_cast<unsigned long>(hr));
    return -1;
  }
  return 0;
}

// Each native method catches what C++ may throw: nothing may cross into the interpreter.
template <class F>
auto Guarded(F&& body) -> decltype(body()) {
  try {
    return body();
  } catch (...) {
    PyErr_NoMemory();
    return decltype(body()){};
  }
}

void ContextDealloc(PyObject* self) {
  reinterpret_cast<ContextObject*>(self)->dictionary->Release();
  PyTypeObject* type = Py_TYPE(self);
  PyObject_Free(self);
  Py_DECREF(type);
}

PyObject* ContextValue(PyObject* self, PyObject* args) {
  return Guarded([&]() -> PyObject* {
    PyObject* name = nullptr;
    PyObject* value = nullptr;
    if (!PyArg_ParseTuple(args, "U|O:Value", &name, &value)) return nullptr;
    IDictionary& dictionary = *DictionaryOf(self);
    if (value == nullptr) return GetValue(dictionary, name);
    if (PutValue(dictionary, name, value) != 0) return nullptr;
    Py_RETURN_NONE;
  });
}

PyObject* ContextPutValue(PyObject* self, PyObject* args) {
  return Guarded([&]() -> PyObject* {
    PyObject* name = nullptr;
    PyObject* value = nullptr;
    if (!PyArg_ParseTuple(args, "UO:PutValue", &name, &value)) return nullptr;
    if (PutValue(*DictionaryOf(self), name, value) != 0) return nullptr;
    Py_RETURN_NONE;
  });
}

PyObject* ContextTest(PyObject* self, PyObject* name) {
  return Guarded([&]() -> PyObject* {
    if (!PyUnicode_Check(name)) return PyBool_FromLong(0);
    const Bstr key(Wide(name));
    return PyBool_FromLong(DictionaryOf(self)->Test(key.get()) == S_OK);
  });
}

PyObject* ContextGetMultiple(PyObject* self, PyObject* names) {
  return Guarded([&]() -> PyObject* {
    PyRef sequence(PySequence_Fast(names, "GetMultiple takes a list of names"));
    if (!sequence) return nullptr;
    const Py_ssize_t count = PySequence_Fast_GET_SIZE(sequence.get());
    PyRef values(PyList_New(count));
    if (!values) return nullptr;
    for (Py_ssize_t i = 0; i < count; ++i) {
      PyObject* value = GetValue(*DictionaryOf(self), PySequence_Fast_GET_ITEM(sequence.get(), i));
      if (value == nullptr) return nullptr;
      PyList_SET_ITEM(values.get(), i, value);
    }
    return values.release();
  });
}

PyObject* ContextPutMultiple(PyObject* self, PyObject* args) {
  return Guarded([&]() -> PyObject* {
    PyObject* names = nullptr;
    PyObject* values = nullptr;
    if (!PyArg_ParseTuple(args, "OO:PutMultiple", &names, &values)) return nullptr;
    PyRef nameList(PySequence_Fast(names, "PutMultiple takes a list of names"));
    PyRef valueList(PySequence_Fast(values, "PutMultiple takes a list of values"));
    if (!nameList || !valueList) return nullptr;
    const Py_ssize_t count = PySequence_Fast_GET_SIZE(nameList.get());
    if (PySequence_Fast_GET_SIZE(valueList.get()) != count) {
      PyErr_SetString(PyExc_ValueError, "PutMultiple needs as many values as names");
      return nullptr;
    }
    for (Py_ssize_t i = 0; i < count; ++i) {
      if (PutValue(*DictionaryOf(self), PySequence_Fast_GET_ITEM(nameList.get(), i),
                   PySequence_Fast_GET_ITEM(valueList.get(), i)) != 0) {
        return nullptr;
      }
    }
    Py_RETURN_NONE;
  });
}

PyObject* ContextMergeTo(PyObject* self, PyObject* target) {
  return Guarded([&]() -> PyObject* {
    IDictionary* other = DictionaryOf(target);
    if (other == nullptr) {
      PyErr_SetString(PyExc_TypeError, "MergeTo takes a dictionary");
      return nullptr;
    }
    if (FAILED(DictionaryOf(self)->MergeTo(other))) {
      PyErr_SetString(PyExc_RuntimeError, "merging the dictionaries failed");
      return nullptr;
    }
    Py_RETURN_NONE;
  });
}

PyObject* NameList(IDictionary& dictionary) {
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> names;
  PyRef list(PyList_New(0));
  if (!list) return nullptr;
  if (FAILED(dictionary.get__NewEnum(&unknown)) || FAILED(unknown.As(&names))) {
    PyErr_SetString(PyExc_RuntimeError, "the names cannot be listed");
    return nullptr;
  }
  for (;;) {
    Variant name;
    ULONG fetched = 0;
    if (names->Next(1, name.get(), &fetched) != S_OK || fetched != 1) break;
    PyRef item(FromVariant(name.ref()));
    if (!item || PyList_Append(list.get(), item.get()) != 0) return nullptr;
  }
  return list.release();
}

PyObject* ContextIter(PyObject* self) {
  return Guarded([&]() -> PyObject* {
    PyRef list(NameList(*DictionaryOf(self)));
    return list ? PyObject_GetIter(list.get()) : nullptr;
  });
}

PyObject* ContextCount(PyObject* self, void*) {
  LONG count = 0;
  DictionaryOf(self)->get_Count(&count);
  return PyLong_FromLong(count);
}

Py_ssize_t ContextLength(PyObject* self) {
  LONG count = 0;
  DictionaryOf(self)->get_Count(&count);
  return count;
}

PyObject* ContextGetItem(PyObject* self, PyObject* name) {
  return Guarded([&]() -> PyObject* { return GetValue(*DictionaryOf(self), name); });
}

int ContextSetItem(PyObject* self, PyObject* name, PyObject* value) {
  try {
    return PutValue(*DictionaryOf(self), name, value);
  } catch (...) {
    PyErr_NoMemory();
    return -1;
  }
}

int ContextContains(PyObject* self, PyObject* name) {
  if (!PyUnicode_Check(name)) return 0;
  try {
    const Bstr key(Wide(name));
    return DictionaryOf(self)->Test(key.get()) == S_OK ? 1 : 0;
  } catch (...) {
    PyErr_NoMemory();
    return -1;
  }
}

PyMethodDef kContextMethods[] = {
    {"Value", ContextValue, METH_VARARGS, "Value(name) reads a value, Value(name, v) writes it."},
    {"PutValue", ContextPutValue, METH_VARARGS, "PutValue(name, v) writes a value."},
    {"Test", ContextTest, METH_O, "Test(name) tells whether the value is there."},
    {"GetMultiple", ContextGetMultiple, METH_O, "GetMultiple(names) reads several values."},
    {"PutMultiple", ContextPutMultiple, METH_VARARGS, "PutMultiple(names, values) writes them."},
    {"MergeTo", ContextMergeTo, METH_O, "MergeTo(other) copies every value into other."},
    {nullptr, nullptr, 0, nullptr},
};

PyGetSetDef kContextProperties[] = {
    {"Count", ContextCount, nullptr, "The number of values.", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyType_Slot kContextSlots[] = {
    {Py_tp_dealloc, reinterpret_cast<void*>(ContextDealloc)},
    {Py_tp_methods, kContextMethods},
    {Py_tp_getset, kContextProperties},
    {Py_tp_iter, reinterpret_cast<void*>(ContextIter)},
    {Py_mp_length, reinterpret_cast<void*>(ContextLength)},
    {Py_mp_subscript, reinterpret_cast<void*>(ContextGetItem)},
    {Py_mp_ass_subscript, reinterpret_cast<void*>(ContextSetItem)},
    {Py_sq_contains, reinterpret_cast<void*>(ContextContains)},
    {0, nullptr},
};

PyType_Spec kContextSpec = {"lumarko.Context", sizeof(ContextObject), 0, Py_TPFLAGS_DEFAULT,
                            kContextSlots};

// ---- The interpreter ---------------------------------------------------------------------

/// Makes this module's Python types, with the interpreter's lock held.
bool MakeTypes() {
  PyDateTime_IMPORT;
  g_contextType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&kContextSpec));
  PyErr_Clear();
  return PyDateTimeAPI != nullptr && g_contextType != nullptr;
}

/// Starts the interpreter once per process and lets go of its lock; false when it cannot start.
/// The command and the plug-in it loads each hold a copy of this code but share the one
/// interpreter: whichever comes second finds it running and only makes its own types. It is
/// never finalised: extension modules that scripts import do not survive a restart, and the
/// process ends soon after its last run anyway.
bool StartInterpreter() {
  static std::once_flag once;
  static bool started = false;
  std::call_once(once, [] {
    if (Py_IsInitialized()) {
      GilScope gil;
      started = MakeTypes();
      return;
    }
    PyConfig config;
    // Isolated: the user's PYTHON* variables and site folder do not change how rules run, and
    // the interpreter leaves the process's signal handlers (Ctrl+C ends a run) alone.
    PyConfig_InitIsolatedConfig(&config);
    config.install_signal_handlers = 0;
    const PyStatus status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) return;
    started = MakeTypes();
    PyEval_SaveThread();
  });
  return started;
}

/// Fills *error from the exception being raised (and clears it).
void TakeException(ScriptError* error) {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  PyErr_NormalizeException(&type, &value, &traceback);
  PyRef typeRef(type), valueRef(value), tracebackRef(traceback);
  if (type == nullptr) return;
  error->source = Wide(PyRef(PyObject_GetAttrString(type, "__name__")).get());
  if (value != nullptr && PyErr_GivenExceptionMatches(type, PyExc_SyntaxError)) {
    PyRef message(PyObject_GetAttrString(value, "msg"));
    PyRef line(PyObject_GetAttrString(value, "lineno"));
    PyRef column(PyObject_GetAttrString(value, "offset"));
    PyRef text(PyObject_GetAttrString(value, "text"));
    error->description = error->source + L": " + Wide(message.get());
    if (line && PyLong_Check(line.get())) error->line = PyLong_AsLong(line.get());
    if (column && PyLong_Check(column.get())) error->column = PyLong_AsLong(column.get());
    if (text && PyUnicode_Check(text.get())) error->lineText = Wide(text.get());
  } else {
    PyRef text(value != nullptr ? PyObject_Str(value) : nullptr);
    error->description = error->source + L": " + Wide(text.get());
    // The innermost frame of the script's own code is where it failed.
    for (PyObject* tb = traceback; tb != nullptr && tb != Py_None;) {
      PyRef line(PyObject_GetAttrString(tb, "tb_lineno"));
      if (line && PyLong_Check(line.get())) error->line = PyLong_AsLong(line.get());
      PyRef next(PyObject_GetAttrString(tb, "tb_next"));
      tb = next.get();
      if (tb == nullptr || tb == Py_None) break;
    }
  }
  PyErr_Clear();
}

/// The script's code object, compiled once per text (a new reference; null with the exception
/// set). Code objects never change, so every call of every worker shares them; the interpreter's
/// lock guards the table. The table goes with the module (the plug-in is unloaded after a run);
/// the interpreter keeps the code objects it holds, as it keeps the rest of its own memory.
PyObject* Compiled(const std::string& utf8) {
  static std::map<std::string, PyObject*> table;
  std::map<std::string, PyObject*>* codes = &table;
  if (const auto found = codes->find(utf8); found != codes->end()) {
    Py_INCREF(found->second);
    return found->second;
  }
  PyObject* code = Py_CompileString(utf8.c_str(), "script", Py_file_input);
  if (code == nullptr) return nullptr;
  // A run uses a few scripts; a long-lived process that meets many starts afresh.
  constexpr std::size_t kMostScripts = 64;
  if (codes->size() >= kMostScripts) {
    for (auto& [text, kept] : *codes) Py_DECREF(kept);
    codes->clear();
  }
  Py_INCREF(code);
  codes->emplace(utf8, code);
  return code;
}

/// Gives the calling thread an interpreter thread state for its life, so that taking the lock
/// for a call does not make and drop one each time (which costs more than a short script).
void KeepThreadState() {
  thread_local bool kept = false;
  if (kept) return;
  // The thread that started the interpreter already has one; a second one of the same thread
  // would take the watchdog's interrupt in its place.
  if (PyGILState_GetThisThreadState() == nullptr) PyThreadState_New(PyInterpreterState_Main());
  kept = true;
}

class PythonRuntime final : public ScriptRuntime {
 public:
  PythonRuntime() {
    if (StartInterpreter()) KeepThreadState();
    if (!StartInterpreter()) {
      throw ComError(E_FAIL,
                     L"The Python interpreter cannot be started. Install the python3 package and "
                     L"try again.");
    }
  }

  ~PythonRuntime() override {
    GilScope gil;
    if (globals_ != nullptr) {
      // Functions hold their module's globals: clearing breaks the cycle at once.
      PyDict_Clear(globals_);
      Py_CLEAR(globals_);
    }
  }

  HRESULT Load(std::wstring_view source, ScriptError* error) override {
    GilScope gil;
    globals_ = PyDict_New();
    if (globals_ == nullptr ||
        PyDict_SetItemString(globals_, "__builtins__", PyEval_GetBuiltins()) != 0 ||
        PyDict_SetItemString(globals_, "__name__", PyRef(PyText(L"__script__")).get()) != 0) {
      TakeException(error);
      return E_OUTOFMEMORY;
    }
    PyRef code(Compiled(ToUtf8(source)));
    if (!code) {
      TakeException(error);
      return kScriptErrorReported;
    }
    PyRef done(PyEval_EvalCode(code.get(), globals_, globals_));
    if (!done) {
      TakeException(error);
      return kScriptErrorReported;
    }
    return S_OK;
  }

  HRESULT Find(std::wstring_view function) override {
    GilScope gil;
    PyObject* found = Lookup(function);
    return found != nullptr && PyCallable_Check(found) ? S_OK : DISP_E_UNKNOWNNAME;
  }

  HRESULT Call(std::wstring_view function, IDictionary* context, VARIANT* result,
               ScriptError* error) override {
    GilScope gil;
    PyObject* callable = Lookup(function);
    if (callable == nullptr) return DISP_E_UNKNOWNNAME;
    PyRef wrapped(WrapDictionary(context));
    if (!wrapped || PyDict_SetItemString(globals_, "Context", wrapped.get()) != 0 ||
        PyDict_SetItemString(globals_, "context", wrapped.get()) != 0) {
      TakeException(error);
      return E_OUTOFMEMORY;
    }
    {
      std::lock_guard<std::mutex> hold(lock_);
      thread_ = PyThread_get_thread_ident();
      running_ = true;
    }
    PyRef value(PyObject_CallOneArg(callable, wrapped.get()));
    {
      std::lock_guard<std::mutex> hold(lock_);
      running_ = false;
      // An interrupt that came as the call ended must not hit this thread's next script.
      if (interrupted_) PyThreadState_SetAsyncExc(thread_, nullptr);
    }
    if (!value) {
      TakeException(error);
      return DISP_E_EXCEPTION;
    }
    Variant converted;
    if (!ToVariant(value.get(), std::addressof(converted))) {
      TakeException(error);
      return DISP_E_EXCEPTION;
    }
    converted.Detach(result);
    return S_OK;
  }

  void Interrupt() noexcept override {
    GilScope gil;
    std::lock_guard<std::mutex> hold(lock_);
    interrupted_ = true;
    if (running_) PyThreadState_SetAsyncExc(thread_, PyExc_TimeoutError);
  }

 private:
  static constexpr HRESULT kScriptErrorReported = static_cast<HRESULT>(0x80020101);

  /// A borrowed reference to the global of that name, or null.
  PyObject* Lookup(std::wstring_view function) {
    if (globals_ == nullptr) return nullptr;
    const std::string name = ToUtf8(function);
    return PyDict_GetItemString(globals_, name.c_str());
  }

  PyObject* globals_ = nullptr;
  // Taken with the interpreter's lock held, in this order, by both the script's thread and the
  // watchdog's.
  std::mutex lock_;
  unsigned long thread_ = 0;
  bool running_ = false;
  bool interrupted_ = false;
};

}  // namespace

std::unique_ptr<ScriptRuntime> MakePythonRuntime() { return std::make_unique<PythonRuntime>(); }

}  // namespace lmk

extern "C" HRESULT lmk_companion_make_python_runtime(lmk::ScriptRuntime** runtime,
                                                     std::wstring* error) noexcept {
  if (runtime == nullptr || error == nullptr) return E_INVALIDARG;
  *runtime = nullptr;
  try {
    *runtime = lmk::MakePythonRuntime().release();
    return S_OK;
  } catch (const lmk::ComError& e) {
    *error = e.description();
    return e.hr();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}
