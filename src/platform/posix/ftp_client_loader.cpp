// Only POSIX code here: each thread's FTP client comes from the companion module that holds the
// libcurl client, loaded by the first upload of a run.
#include <memory>

#include "platform/companion_module.h"
#include "platform/ftp_client.h"
#include "platform/run_cancellation.h"

namespace lmk {
namespace {

/// Stands in when the module cannot be loaded: every call fails with the reason.
class UnavailableFtpClient final : public FtpClient {
 public:
  UnavailableFtpClient(HRESULT hr, std::wstring reason) : hr_(hr), reason_(std::move(reason)) {}

  HRESULT TestConnection(const FtpAddress&, bool, std::wstring* error) override {
    return Fail(error);
  }
  HRESULT Upload(const FtpAddress&, std::wstring_view, bool, bool, std::wstring* error) override {
    return Fail(error);
  }

 private:
  HRESULT Fail(std::wstring* error) const {
    if (error != nullptr) *error = reason_;
    return hr_;
  }

  HRESULT hr_;
  std::wstring reason_;
};

bool Cancelled() noexcept { return RunCancellation::IsRequested(); }

std::unique_ptr<FtpClient> MakeClient() {
  static constexpr CompanionModule kModule{LMK_FTP_MODULE_FILE, kMakeFtpClientEntry};
  void* entry = nullptr;
  std::wstring error;
  HRESULT hr = LoadCompanion(kModule, &entry, &error);
  FtpClient* client = nullptr;
  if (SUCCEEDED(hr)) hr = reinterpret_cast<MakeFtpClientEntry>(entry)(&client, &Cancelled, &error);
  if (FAILED(hr)) return std::make_unique<UnavailableFtpClient>(hr, error);
  return std::unique_ptr<FtpClient>(client);
}

}  // namespace

FtpClient& ThreadFtpClient() {
  thread_local const std::unique_ptr<FtpClient> client = MakeClient();
  return *client;
}

}  // namespace lmk
