// Only POSIX code here: the FTP client on libcurl, one easy handle per thread, reset before each
// transfer so that the connection to the same server is reused. Built as a companion module:
// libcurl and the TLS and SSH libraries it needs are loaded only by runs that upload.
#include <curl/curl.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

#include "platform/ftp_client.h"
#include "platform/internet_error.h"
#include "platform/posix/error_map.h"
#include "platform/posix/unique_fd.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

long TimeoutSeconds() {
  const char* text = std::getenv("LUMARKO_FTP_TIMEOUT");
  if (text != nullptr) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && value > 0) return value;
  }
  return 30;
}

DWORD InternetErrorFromCurl(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return internet_error::kNameNotResolved;
    case CURLE_COULDNT_CONNECT:
      return internet_error::kCannotConnect;
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_FTP_ACCEPT_TIMEOUT:
      return internet_error::kTimeout;
    case CURLE_LOGIN_DENIED:
      return internet_error::kLoginFailure;
    case CURLE_URL_MALFORMAT:
      return internet_error::kInvalidUrl;
    case CURLE_UNSUPPORTED_PROTOCOL:
      return internet_error::kUnrecognizedScheme;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
      return internet_error::kSecurityChannelError;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
      return internet_error::kInvalidCa;
    case CURLE_FTP_WEIRD_PASV_REPLY:
    case CURLE_FTP_WEIRD_227_FORMAT:
    case CURLE_FTP_CANT_GET_HOST:
      return internet_error::kFtpNoPassiveMode;
    case CURLE_ABORTED_BY_CALLBACK:
      return internet_error::kOperationCancelled;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
      return internet_error::kFtpDropped;
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_UPLOAD_FAILED:
    case CURLE_QUOTE_ERROR:
    case CURLE_REMOTE_DISK_FULL:
    case CURLE_REMOTE_FILE_NOT_FOUND:
    case CURLE_REMOTE_FILE_EXISTS:
    case CURLE_FTP_COULDNT_RETR_FILE:
    case CURLE_FTP_PORT_FAILED:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_SSH:
      return internet_error::kExtendedError;
    default:
      return internet_error::kInternalError;
  }
}

struct HandleDeleter {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};

// What one transfer learns on the way: the server's last reply and libcurl's own words.
struct Transcript {
  std::string lastReply;
  char errorBuffer[CURL_ERROR_SIZE] = {};
};

size_t KeepReply(char* data, size_t size, size_t count, void* user) {
  const size_t length = size * count;
  std::string line(data, length);
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  // FTP replies start with a three-digit code; informational lines in between are kept too,
  // but only a coded reply can be the one that explains a refusal.
  if (line.size() >= 3 && std::isdigit(static_cast<unsigned char>(line[0])) != 0) {
    static_cast<Transcript*>(user)->lastReply = std::move(line);
  }
  return length;
}

size_t Discard(char* /*data*/, size_t size, size_t count, void* /*user*/) { return size * count; }

// The program's own cancellation flag: this module has its own copy of the code that keeps it.
std::atomic<FtpCancelledCheck> g_cancelled{nullptr};

int CheckCancelled(void* /*user*/, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  const FtpCancelledCheck cancelled = g_cancelled.load();
  return cancelled != nullptr && cancelled() ? 1 : 0;
}

size_t ReadFromFile(char* buffer, size_t size, size_t count, void* user) {
  const int fd = *static_cast<int*>(user);
  for (;;) {
    const ssize_t got = ::read(fd, buffer, size * count);
    if (got >= 0) return static_cast<size_t>(got);
    if (errno != EINTR) return CURL_READFUNC_ABORT;
  }
}

class CurlFtpClient final : public FtpClient {
 public:
  HRESULT TestConnection(const FtpAddress& address, bool passive, std::wstring* error) override {
    Transcript transcript;
    LMK_RETURN_IF_FAILED(Prepare(address, passive, L"/", &transcript, error));
    curl_easy_setopt(handle_.get(), CURLOPT_NOBODY, 1L);
    return Finish(curl_easy_perform(handle_.get()), transcript, error);
  }

