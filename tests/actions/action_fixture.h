// Shared setup of the file action tests: a temporary folder, files in it, per-file records, a
// host that remembers the notices it gets, and a run's log kept in memory.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "com/bstr.h"
#include "com/com.h"
#include "com/com_error.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"
#include "host_api/lumarko_host.h"
#include "platform/event_log_writer.h"
#include "platform/fake/memory_event_trace_sink.h"
#include "platform/file_operations.h"
#include "platform/text_encoding.h"
#include "platform/volume.h"
#include "support/temp_dir.h"
#include "support/unanswering_host.h"

namespace lmk::test {

namespace fs = std::filesystem;

inline fs::path PathOf(const std::wstring& path) { return fs::path(ToUtf8(path)); }
inline std::wstring WideOf(const fs::path& path) { return FromUtf8(path.string()); }

inline void WriteFile(const fs::path& path, const std::string& content) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary);
  out << content;
}

inline std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void MakeReadOnly(const fs::path& path) {
  ThrowIfFailed(SetFileAttributesOf(WideOf(path), kFileAttributeReadOnly));
}

/// A host that only remembers the rename and delete notices.
class NoticeHost final : public UnansweringHost<NoticeHost> {
 public:
  struct Notice {
    ULONGLONG cookie;
    std::wstring from;
    std::wstring to;
  };
  std::vector<Notice> renamed;
  std::vector<Notice> deleted;

  HRESULT STDMETHODCALLTYPE OnFileRenamed(ULONGLONG cookie, LPCWSTR oldPath,
                                          LPCWSTR newPath) override {
    std::lock_guard lock(mutex_);
    renamed.push_back({cookie, oldPath, newPath});
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE OnFileDeleted(ULONGLONG cookie, LPCWSTR path) override {
    std::lock_guard lock(mutex_);
    deleted.push_back({cookie, path, L""});
    return S_OK;
  }

 private:
  std::mutex mutex_;
};

/// A per-file record for the image at path: the keys the file actions read.
inline ComPtr<IDictionary> MakeImageRecord(const std::wstring& path,
                                           const std::wstring& imagesFolder,
                                           unsigned short frame = 0, IUnknown* host = nullptr,
                                           const std::wstring& keepCopyFolder = L"") {
  ComPtr<IDictionary> record;
  ThrowIfFailed(
      CreateDictionary(nullptr, IID_IDictionary, reinterpret_cast<void**>(record.GetAddressOf())));
  const auto put = [&](const wchar_t* key, const Variant& value) {
    Bstr name(key);
    ThrowIfFailed(record->put_Value(name.get(), value.ref()));
  };
  const std::size_t slash = path.rfind(L'/');
  const std::size_t dot = path.rfind(L'.');
  const std::wstring noExt =
      dot != std::wstring::npos && dot > slash + 1 ? path.substr(0, dot) : path;
  put(L"File.Name", Variant::String(path));
  put(L"File.PathNoExt", Variant::String(noExt));
  put(L"App.ImagesFolder", Variant::String(imagesFolder));
  put(L"App.KeepCopyFolder", Variant::String(keepCopyFolder));
  put(L"Misc.FrameNumber", Variant::UI2(frame));
  put(L"File.InternalCookie", Variant::UI8(77));
  put(L"File.LastWriteTimeFT", Variant::I8(133542939091230000));
  put(L"Meta.DateTakenFT", Variant::I8(133542939091230000));  // 2024-03-07 14:05:09 UTC
  if (host != nullptr) put(L"Plugin.Host", Variant::Unknown(host));
  return record;
}

inline std::wstring RecordText(IDictionary* record, const wchar_t* key) {
  Bstr name(key);
  Variant value;
  ThrowIfFailed(record->get_Value(name.get(), &value));
  ThrowIfFailed(value.ChangeType(VT_BSTR));
  return value.ref().bstrVal;
}

/// A run's log in memory, current for the test's lifetime.
class MemoryLog {
 public:
  MemoryLog()
      : sink_(new fake::MemoryEventTraceSink), writer_(std::unique_ptr<EventTraceSink>(sink_)) {
    writer_.Open(L"test", L"/nonexistent/test.etl");
    scope_ = std::make_unique<EventLogWriter::Scope>(writer_);
  }
  ~MemoryLog() {
    scope_.reset();
    writer_.Close();
  }
  std::vector<std::wstring> Texts() const {
    std::vector<std::wstring> texts;
    for (const auto& event : sink_->Events()) texts.push_back(event.text.value_or(L""));
    return texts;
  }
  std::vector<std::wstring> TextsAt(BYTE level) const {
    std::vector<std::wstring> texts;
    for (const auto& event : sink_->Events()) {
      if (event.level == level) texts.push_back(event.text.value_or(L""));
    }
    return texts;
  }

 private:
  fake::MemoryEventTraceSink* sink_;
  EventLogWriter writer_;
  std::unique_ptr<EventLogWriter::Scope> scope_;
};

/// A temporary folder and a run's log in memory, shared by the tests of actions on real files.
class FileActionTest : public ::testing::Test {
 protected:
  std::wstring Root() const { return WideOf(dir_.path()); }
  /// The record of the image at name, relative to the folder, which is the images folder.
  ComPtr<IDictionary> Record(const std::wstring& name, unsigned short frame = 0,
                             IUnknown* host = nullptr) const {
    return MakeImageRecord(Root() + L"/" + name, Root(), frame, host);
  }

  ScopedTempDir dir_;
  MemoryLog log_;
};

/// The same with a second folder on another file system (the memory file system), removed with
/// its content; the test is skipped where there is none.
class TwoVolumeTest : public FileActionTest {
 protected:
  void SetUp() override {
    std::string pattern = "/dev/shm/lmk-actions-XXXXXX";
    if (fs::is_directory("/dev/shm") && ::mkdtemp(pattern.data()) != nullptr) other_ = pattern;
    if (other_.empty() || GetVolumeKey(WideOf(dir_.path())) == GetVolumeKey(WideOf(other_))) {
      GTEST_SKIP() << "no second file system: /dev/shm is missing or on the same device as "
                   << dir_.path();
    }
  }
  void TearDown() override {
    std::error_code ec;
    if (!other_.empty()) fs::remove_all(other_, ec);
  }

  fs::path other_;
};

template <class Param>
class FileActionParamTest : public FileActionTest, public ::testing::WithParamInterface<Param> {};

}  // namespace lmk::test
