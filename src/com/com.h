// The one include for COM and OLE Automation: the Windows SDK on Windows, our shim elsewhere,
// plus the lmk:: helpers that are the same on both.
#pragma once

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "com/com_sdk.h"
#include "com/time_convert.h"
#include "com/variant.h"
