// PluginHostSession: the host side of a plug-in's life, step by step.
#include "cli/plugin_host_session.h"

#include "com/com_error.h"
#include "host/usage_counter_factory.h"

namespace lmk::cli {
namespace {

// English (United States): the plug-in keeps the host's language for its texts.
constexpr WORD kLangId = 0x0409;

std::wstring Step(std::wstring_view what, HRESULT hr) {
  std::wstring text(what);
  text += L" failed (" + FormatHresult(hr) + L")";
  const std::wstring description = TakeErrorDescription();
  if (!description.empty()) text += L": " + description;
  return text;
}

}  // namespace

PluginHostSession::PluginHostSession() : counter_(MakeComObject<CHostUsageCounter>()) {}

PluginHostSession::~PluginHostSession() {
  // The plug-in's objects go before the module that holds their code.
  plugin_.Reset();
  if (counterRegistered_) CoRevokeClassObject(counterCookie_);
}

HRESULT PluginHostSession::Start(const std::wstring& path, std::wstring* error) {
  LMK_RETURN_IF_FAILED(module_.Load(path, error));
  // The plug-in creates the counter by class id; the class table is the program's, shared
  // with the plug-in, so it finds this registration.
  const ComPtr<CUsageCounterFactory> factory = MakeComObject<CUsageCounterFactory>(counter_);
  HRESULT hr = CoRegisterClassObject(CLSID_LumarkoUsageCounter, factory.Get(), CLSCTX_INPROC_SERVER,
                                     REGCLS_MULTIPLEUSE, &counterCookie_);
  if (FAILED(hr)) {
    *error = Step(L"registering the usage counter", hr);
    return hr;
  }
  counterRegistered_ = true;
  ComPtr<IClassFactory> classFactory;
  hr = module_.GetClassObject(CLSID_FileUtilities, IID_IClassFactory,
                              reinterpret_cast<void**>(classFactory.GetAddressOf()));
  if (FAILED(hr)) {
    *error = Step(L"DllGetClassObject", hr);
    return hr;
  }
  hr = classFactory->CreateInstance(nullptr, IID_ILumarkoPlugin,
                                    reinterpret_cast<void**>(plugin_.GetAddressOf()));
  if (FAILED(hr)) *error = Step(L"creating the plug-in object", hr);
  return hr;
}

HRESULT PluginHostSession::Run(ILumarkoHost* host, const RunRequest& request, DWORD* postAction,
                               std::wstring* error) {
  if (!plugin_) return E_UNEXPECTED;
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(nullptr, 0));
  if (!stream) return E_OUTOFMEMORY;
  HRESULT hr = WriteRunRequest(stream.Get(), request);
  if (FAILED(hr)) {
    *error = Step(L"writing the run request", hr);
    return hr;
  }
  LARGE_INTEGER start{};
  hr = stream->Seek(start, STREAM_SEEK_SET, nullptr);
  if (FAILED(hr)) return hr;

  hr = plugin_->Initialize(host, kLangId, stream.Get(), 0);
  if (FAILED(hr)) {
    *error = Step(L"Initialize", hr);
    return hr;
  }
  DWORD behaviour = LMKPLUGINFLAG_POSTACTIONBEHAVIOR_DONOTHING;
  hr = plugin_->Process(nullptr, nullptr, nullptr, 0, &behaviour);
  const HRESULT terminated = plugin_->Terminate();
  if (FAILED(hr)) {
    *error = Step(L"Process", hr);
    return hr;
  }
  if (FAILED(terminated)) {
    *error = Step(L"Terminate", terminated);
    return terminated;
  }
  if (postAction != nullptr) *postAction = behaviour;
  return S_OK;
}

}  // namespace lmk::cli
