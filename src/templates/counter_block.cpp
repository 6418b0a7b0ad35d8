// Counter values reserved a block at a time and the unused rest given back.
#include "templates/counter_block.h"

#include <algorithm>
#include <random>
#include <utility>

#include "platform/settings_store.h"
#include "templates/template_counters.h"

namespace lmk {
namespace {

constexpr HRESULT kNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

// The stored number, or nullopt when absent; a value of another type counts as 0, as it does
// for a single step.
HRESULT ReadNumber(SettingsStore& store, const wchar_t* key, const std::wstring& name,
                   std::optional<uint64_t>* out) {
  RegValue value;
  const HRESULT hr = store.GetValue(key, name, &value);
  if (hr == kNotFound) {
    out->reset();
    return S_OK;
  }
  LMK_RETURN_IF_FAILED(hr);
  *out = value.IsNumber() ? value.number : 0;
  return S_OK;
}

// A mark no other reservation will carry: two draws of the system's random source.
uint64_t NewMark() {
  std::random_device source;
  const uint64_t mark = (static_cast<uint64_t>(source()) << 32) ^ source();
  return mark == 0 ? 1 : mark;
}

}  // namespace

CounterBlock::CounterBlock(std::wstring name, uint32_t modulus)
    : name_(std::move(name)), modulus_(modulus) {}

uint32_t CounterBlock::Advance(uint32_t value, uint64_t steps, uint32_t modulus) {
  if (modulus > 1) return static_cast<uint32_t>((value + steps) % modulus);
  return static_cast<uint32_t>(value + steps);
}

std::optional<uint32_t> CounterBlock::TakeHeld() {
  if (left_ == 0) return std::nullopt;
  const uint32_t value = next_;
  next_ = Advance(next_, 1, modulus_);
  --left_;
  return value;
}

HRESULT CounterBlock::Take(SettingsStore& store, uint32_t* value) {
  if (left_ == 0) {
    const uint64_t mark = NewMark();
    uint32_t first = 0;
    LMK_RETURN_IF_FAILED(store.Transact([&](SettingsStore& transaction) {
      std::optional<uint64_t> stored;
      LMK_RETURN_IF_FAILED(ReadNumber(transaction, TemplateCounters::kKey, name_, &stored));
      first = static_cast<uint32_t>(stored.value_or(0));
      LMK_RETURN_IF_FAILED(transaction.SetValue(TemplateCounters::kKey, name_,
                                                RegValue::Dword(Advance(first, size_, modulus_))));
      return transaction.SetValue(kMarkKey, name_, RegValue::Qword(mark));
    }));
    next_ = first;
    left_ = size_;
    end_ = Advance(first, size_, modulus_);
    mark_ = mark;
    size_ = std::min(size_ * 2, kMaxSize);
  }
  *value = *TakeHeld();
  return S_OK;
}

std::optional<uint32_t> CounterBlock::Peek() const {
  if (left_ == 0) return std::nullopt;
  return next_;
}

HRESULT CounterBlock::GiveBack(SettingsStore& store) {
  const uint32_t left = std::exchange(left_, 0);
  size_ = kFirstSize;
  if (left == 0) return S_OK;
  return store.Transact([&](SettingsStore& transaction) {
    std::optional<uint64_t> stored;
    std::optional<uint64_t> mark;
    LMK_RETURN_IF_FAILED(ReadNumber(transaction, TemplateCounters::kKey, name_, &stored));
    LMK_RETURN_IF_FAILED(ReadNumber(transaction, kMarkKey, name_, &mark));
    // Anyone who reserved after this block moved the mark; anyone who took single values moved
    // the counter. Either way the rest is theirs to skip, not ours to hand out again.
    if (stored != end_ || mark != mark_) return S_OK;
    LMK_RETURN_IF_FAILED(
        transaction.SetValue(TemplateCounters::kKey, name_, RegValue::Dword(next_)));
    return transaction.DeleteValue(kMarkKey, name_);
  });
}

}  // namespace lmk
