// The registry seen from the host: through LoadLibraryW, GetProcAddress and the
// two exports of real DLLs built by this project.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frame/exports.h"
#include "frame/owners.h"
#include "frame/proc_address.h"
#include "frame/win.h"
#include "tests/frame/registry/probe.h"

namespace {

// Names exported by a loaded PE image, read from its export directory.
std::set<std::string> ExportedNames(HMODULE module) {
  auto* base = reinterpret_cast<const unsigned char*>(module);
  auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  std::set<std::string> names;
  if (dir.VirtualAddress == 0) return names;
  auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + dir.VirtualAddress);
  auto* nameRvas = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
  for (DWORD i = 0; i < exports->NumberOfNames; ++i)
    names.insert(reinterpret_cast<const char*>(base + nameRvas[i]));
  // An empty slot of the address table is no export (lld starts the table at
  // ordinal 0 and leaves that slot empty); any other slot must have a name.
  auto* functionRvas = reinterpret_cast<const DWORD*>(base + exports->AddressOfFunctions);
  DWORD functions = 0;
  for (DWORD i = 0; i < exports->NumberOfFunctions; ++i)
    if (functionRvas[i] != 0) ++functions;
  EXPECT_EQ(functions, exports->NumberOfNames) << "unnamed (ordinal) exports";
  return names;
}

class ModuleExports : public ::testing::Test {
 protected:
  void Load(const wchar_t* file) {
    module_.reset(::LoadLibraryW(file));
    ASSERT_NE(module_.get(), nullptr) << "LoadLibraryW failed: " << ::GetLastError();
    create_ = kel::ProcAddress<KelCreateObjectFn>(module_.get(), "KelCreateObject");
    destroy_ = kel::ProcAddress<KelDestroyObjectFn>(module_.get(), "KelDestroyObject");
    ASSERT_NE(create_, nullptr);
    ASSERT_NE(destroy_, nullptr);
  }

  uint32_t Create(const wchar_t* name, const kel::InterfaceId& iid, void** out) {
    return create_(name, &iid, out);
  }
  IRegistryProbe* CreateProbe(const wchar_t* name) {
    void* out = nullptr;
    EXPECT_EQ(Create(name, IID_IRegistryProbe, &out), 0u)
        << "creating " << std::string(name, name + wcslen(name));
    return static_cast<IRegistryProbe*>(out);
  }
  IRegistryStats* Stats() {
    void* out = nullptr;
    EXPECT_EQ(Create(L"test.Stats", IID_IRegistryStats, &out), 0u);
    return static_cast<IRegistryStats*>(out);
  }
  int Live(int kind) {
    IRegistryStats* stats = Stats();
    if (!stats) return -1;
    const int live = stats->Live(kind);
    destroy_(L"test.Stats", stats);
    return live;
  }

  kel::UniqueModule module_;
  KelCreateObjectFn create_ = nullptr;
  KelDestroyObjectFn destroy_ = nullptr;
};

// Exactly the two entry points and the tooling one, and they refuse unknown
// names and null arguments.
TEST_F(ModuleExports, ProductModuleExportsTheTwoEntryPointsOnly) {
  Load(L"kelagents.dll");
  EXPECT_EQ(ExportedNames(module_.get()),
            (std::set<std::string>{"KelCreateObject", "KelDescribeClasses", "KelDestroyObject"}));
  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(Create(L"No.Such.Agent", IID_IKelBaseInterface, &out), 1168u);
  EXPECT_EQ(out, nullptr);
  out = reinterpret_cast<void*>(1);
  EXPECT_EQ(create_(nullptr, &IID_IKelBaseInterface, &out), 160u);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(create_(L"No.Such.Agent", nullptr, &out), 160u);
  EXPECT_EQ(create_(L"No.Such.Agent", &IID_IKelBaseInterface, nullptr), 160u);
  destroy_(nullptr, nullptr);
}

class RegistryThroughExports : public ModuleExports {
 protected:
  void SetUp() override { Load(L"test_registry_module.dll"); }
};

// The test module declares "Test.Counted" twice: the second declaration is
// refused and the first serves the name.
TEST_F(RegistryThroughExports, SingletonIsSharedUntilItsLastReferenceIsGivenBack) {
  IRegistryStats* stats = Stats();
  ASSERT_NE(stats, nullptr);
  EXPECT_EQ(stats->DuplicateRegistrationResult(), 183);
  destroy_(L"test.Stats", stats);

  IRegistryProbe* first = CreateProbe(L"Test.Counted.Agent");
  IRegistryProbe* second = CreateProbe(L"Test.Counted.Agent");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(first->Kind(), kCounted);
  EXPECT_EQ(Live(kImpostor), 0);
  EXPECT_STREQ(first->AgentName(), L"Test.Counted");
  const int serial = first->Serial();

  destroy_(L"Test.Counted.Agent", second);
  EXPECT_EQ(Live(kCounted), 1) << "one reference is still out";
  EXPECT_EQ(first->Serial(), serial);
  destroy_(L"Test.Counted.Agent", first);
  EXPECT_EQ(Live(kCounted), 0);

  IRegistryProbe* fresh = CreateProbe(L"Test.Counted.Agent");
  ASSERT_NE(fresh, nullptr);
  EXPECT_NE(fresh->Serial(), serial);
  destroy_(L"Test.Counted.Agent", fresh);
  EXPECT_EQ(Live(kCounted), 0);
}

