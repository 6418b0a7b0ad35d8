// Test doubles of what a host gives the plug-in: the host interface and the usage counter class
// (support/fake_usage_counter.h).
#pragma once

#include "com/com.h"
#include "host_api/lumarko_host.h"
#include "support/fake_usage_counter.h"
#include "support/unanswering_host.h"

namespace lmk::test {

/// A host that answers nothing but its identity.
class FakeHost final : public UnansweringHost<FakeHost> {};

}  // namespace lmk::test
