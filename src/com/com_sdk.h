// The Windows SDK's COM and Automation headers on Windows, our shim elsewhere, and the IIDs of
// the system interfaces for lmk::IidOf. Include com/com.h instead.
#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off
#include <windows.h>
#include <ole2.h>
#include <oleauto.h>
#include <objbase.h>
#include <ocidl.h>
#include <shlwapi.h>
// clang-format on
#else
#include "com/posix/class_table.h"
#include "com/posix/com_api.h"
#include "com/posix/com_interfaces.h"
#include "com/posix/com_types.h"
#include "com/posix/oleauto.h"
#endif

#include "com/iid.h"

LMK_DECLARE_IID(IUnknown, "00000000-0000-0000-C000-000000000046")
LMK_DECLARE_IID(IDispatch, "00020400-0000-0000-C000-000000000046")
LMK_DECLARE_IID(IEnumVARIANT, "00020404-0000-0000-C000-000000000046")
LMK_DECLARE_IID(ISequentialStream, "0C733A30-2A1C-11CE-ADE5-00AA0044773D")
LMK_DECLARE_IID(IStream, "0000000C-0000-0000-C000-000000000046")
LMK_DECLARE_IID(IClassFactory, "00000001-0000-0000-C000-000000000046")
LMK_DECLARE_IID(IErrorInfo, "1CF2B120-547D-101B-8E65-08002B2BD119")
LMK_DECLARE_IID(ICreateErrorInfo, "22F03340-547D-101B-8E65-08002B2BD119")
LMK_DECLARE_IID_BASE(IStream, ISequentialStream)
