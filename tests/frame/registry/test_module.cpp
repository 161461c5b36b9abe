// Declarations that exist only in the test module, to exercise the registry
// through the real exports of a built DLL.
#include <atomic>
#include <stdexcept>
#include <string>

#include "frame/exported_declaration.h"
#include "frame/schema_source.h"
#include "tests/frame/registry/probe.h"

namespace {

std::atomic<int> g_serial{0};
std::atomic<int> g_live[kKindCount];

class Probe : public IRegistryProbe {
 public:
  Probe(const wchar_t* agentName, int kind)
      : serial_(++g_serial), kind_(kind), agentName_(agentName) {
    ++g_live[kind_];
  }
  void* QueryInterface(const kel::InterfaceId* iid) override {
    return *iid == IID_IKelBaseInterface || *iid == IID_IRegistryProbe ? this : nullptr;
  }
  int Serial() override { return serial_; }
  int Kind() override { return kind_; }
  const wchar_t* AgentName() override { return agentName_.c_str(); }
  virtual ~Probe() { --g_live[kind_]; }

 private:
  int serial_;
  int kind_;
  std::wstring agentName_;
};

// Describes itself, as an agent does; the document is not looked at here.
class CountedAgent final : public Probe, private ISchemaSource {
 public:
  explicit CountedAgent(const wchar_t* agentName) : Probe(agentName, kCounted) {}
  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (*iid == IID_ISchemaSource) return static_cast<ISchemaSource*>(this);
    return Probe::QueryInterface(iid);
  }
  uint32_t DescribeSchemas(Json::Value* document) override { return document ? 0 : 160; }
};

class Impostor final : public Probe {
 public:
  explicit Impostor(const wchar_t* agentName) : Probe(agentName, kImpostor) {}
};

class PerCallObject final : public Probe {
 public:
  PerCallObject() : Probe(L"", kPerCall) {}
};

class FailingAgent final : public Probe {
 public:
  explicit FailingAgent(const wchar_t* agentName) : Probe(agentName, kCounted) {
    throw std::runtime_error("construction fails");
  }
};

class Stats final : public IRegistryStats {
 public:
  void* QueryInterface(const kel::InterfaceId* iid) override {
    return *iid == IID_IKelBaseInterface || *iid == IID_IRegistryStats ? this : nullptr;
  }
  int Live(int kind) override { return g_live[kind]; }
  int DuplicateRegistrationResult() override;
  virtual ~Stats() = default;
};

ExportedSingletonDeclaration<CountedAgent> g_counted(L"Test.Counted");
ExportedSingletonDeclaration<Impostor> g_impostor(L"Test.Counted");  // refused: name taken
ExportedObjectDeclaration<PerCallObject> g_perCall(kel::WholeClassName{L"test.PerCall.Object"});
ExportedSingletonDeclaration<FailingAgent> g_failing(L"Test.Failing");
ExportedObjectDeclaration<Stats> g_stats(kel::WholeClassName{L"test.Stats"});

int Stats::DuplicateRegistrationResult() { return static_cast<int>(g_impostor.registration()); }

}  // namespace
