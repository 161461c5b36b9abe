#pragma once
// The console's questions about the Exchange organisation: which servers,
// databases and mailboxes exist and how it is configured (answered by the
// worker executable beside the module), and which Exchange is installed here
// (answered from the registry).
//
// Methods (names ignoring case, with or without "MailServers.SystemInfo."):
//   GetOrganizationStructure      worker "/listmb"    {"servers": [...]}
//   GetOrganizationConfiguration  worker "/orgConfig" {"configuration": {...}}
//   GetExchangeInfo               registry            the installation record
// The two worker methods answer the worker's outcome (0, 1223 for exit code
// 1, its other exit codes, or the code of the step that failed) and leave the
// output empty unless it is 0; while the agent stops they answer 5023 and
// start nothing. The input is not read.
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "agent/agent_base.h"
#include "sdk/policy_method.h"
#include "sysinfo/worker_run.h"

namespace SystemInfo {

class Agent final : public EnterpriseIntegration::AgentBase, private RunControl {
 public:
  // `agentName` is "MailServers.SystemInfo".
  explicit Agent(const wchar_t* agentName);
  ~Agent() override;

  // Start clears the stop flag; Stop sets it, tells every running worker to
  // end, and returns once the methods that started them have returned.
  uint32_t Start() override;
  void Stop() override;

  bool GetOrganizationStructure(IPolicyMethod& method);
  bool GetOrganizationConfiguration(IPolicyMethod& method);
  bool GetExchangeInfo(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;

 private:
  // How long Stop lets workers end by their event before it ends them.
  static constexpr DWORD kStopGraceMs = 10000;

  struct Running {
    HANDLE stopEvent;  // owned by the run
    HANDLE process;    // owned by the run
  };

  // Checks the stop flag and counts the method in; false while stopping.
  bool BeginCall();
  void EndCall();
  bool Enter(HANDLE stopEvent, HANDLE process) override;
  void Leave(HANDLE stopEvent) override;
  void StopWorkers();

  template <class Convert>
  bool RunMethod(IPolicyMethod& method, const wchar_t* operation, const wchar_t* switchText,
                 Convert convert);

  std::mutex mutex_;
  std::condition_variable idle_;
  bool stopping_ = false;
  int calls_ = 0;
  std::vector<Running> running_;
};

}  // namespace SystemInfo
