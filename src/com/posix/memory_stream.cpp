// SHCreateMemStream for POSIX: a growable IStream over bytes in memory.
#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "com/com_error.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "com/posix/com_api.h"

namespace {

// Memory streams are addressed with 32-bit sizes, as the function's own argument is.
constexpr ULONGLONG kMaxSize = 0xFFFFFFFFu;

// The bytes, shared by a stream and its clones; each has its own seek position.
struct SharedBytes {
  std::mutex mutex;
  std::vector<BYTE> bytes;
};

class CMemoryStream final : public lmk::ComObject<CMemoryStream, IStream> {
 public:
  static constexpr bool kCountsInModuleLock = false;

  CMemoryStream(std::shared_ptr<SharedBytes> shared, ULONGLONG position)
      : shared_(std::move(shared)), position_(position) {}

  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override {
    if (read != nullptr) *read = 0;
    if (buffer == nullptr && size != 0) return STG_E_INVALIDPOINTER;
    std::lock_guard lock(shared_->mutex);
    const ULONGLONG length = shared_->bytes.size();
    const ULONGLONG available = position_ < length ? length - position_ : 0;
    const auto count = static_cast<ULONG>(std::min<ULONGLONG>(available, size));
    if (count != 0) std::memcpy(buffer, shared_->bytes.data() + position_, count);
    position_ += count;
    if (read != nullptr) *read = count;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override {
    if (written != nullptr) *written = 0;
    if (buffer == nullptr && size != 0) return STG_E_INVALIDPOINTER;
    if (size == 0) return S_OK;
    std::lock_guard lock(shared_->mutex);
    const ULONGLONG end = position_ + size;
    if (end > kMaxSize) return STG_E_MEDIUMFULL;
    try {
      if (end > shared_->bytes.size()) shared_->bytes.resize(static_cast<size_t>(end));
    } catch (const std::bad_alloc&) {
      return STG_E_MEDIUMFULL;
    }
    std::memcpy(shared_->bytes.data() + position_, buffer, size);
    position_ = end;
    if (written != nullptr) *written = size;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                 ULARGE_INTEGER* new_position) override {
    std::lock_guard lock(shared_->mutex);
    LONGLONG base = 0;
    switch (origin) {
      case STREAM_SEEK_SET:
        base = 0;
        break;
      case STREAM_SEEK_CUR:
        base = static_cast<LONGLONG>(position_);
        break;
      case STREAM_SEEK_END:
        base = static_cast<LONGLONG>(shared_->bytes.size());
        break;
      default:
        return STG_E_INVALIDFUNCTION;
    }
    // Positions before the start or beyond what the stream can address are refused; the
    // position stays where it was.
    if ((move.QuadPart < 0 && -move.QuadPart > base) ||
        (move.QuadPart > 0 && static_cast<ULONGLONG>(move.QuadPart) > kMaxSize - base)) {
      return STG_E_INVALIDFUNCTION;
    }
    position_ = static_cast<ULONGLONG>(base + move.QuadPart);
    if (new_position != nullptr) new_position->QuadPart = position_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER new_size) override {
    if (new_size.QuadPart > kMaxSize) return STG_E_MEDIUMFULL;
    std::lock_guard lock(shared_->mutex);
    try {
      shared_->bytes.resize(static_cast<size_t>(new_size.QuadPart));
    } catch (const std::bad_alloc&) {
      return STG_E_MEDIUMFULL;
    }
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override {
    if (read != nullptr) read->QuadPart = 0;
    if (written != nullptr) written->QuadPart = 0;
    if (target == nullptr) return STG_E_INVALIDPOINTER;
    try {
      // Copy out first: the target may be a clone sharing our bytes (and our lock).
      std::vector<BYTE> chunk;
      {
        std::lock_guard lock(shared_->mutex);
        const ULONGLONG length = shared_->bytes.size();
        const ULONGLONG available = position_ < length ? length - position_ : 0;
        const ULONGLONG count = std::min(available, size.QuadPart);
        chunk.assign(shared_->bytes.begin() + static_cast<ptrdiff_t>(position_),
                     shared_->bytes.begin() + static_cast<ptrdiff_t>(position_ + count));
        position_ += count;
      }
      if (read != nullptr) read->QuadPart = chunk.size();
      ULONG done = 0;
      const HRESULT hr = target->Write(chunk.data(), static_cast<ULONG>(chunk.size()), &done);
      if (written != nullptr) written->QuadPart = done;
      return hr;
    } catch (...) {
      return lmk::HresultFromCurrentException();
    }
  }

  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Revert() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }

  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD) override {
    if (stat == nullptr) return STG_E_INVALIDPOINTER;
    *stat = STATSTG{};
    // The stream has no name, so pwcsName stays null whatever the flags ask.
    stat->type = STGTY_STREAM;
    std::lock_guard lock(shared_->mutex);
    stat->cbSize.QuadPart = shared_->bytes.size();
    stat->grfMode = STGM_READWRITE;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Clone(IStream** copy) override {
    if (copy == nullptr) return STG_E_INVALIDPOINTER;
    *copy = nullptr;
    try {
      ULONGLONG position;
      {
        std::lock_guard lock(shared_->mutex);
        position = position_;
      }
      *copy = lmk::MakeComObject<CMemoryStream>(shared_, position).Detach();
      return S_OK;
    } catch (...) {
      return lmk::HresultFromCurrentException();
    }
  }

 private:
  std::shared_ptr<SharedBytes> shared_;
  ULONGLONG position_;  // guarded by shared_->mutex
};

}  // namespace

IStream* SHCreateMemStream(const BYTE* data, UINT size) {
  try {
    auto shared = std::make_shared<SharedBytes>();
    // Without initial bytes the stream starts empty.
    if (data != nullptr && size != 0) shared->bytes.assign(data, data + size);
    return lmk::MakeComObject<CMemoryStream>(std::move(shared), 0).Detach();
  } catch (...) {
    return nullptr;
  }
}
