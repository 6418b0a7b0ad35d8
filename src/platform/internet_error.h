// The network errors of the FTP client: the codes and names that the Windows internet
// functions use, so that logs read the same on every system.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// The codes this program produces, named without the prefix so that they cannot collide with
/// the Windows SDK's macros of the same values.
namespace internet_error {
inline constexpr DWORD kTimeout = 12002;
inline constexpr DWORD kExtendedError = 12003;
inline constexpr DWORD kInternalError = 12004;
inline constexpr DWORD kInvalidUrl = 12005;
inline constexpr DWORD kUnrecognizedScheme = 12006;
inline constexpr DWORD kNameNotResolved = 12007;
inline constexpr DWORD kLoginFailure = 12015;
inline constexpr DWORD kOperationCancelled = 12017;
inline constexpr DWORD kCannotConnect = 12029;
inline constexpr DWORD kConnectionAborted = 12030;
inline constexpr DWORD kConnectionReset = 12031;
inline constexpr DWORD kInvalidCa = 12045;
inline constexpr DWORD kSecCertErrors = 12055;
inline constexpr DWORD kFtpDropped = 12111;
inline constexpr DWORD kFtpNoPassiveMode = 12112;
inline constexpr DWORD kSecurityChannelError = 12157;

}  // namespace internet_error

/// The symbolic name of an internet error code ("ERROR_INTERNET_TIMEOUT"); "error <code>" for a
/// code the table does not hold.
std::wstring InternetErrorName(DWORD code);

}  // namespace lmk
