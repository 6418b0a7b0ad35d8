// The FTP client service: uploads one file to an FTP, FTPS (explicit TLS) or SFTP server, and
// tests whether a server lets the user log in. On POSIX it is libcurl; on Windows the same
// interface is served by the system's internet functions.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/ftp_address.h"

namespace lmk {

/// One client per thread: each worker uploads over its own connection, which stays open for the
/// worker's next upload to the same server.
class FtpClient {
 public:
  virtual ~FtpClient() = default;

  /// Connects and logs in (passive mode when asked), then leaves. S_OK; otherwise
  /// HRESULT_FROM_WIN32 of an internet error code (platform/internet_error.h) with *error set to
  /// its name, or to the server's last reply for internet_error::kExtendedError.
  [[nodiscard]] virtual HRESULT TestConnection(const FtpAddress& address, bool passive,
                                               std::wstring* error) = 0;

  /// Uploads the file at localPath to target.path (relative to the login folder), in binary,
  /// creating missing folders one level at a time. With refuseExisting, a file already there is
  /// left alone and HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) comes back. Other failures as for
  /// TestConnection, or the HRESULT of a local file that cannot be read. Connections and
  /// transfers that stall time out (LUMARKO_FTP_TIMEOUT seconds, 30 by default).
  [[nodiscard]] virtual HRESULT Upload(const FtpAddress& target, std::wstring_view localPath,
                                       bool passive, bool refuseExisting, std::wstring* error) = 0;
};

/// The calling thread's client, created at first use and kept until the thread ends.
FtpClient& ThreadFtpClient();

/// Whether the run was cancelled; a transfer in progress stops when it says so.
using FtpCancelledCheck = bool (*)() noexcept;
/// Where the client is built as a companion module, the function it exports: S_OK with *client
/// owned by the caller, or a failure with *error saying why.
using MakeFtpClientEntry = HRESULT (*)(FtpClient** client, FtpCancelledCheck cancelled,
                                       std::wstring* error);
inline constexpr char kMakeFtpClientEntry[] = "lmk_companion_make_ftp_client";

}  // namespace lmk