  HRESULT Upload(const FtpAddress& target, std::wstring_view localPath, bool passive,
                 bool refuseExisting, std::wstring* error) override {
    UniqueFd file(::open(ToUtf8(localPath).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) {
      const HRESULT hr = HresultFromErrno(errno);
      *error = L"cannot read the local file";
      return hr;
    }
    struct stat facts {};
    if (::fstat(file.get(), &facts) != 0) return HresultFromErrno(errno);

    if (refuseExisting) {
      const HRESULT exists = RemoteFileExists(target, passive, error);
      if (FAILED(exists)) return exists;
      if (exists == S_OK) return HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
    }
    Transcript transcript;
    LMK_RETURN_IF_FAILED(Prepare(target, passive, target.path, &transcript, error));
    CURL* handle = handle_.get();
    int fd = file.get();
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(handle, CURLOPT_READFUNCTION, ReadFromFile);
    curl_easy_setopt(handle, CURLOPT_READDATA, &fd);
    curl_easy_setopt(handle, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(facts.st_size));
    curl_easy_setopt(handle, CURLOPT_FTP_CREATE_MISSING_DIRS,
                     static_cast<long>(CURLFTP_CREATE_DIR_RETRY));
    curl_easy_setopt(handle, CURLOPT_NEW_DIRECTORY_PERMS, 0755L);
    return Finish(curl_easy_perform(handle), transcript, error);
  }

 private:
  // S_OK when the remote file is there, S_FALSE when it (or its folder) is not.
  HRESULT RemoteFileExists(const FtpAddress& target, bool passive, std::wstring* error) {
    Transcript transcript;
    LMK_RETURN_IF_FAILED(Prepare(target, passive, target.path, &transcript, error));
    curl_easy_setopt(handle_.get(), CURLOPT_NOBODY, 1L);
    const CURLcode code = curl_easy_perform(handle_.get());
    switch (code) {
      case CURLE_OK:
        return S_OK;
      case CURLE_REMOTE_FILE_NOT_FOUND:
      case CURLE_REMOTE_ACCESS_DENIED:
      case CURLE_FTP_COULDNT_RETR_FILE:
        return S_FALSE;
      default:
        return Finish(code, transcript, error);
    }
  }

  HRESULT Prepare(const FtpAddress& address, bool passive, std::wstring_view path,
                  Transcript* transcript, std::wstring* error) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    if (!handle_) handle_.reset(curl_easy_init());
    if (!handle_) {
      *error = InternetErrorName(internet_error::kInternalError);
      return HRESULT_FROM_WIN32(internet_error::kInternalError);
    }
    CURL* handle = handle_.get();
    // The reset keeps the handle's open connections, so the next file to the same server goes
    // over the connection the last one used.
    curl_easy_reset(handle);

    const bool sftp = address.scheme == FtpScheme::kSftp;
    std::string url = sftp ? "sftp://" : "ftp://";
    url += ToUtf8(address.host) + ":" + std::to_string(address.port);
    // An SFTP path is absolute; "/~" makes it relative to the login folder as an FTP path is.
    if (sftp) url += "/~";
    std::wstring relative(path);
    if (relative.empty() || relative.front() != L'/') relative.insert(relative.begin(), L'/');
    url += EscapeUrlPath(relative);

    const std::string user = ToUtf8(address.user);
    std::string password = ToUtf8(address.password);
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    if (!address.user.empty()) curl_easy_setopt(handle, CURLOPT_USERNAME, user.c_str());
    if (address.hasPassword) curl_easy_setopt(handle, CURLOPT_PASSWORD, password.c_str());
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, transcript->errorBuffer);
    // What a probe "downloads" (a file's size and date) is not wanted anywhere.
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, Discard);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, KeepReply);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, transcript);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, CheckCancelled);
    const long timeout = TimeoutSeconds();
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, timeout);
    curl_easy_setopt(handle, CURLOPT_SERVER_RESPONSE_TIMEOUT, timeout);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, timeout);
    // Active mode: the server connects back to the address of the control connection.
    if (!passive) curl_easy_setopt(handle, CURLOPT_FTPPORT, "-");
    if (address.scheme == FtpScheme::kFtps) {
      curl_easy_setopt(handle, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
    }
    // A server certificate of one's own (a test server, a company authority) is trusted through
    // this file in addition to the system's.
    if (const char* authority = std::getenv("LUMARKO_FTP_CA_FILE"); authority != nullptr) {
      curl_easy_setopt(handle, CURLOPT_CAINFO, authority);
    }
    if (sftp) {
      const char* home = std::getenv("HOME");
      if (home != nullptr) {
        knownHosts_ = std::string(home) + "/.ssh/known_hosts";
        curl_easy_setopt(handle, CURLOPT_SSH_KNOWNHOSTS, knownHosts_.c_str());
        // Without a password the user's own key logs in, as with any SSH client.
        if (!address.hasPassword) {
          privateKey_ = UserKeyFile(home);
          if (!privateKey_.empty()) {
            curl_easy_setopt(handle, CURLOPT_SSH_PRIVATE_KEYFILE, privateKey_.c_str());
          }
        }
      }
    }
    // libcurl keeps its own copy; this one is wiped so that it cannot linger in freed memory.
    std::fill(password.begin(), password.end(), '\0');
    return S_OK;
  }

  static HRESULT Finish(CURLcode code, const Transcript& transcript, std::wstring* error) {
    if (code == CURLE_OK) return S_OK;
    const DWORD internet = InternetErrorFromCurl(code);
    if (internet == internet_error::kExtendedError) {
      const std::string& text =
          transcript.lastReply.empty() ? std::string(transcript.errorBuffer) : transcript.lastReply;
      *error = text.empty() ? InternetErrorName(internet) : FromUtf8(text);
    } else {
      *error = InternetErrorName(internet);
    }
    return HRESULT_FROM_WIN32(internet);
  }

  // The first of the user's usual SSH keys that exists; empty when there is none.
  static std::string UserKeyFile(const char* home) {
    for (const char* name : {"id_ed25519", "id_ecdsa", "id_rsa"}) {
      std::string path = std::string(home) + "/.ssh/" + name;
      if (::access(path.c_str(), R_OK) == 0) return path;
    }
    return {};
  }

  std::unique_ptr<CURL, HandleDeleter> handle_;
  std::string knownHosts_;
  std::string privateKey_;
};

}  // namespace

}  // namespace lmk

extern "C" HRESULT lmk_companion_make_ftp_client(lmk::FtpClient** client,
                                                 lmk::FtpCancelledCheck cancelled,
                                                 std::wstring* error) noexcept {
  if (client == nullptr || error == nullptr) return E_INVALIDARG;
  lmk::g_cancelled.store(cancelled);
  try {
    *client = std::make_unique<lmk::CurlFtpClient>().release();
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}
