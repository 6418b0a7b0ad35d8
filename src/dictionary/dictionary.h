// CDictionary: the named-value dictionary shared by the runner, the rule elements and scripts.
#pragma once

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "com/bstr.h"
#include "com/com_object.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"

namespace lmk {

// Lock order: an enumerator's lock is taken before its dictionary's lock, never after. A
// dictionary holds only its own lock and never calls out to another object while holding it:
// MergeTo copies its entries under the lock, releases it, and only then puts them into the
// target, so two MergeTo calls in opposite directions cannot deadlock. The lock is recursive
// because PutMultiple goes through put_Value.
class CDictionary final : public ComObject<CDictionary, IDictionary> {
 public:
  CDictionary() = default;
  CDictionary(const CDictionary&) = delete;
  CDictionary& operator=(const CDictionary&) = delete;

  // IDispatch: members are reachable by name for scripts; there is no type information.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                          DISPID* rgDispId) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                   DISPPARAMS* pDispParams, VARIANT* pVarResult,
                                   EXCEPINFO* pExcepInfo, UINT* puArgErr) override;

  // IDictionary
  HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** ppUnk) override;
  HRESULT STDMETHODCALLTYPE get_Value(BSTR bstrName, VARIANT* pVal) override;
  HRESULT STDMETHODCALLTYPE put_Value(BSTR bstrName, VARIANT pvarNew) override;
  HRESULT STDMETHODCALLTYPE get_Count(LONG* pVal) override;
  HRESULT STDMETHODCALLTYPE GetMultiple(ULONG cb, LPOLESTR* rgolestr, VARIANT* rgvar) override;
  HRESULT STDMETHODCALLTYPE PutMultiple(ULONG cb, LPOLESTR* rgolestr, VARIANT* rgvar) override;
  HRESULT STDMETHODCALLTYPE Test(BSTR bstrName) override;
  HRESULT STDMETHODCALLTYPE MergeTo(IDictionary* lpDictionary) override;

  /// Copies, in map order, up to `max` names that sort after `after` (from the first entry when
  /// `after` is empty, which no stored name can be). Takes the dictionary's lock; throws
  /// ComError or std::bad_alloc.
  std::vector<Bstr> NamesAfter(const Bstr& after, std::size_t max) const;

  /// PutMultiple for values built for this dictionary alone: they are moved in rather than
  /// copied (a value by reference is still copied, since the reference would dangle) and
  /// left empty. Same outcome and HRESULTs as PutMultiple.
  HRESULT TakeMultiple(ULONG cb, LPOLESTR* rgolestr, Variant* values) noexcept;

 private:
  // Orders names as VarBstrCmp does under the user's default locale, without flags: by code
  // unit, so case and accents make distinct names. Transparent, so a lookup needs no copy of
  // the caller's name.
  struct NameLess {
    using is_transparent = void;
    bool operator()(std::wstring_view a, std::wstring_view b) const noexcept;
  };
  // Entries sorted by name. A record is filled once, in name order, and read many times:
  // appending to a vector and searching it costs less than a tree's nodes and rebalancing.
  // Names are views: into the arena for names put one by one, into a shared NameBlock for
  // a fill of an empty dictionary.
  using Entry = std::pair<std::wstring_view, Variant>;
  using Entries = std::pmr::vector<Entry>;
  // The names of one fill, copied and sorted once and shared by every dictionary filled with
  // the same names (every per-file record of a run).
  struct NameBlock;

  /// The first entry whose name is not less than `name`. Caller holds lock_.
  Entries::iterator LowerBound(std::wstring_view name);
  Entries::const_iterator LowerBound(std::wstring_view name) const;
  /// The entry named `name`, or end(). Caller holds lock_.
  Entries::const_iterator Find(std::wstring_view name) const;

  HRESULT InvokeValue(WORD wFlags, const DISPPARAMS& params, VARIANT* pVarResult,
                      EXCEPINFO* pExcepInfo, UINT* puArgErr);
  HRESULT InvokeTest(const DISPPARAMS& params, VARIANT* pVarResult, UINT* puArgErr);
  HRESULT InvokeMergeTo(const DISPPARAMS& params, UINT* puArgErr);

  /// Puts the values that `take` gives for the first names (up to a bad name or a value that
  /// cannot be taken) as one put after another, and returns S_OK or why it stopped.
  template <class Take>
  HRESULT PutEach(ULONG cb, LPOLESTR* rgolestr, Take&& take);

  /// Puts already copied values under their names, in order (a later duplicate wins); the
  /// values they replace go to *replaced, to be released after the lock. Caller holds lock_.
  void PutLocked(std::wstring_view name, Variant value, std::vector<Variant>* replaced);

  /// Puts the first count values under the first count names (all valid) into the empty
  /// dictionary, moving them out, with the outcome of one put after another. Caller holds
  /// lock_.
  void FillEmptyLocked(ULONG count, LPOLESTR* rgolestr, Variant* values);
  /// A copy of name in the arena. Caller holds lock_.
  std::wstring_view StoreName(std::wstring_view name);

  mutable std::recursive_mutex lock_;
  // Names and entries come from one arena that grows in a few large steps: a per-file
  // dictionary of 120 values costs a couple of allocations instead of hundreds. Nothing is
  // ever removed, so a monotonic arena wastes little: only the vector's outgrown buffers,
  // which a fill avoids by reserving its size first.
  static constexpr std::size_t kArenaFirstBlock = 8192;
  std::pmr::monotonic_buffer_resource arena_{kArenaFirstBlock};
  Entries entries_{&arena_};
  std::shared_ptr<const NameBlock> sharedNames_;
};

}  // namespace lmk