TEST_F(RegistryThroughExports, PerCallObjectsAreDistinctAndOwnedByTheCaller) {
  IRegistryProbe* a = CreateProbe(L"test.PerCall.Object");
  IRegistryProbe* b = CreateProbe(L"test.PerCall.Object");
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  EXPECT_NE(a->Serial(), b->Serial());
  EXPECT_EQ(Live(kPerCall), 2);
  destroy_(L"test.PerCall.Object", a);
  EXPECT_EQ(Live(kPerCall), 1);

  // A pointer of another class given back under this name is not freed.
  IRegistryProbe* singleton = CreateProbe(L"Test.Counted.Agent");
  destroy_(L"test.PerCall.Object", singleton);
  EXPECT_EQ(Live(kCounted), 1);
  destroy_(L"Test.Counted.Agent", singleton);
  destroy_(L"test.PerCall.Object", b);
  EXPECT_EQ(Live(kPerCall), 0);
}

TEST_F(RegistryThroughExports, RefusedCreatesYieldNotFoundAndKeepNothing) {
  const kel::InterfaceId unknown{1, 2};
  IRegistryProbe* held = nullptr;
  for (const bool holding : {false, true}) {
    if (holding) held = CreateProbe(L"Test.Counted.Agent");
    for (const wchar_t* name : {L"test.counted.agent", L"Test.Counted", L"Test.Failing.Agent"}) {
      void* out = reinterpret_cast<void*>(1);
      EXPECT_EQ(Create(name, IID_IKelBaseInterface, &out), 1168u) << holding;
      EXPECT_EQ(out, nullptr);
    }
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(Create(L"Test.Counted.Agent", unknown, &out), 1168u);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Live(kCounted), holding ? 1 : 0) << holding;
  }
  destroy_(L"Unknown.Agent", reinterpret_cast<void*>(0x1234));  // ignored, not dereferenced
  destroy_(L"Test.Counted.Agent", held);
  EXPECT_EQ(Live(kCounted), 0) << "no failed create may have kept a reference";
}

// What the describe export hands its visitor: every class in name order, each
// object's schema source or null, and each object given back afterwards, so
// that a singleton the caller holds keeps its instance and its count.
TEST_F(RegistryThroughExports, DescribeVisitsEveryClassAndGivesItsObjectBack) {
  const auto describe = kel::ProcAddress<KelDescribeClassesFn>(module_.get(), "KelDescribeClasses");
  ASSERT_NE(describe, nullptr);
  using Visits = std::vector<std::pair<std::wstring, bool>>;  // class, has a source
  const KelSchemaVisitor record = [](const wchar_t* name, ISchemaSource* source, void* context) {
    static_cast<Visits*>(context)->emplace_back(name, source != nullptr);
  };
  const Visits every = {{L"Test.Counted.Agent", true},
                        {L"Test.Failing.Agent", false},  // cannot be made
                        {L"test.PerCall.Object", false},
                        {L"test.Stats", false}};
  for (const bool holding : {false, true}) {
    IRegistryProbe* held = holding ? CreateProbe(L"Test.Counted.Agent") : nullptr;
    const int serial = held ? held->Serial() : 0;
    Visits visits;
    EXPECT_EQ(describe(nullptr, record, &visits), 0u);
    EXPECT_EQ(visits, every) << holding;
    visits.clear();
    EXPECT_EQ(describe(L"Test.Counted.Agent", record, &visits), 0u);
    EXPECT_EQ(visits, (Visits{{L"Test.Counted.Agent", true}}));
    EXPECT_EQ(Live(kCounted), holding ? 1 : 0) << "described objects are given back";
    EXPECT_EQ(Live(kPerCall), 0);
    if (held) {
      EXPECT_EQ(held->Serial(), serial) << "the held singleton was described, not replaced";
      destroy_(L"Test.Counted.Agent", held);
      EXPECT_EQ(Live(kCounted), 0) << "describing left no reference behind";
    }
  }
  Visits visits;
  EXPECT_EQ(describe(L"test.counted.agent", record, &visits), 1168u);
  EXPECT_EQ(describe(L"Test.Counted.Agent", nullptr, &visits), 160u);
  EXPECT_TRUE(visits.empty());
}

TEST_F(RegistryThroughExports, ConcurrentCreateAndDestroyKeepTheCountExact) {
  auto worker = [this] {
    for (int i = 0; i < 500; ++i) {
      void* out = nullptr;
      if (Create(L"Test.Counted.Agent", IID_IRegistryProbe, &out) == 0)
        destroy_(L"Test.Counted.Agent", out);
    }
  };
  IRegistryProbe* held = CreateProbe(L"Test.Counted.Agent");
  const int serial = held->Serial();
  std::thread t1(worker), t2(worker);
  t1.join();
  t2.join();
  EXPECT_EQ(held->Serial(), serial) << "the held reference kept the instance alive throughout";
  destroy_(L"Test.Counted.Agent", held);
  EXPECT_EQ(Live(kCounted), 0);
}

}  // namespace
