// The network errors of the FTP client: the codes and names that the Windows internet
// functions use, so that logs read the same on every system.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

inline constexpr DWORD ERROR_INTERNET_TIMEOUT = 12002;
inline constexpr DWORD ERROR_INTERNET_EXTENDED_ERROR = 12003;
inline constexpr DWORD ERROR_INTERNET_INTERNAL_ERROR = 12004;
inline constexpr DWORD ERROR_INTERNET_INVALID_URL = 12005;
inline constexpr DWORD ERROR_INTERNET_UNRECOGNIZED_SCHEME = 12006;
inline constexpr DWORD ERROR_INTERNET_NAME_NOT_RESOLVED = 12007;
inline constexpr DWORD ERROR_INTERNET_LOGIN_FAILURE = 12015;
inline constexpr DWORD ERROR_INTERNET_OPERATION_CANCELLED = 12017;
inline constexpr DWORD ERROR_INTERNET_CANNOT_CONNECT = 12029;
inline constexpr DWORD ERROR_INTERNET_CONNECTION_ABORTED = 12030;
inline constexpr DWORD ERROR_INTERNET_CONNECTION_RESET = 12031;
inline constexpr DWORD ERROR_INTERNET_INVALID_CA = 12045;
inline constexpr DWORD ERROR_INTERNET_SEC_CERT_ERRORS = 12055;
inline constexpr DWORD ERROR_FTP_DROPPED = 12111;
inline constexpr DWORD ERROR_FTP_NO_PASSIVE_MODE = 12112;
inline constexpr DWORD ERROR_INTERNET_SECURITY_CHANNEL_ERROR = 12157;

/// The symbolic name of an internet error code ("ERROR_INTERNET_TIMEOUT"); "error <code>" for a
/// code the table does not hold.
std::wstring InternetErrorName(DWORD code);

}  // namespace lmk
