// PluginHostSession: the lumarko command as a viewer host: loads the plug-in's shared object,
// offers its usage-counter class, creates the plug-in, hands it the run request as init data
// and lets it process, then terminates it.
#pragma once

#include <string>

#include "batch/run_request.h"
#include "cli/plugin_module.h"
#include "com/com.h"
#include "com/com_ptr.h"
#include "host/host_usage_counter.h"
#include "host_api/lumarko_host.h"
#include "shell/lumarko_plugin.h"

namespace lmk::cli {

class PluginHostSession {
 public:
  PluginHostSession();
  ~PluginHostSession();
  PluginHostSession(const PluginHostSession&) = delete;
  PluginHostSession& operator=(const PluginHostSession&) = delete;

  /// Loads the plug-in at path, registers the host's usage-counter class and creates the
  /// plug-in object through the module's class factory. S_OK; a failure with *error saying
  /// what failed.
  HRESULT Start(const std::wstring& path, std::wstring* error);

  /// Initialize(host, request as init data), Process, Terminate. S_OK with *postAction the
  /// plug-in's post-action behaviour; the first failure with *error naming the step.
  HRESULT Run(ILumarkoHost* host, const RunRequest& request, DWORD* postAction,
              std::wstring* error);

  /// What the plug-in counted during the session.
  const CHostUsageCounter& Counter() const { return *counter_.Get(); }

 private:
  PluginModule module_;
  ComPtr<CHostUsageCounter> counter_;
  DWORD counterCookie_ = 0;
  bool counterRegistered_ = false;
  ComPtr<ILumarkoPlugin> plugin_;
};

}  // namespace lmk::cli
