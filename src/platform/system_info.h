// Names of the computer and of the logged-on user, as templates show them.
#pragma once

#include <string>

namespace lmk {

/// The computer's name (on POSIX the host name up to its first dot); empty when it cannot be read.
std::wstring ComputerName();

/// The logged-on user's account name; empty when it cannot be read.
std::wstring LogonUserName();

/// The user's name in the form "domain\user" (on POSIX the host name stands for the domain);
/// empty when either part cannot be read.
std::wstring DomainUserName();

}  // namespace lmk
