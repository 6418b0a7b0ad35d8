// A host for runner tests: an in-memory image list with programmable failures and call counts,
// and a thread-safe range for the parallel workers. No file is read or written.
#pragma once

#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "com/com.h"
#include "host_api/lumarko_host.h"
#include "shell/image_record.h"

namespace lmk::test {

class FakeRunHost final : public ComObject<FakeRunHost, ILumarkoHost> {
 public:
  /// count images "/pictures/img0000.jpg", ... at indexes 0..count-1, frame 0, size 1000 + index.
  explicit FakeRunHost(ULONG count = 0);

  /// Appends an image; returns its record for the test to fill before the run.
  CImageRecord& AddImage(const std::wstring& path, USHORT frame = 0);
  CImageRecord& Image(ULONG index) { return *images_.at(index).Get(); }

  // Programmable state.
  ULONG currentIndex = 0;
  BOOL scanning = FALSE;
  FILETIME sessionStart{0x5A5A0000, 0x01D9A000};
  std::wstring version = L"9.8.7";
  ULONG keepCopyIndex = 4;
  std::wstring imagesFolder = L"/pictures";
  std::wstring keepCopyFolder = L"/pictures/keep";
  bool failSessionInfo = false;
  bool failCount = false;
  /// Indexes whose delivery fails with E_FAIL (the range still advances past them).
  std::set<ULONG> undeliverable;

  // What the plug-in did.
  std::atomic<int> nextOfRangeCalls{0};
  std::atomic<int> nextOfRangePastEnd{0};
  std::atomic<int> keepCopyWrites{0};
  std::atomic<ULONG> storedKeepCopyIndex{0};
  /// Indexes handed out, in order (first image and range).
  std::vector<ULONG> Delivered() const;

  LMK_LUMARKO_HOST_OVERRIDES;

 private:
  // Hands out the image at index and starts the range after it; the caller holds lock_.
  HRESULT Deliver(ULONG index, ILumarkoImage** ppImage);

  mutable std::mutex lock_;
  std::vector<ComPtr<CImageRecord>> images_;
  ULONG cursor_ = 0;
  std::vector<ULONG> delivered_;
};

}  // namespace lmk::test
