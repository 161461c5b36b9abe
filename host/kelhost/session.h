#pragma once
// The protocol operations of kelhost: each command object becomes calls on the
// loaded module, its agents, the manager or the reference plug-ins, and one
// reply object that echoes "op". Nothing a command contains can make Execute
// throw or crash: bad commands get a reply with "error" (a short, stable
// reason) and "detail".
#include <cstdint>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <json/value.h>

#include "frame/exports.h"
#include "host/kelhost/component_manager.h"
#include "host/kelhost/manager.h"
#include "host/kelhost/policy_method.h"
#include "host/kelhost/plugin_registry.h"
#include "host/kelhost/scratch_registry.h"
#include "host/logsink/log_sink.h"
#include "frame/owners.h"
#include "sdk/agent.h"

namespace kelhost {

// What the protocol operations act on; the session owns none of it.
struct HostParts {
  Manager* manager;
  ComponentManager* components;
  IServMain* servMain;
  const PluginRegistry* plugins;
  KelCreateObjectFn create;
  KelDestroyObjectFn destroy;
  LogSinkDrainLinesFn drainLines;  // null: the "log" op answers an error
  KelDescribeClassesFn describe;   // null: the "describe" op answers an error
};

// The policy identifier of "call" when the command gives none.
inline constexpr char kDefaultPolicyId[] = "kelhost.policy";
// How long "events" with a "count" waits when the command gives no "waitMs".
inline constexpr uint32_t kDefaultEventWaitMs = 5000;
// How long "await" waits for its call when the command gives no "waitMs".
inline constexpr uint32_t kDefaultAwaitMs = 5000;
// The most plug-in threads one "notify" delivers from at once.
inline constexpr uint32_t kMaxNotifyThreads = 64;

class Session {
 public:
  explicit Session(const HostParts& parts) : parts_(parts) {}
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Json::Value Execute(const Json::Value& command) noexcept;

  // Gives back every object still held, newest first, as the host does when it
  // shuts down. An asynchronous call still running first has its agent
  // stopped (as the host stops agents before it gives them back), and is
  // waited for.
  void Shutdown() noexcept;

  // The agent interface of the live object named `as`, or null; for a test
  // that calls the agent itself between commands.
  EnterpriseIntegration::IAgent* AgentNamed(const std::string& as) noexcept;

 private:
  struct Instance {
    std::wstring className;
    IKelBaseInterface* object = nullptr;  // as KelCreateObject answered it
    EnterpriseIntegration::IAgent* agent = nullptr;
    bool agentQueried = false;
    bool destroyed = false;
    uint64_t serial = 0;
  };
  // A call started with "async": it runs on a thread of its own until "await"
  // collects it.
  struct AsyncCall {
    std::unique_ptr<PolicyMethod> call;
    bool nullAccessor = false;
    EnterpriseIntegration::IAgent* agent = nullptr;
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    std::thread thread;
  };
  using Handler = void (Session::*)(const Json::Value& command, Json::Value& reply);
  struct Op {
    Handler handler;
    const char* const* fields;  // the members the op reads, null-terminated
  };
  static const std::map<std::string, Op>& Ops();

  Instance& Live(const Json::Value& command);
  EnterpriseIntegration::IAgent* AgentOf(const Json::Value& command);

  void Create(const Json::Value& command, Json::Value& reply);
  void Init(const Json::Value& command, Json::Value& reply);
  void Start(const Json::Value& command, Json::Value& reply);
  void Stop(const Json::Value& command, Json::Value& reply);
  void Uninit(const Json::Value& command, Json::Value& reply);
  void Destroy(const Json::Value& command, Json::Value& reply);
  void Call(const Json::Value& command, Json::Value& reply);
  void Await(const Json::Value& command, Json::Value& reply);
  void JoinAsyncCalls() noexcept;
  void Functioning(const Json::Value& command, Json::Value& reply);
  void Names(const Json::Value& command, Json::Value& reply);
  void Features(const Json::Value& command, Json::Value& reply);
  void Plugin(const Json::Value& command, Json::Value& reply);
  void ManagerOp(const Json::Value& command, Json::Value& reply);
  void Notify(const Json::Value& command, Json::Value& reply);
  void Events(const Json::Value& command, Json::Value& reply);
  void Log(const Json::Value& command, Json::Value& reply);
  void Sleep(const Json::Value& command, Json::Value& reply);
  void Registry(const Json::Value& command, Json::Value& reply);
  void Environment(const Json::Value& command, Json::Value& reply);
  void Describe(const Json::Value& command, Json::Value& reply);

  HostParts parts_;
  std::map<std::string, Instance> instances_;  // by the "as" name
  std::map<std::string, std::unique_ptr<AsyncCall>> asyncCalls_;  // by the "async" id's JSON text
  uint64_t serial_ = 0;
  ScratchRegistry registry_;
  std::vector<kel::UniqueEvent> inheritableEvents_;  // for "env", kept for the run
};

}  // namespace kelhost
