// ComObject's QueryInterface and reference count, the module lock count and ComPtr ownership.
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "com/com.h"

namespace lmk_test_interfaces {

struct IAlpha : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE Alpha(LONG* value) = 0;
};
LMK_DECLARE_IID(IAlpha, "7F6965D4-9655-4145-BFE6-8619711AFC40")
LMK_DECLARE_IID_BASE(IAlpha, IDispatch)

struct IBeta : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Beta() = 0;
};
LMK_DECLARE_IID(IBeta, "{11111111-2222-3333-4455-66778899AABB}")

// Declared but implemented by nobody here.
struct IGamma : public IUnknown {};
LMK_DECLARE_IID(IGamma, "00000000-0000-0000-0000-0000000000FF")

}  // namespace lmk_test_interfaces

namespace lmk {
namespace {

using lmk_test_interfaces::IAlpha;
using lmk_test_interfaces::IBeta;
using lmk_test_interfaces::IGamma;

static_assert(IidOf<IBeta>().Data1 == 0x11111111 && IidOf<IBeta>().Data4[7] == 0xBB);
static_assert(IidOf<IAlpha>().Data2 == 0x9655 && IidOf<IAlpha>().Data3 == 0x4145);
static_assert(IsEqualGUID(IidOf<IStream>(), IID_IStream) &&
              IsEqualGUID(IidOf<IDispatch>(), IID_IDispatch));

class CAlphaBeta final : public ComObject<CAlphaBeta, IAlpha, IBeta> {
 public:
  explicit CAlphaBeta(int* destroyed) : destroyed_(destroyed) {}
  ~CAlphaBeta() override { ++*destroyed_; }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Alpha(LONG* value) override {
    *value = 7;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Beta() override { return S_FALSE; }

 private:
  int* destroyed_;
};

class CThrowing final : public ComObject<CThrowing, IBeta> {
 public:
  CThrowing() { throw std::runtime_error("constructor fails"); }
  HRESULT STDMETHODCALLTYPE Beta() override { return S_OK; }
};

TEST(ComObject, QueryInterfaceFindsEveryInterfaceAndDeclaredBase) {
  int destroyed = 0;
  {
    ComPtr<CAlphaBeta> object = MakeComObject<CAlphaBeta>(&destroyed);
    ComPtr<IUnknown> unknown;
    ComPtr<IDispatch> dispatch;
    ComPtr<IAlpha> alpha;
    ComPtr<IBeta> beta;
    ASSERT_EQ(object.As(&unknown), S_OK);
    ASSERT_EQ(object.As(&dispatch), S_OK);
    ASSERT_EQ(object.As(&alpha), S_OK);
    ASSERT_EQ(object.As(&beta), S_OK);
    LONG value = 0;
    EXPECT_EQ(alpha->Alpha(&value), S_OK);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(beta->Beta(), S_FALSE);
    EXPECT_EQ(static_cast<IDispatch*>(alpha.Get()), dispatch.Get());

    // IUnknown is the same pointer whichever interface it is asked from (COM identity).
    ComPtr<IUnknown> from_beta;
    ASSERT_EQ(beta.As(&from_beta), S_OK);
    EXPECT_EQ(from_beta.Get(), unknown.Get());
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(ComObject, UnknownInterfaceAndNullOut) {
  int destroyed = 0;
  ComPtr<CAlphaBeta> object = MakeComObject<CAlphaBeta>(&destroyed);
  ComPtr<IGamma> gamma;
  EXPECT_EQ(object.As(&gamma), E_NOINTERFACE);
  EXPECT_FALSE(gamma);
  void* raw = reinterpret_cast<void*>(1);
  EXPECT_EQ(object->QueryInterface(IID_IStream, &raw), E_NOINTERFACE);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST(ComObject, ReferenceCountModuleLockAndConstructorFailure) {
  const long before = ModuleLockCount();
  int destroyed = 0;
  ComPtr<CAlphaBeta> object = MakeComObject<CAlphaBeta>(&destroyed);
  EXPECT_EQ(object->AddRef(), 2u);
  EXPECT_EQ(object->Release(), 1u);
  ComPtr<CAlphaBeta> copy = object;
  EXPECT_EQ(ModuleLockCount(), before + 1);
  EXPECT_EQ(object.Reset(), 1u);
  EXPECT_EQ(copy.Reset(), 0u);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(ModuleLockCount(), before);
  ModuleLock();
  EXPECT_EQ(ModuleLockCount(), before + 1);
  ModuleUnlock();
  EXPECT_THROW(MakeComObject<CThrowing>(), std::runtime_error);
  EXPECT_EQ(ModuleLockCount(), before);
}

TEST(ComPtr, MoveCopyAttachDetach) {
  int destroyed = 0;
  ComPtr<CAlphaBeta> a = MakeComObject<CAlphaBeta>(&destroyed);
  ComPtr<CAlphaBeta> moved(std::move(a));
  EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move)
  ComPtr<IBeta> beta;
  ASSERT_EQ(moved.As(&beta), S_OK);
  IBeta* out = nullptr;
  ASSERT_EQ(beta.CopyTo(&out), S_OK);
  ComPtr<IBeta> adopted;
  adopted.Attach(out);  // takes the reference CopyTo handed out
  IBeta* detached = adopted.Detach();
  EXPECT_FALSE(adopted);
  EXPECT_EQ(detached->Release(), 2u);  // moved and beta remain
  beta = nullptr;
  ComPtr<IUnknown> unknown;
  ASSERT_EQ(moved.As(&unknown), S_OK);
  ComPtr<IAlpha> converted = moved;  // AddRefs through the implicit up-cast
  moved.Reset();
  converted.Reset();
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(unknown.ReleaseAndGetAddressOf(), unknown.GetAddressOf());
  EXPECT_EQ(destroyed, 1);

  ComPtr<IUnknown> empty;
  ComPtr<IDispatch> dispatch;
  EXPECT_EQ(empty.As(&dispatch), E_POINTER);
  IUnknown* none = reinterpret_cast<IUnknown*>(1);
  EXPECT_EQ(empty.CopyTo(&none), S_OK);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(empty.CopyTo(nullptr), E_POINTER);
}

}  // namespace
}  // namespace lmk
