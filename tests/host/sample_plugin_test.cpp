// The reference plug-in "Test.Sample" at its interface, as an agent sees it.
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/kelhost/plugin_registry.h"
#include "host/plugins/plugins.h"
#include "sdk/sample/isample.h"
#include "tests/host/json_text.h"

namespace kelhost {
namespace {

using kel::nusdk::Sample::ISample;
using kel::nusdk::Sample::ISampleNotifications;
using kel::nusdk::Sample::SampleSettings;

std::vector<std::wstring> Servers(const SampleSettings& settings) {
  std::vector<std::wstring> servers;
  for (const kel::StringW& server : settings.servers) servers.push_back(server.ToStd());
  return servers;
}

class RecordingSink final : public ISampleNotifications {
 public:
  uint32_t OnSettingsChanged(const SampleSettings& settings) override {
    names.push_back(settings.name.ToStd());
    threads.push_back(std::this_thread::get_id());
    return 0;
  }
  std::vector<std::wstring> names;
  std::vector<std::thread::id> threads;
};

class SamplePluginTest : public ::testing::Test {
 protected:
  SamplePluginTest() {
    plugin = registry.Find(L"Test.Sample");
    if (plugin != nullptr) {
      sample = static_cast<ISample*>(plugin->Interface(kel::nusdk::Sample::IID_ISample));
    }
  }

  PluginRegistry registry{MakeReferencePlugins()};
  ReferencePlugin* plugin = nullptr;
  ISample* sample = nullptr;
};

TEST_F(SamplePluginTest, StoresACopyAndAForcedFailureStopsEveryOperation) {
  ASSERT_NE(sample, nullptr);
  SampleSettings stored;
  stored.enabled = 0;
  stored.name = L"x";
  stored.servers.EmplaceBack(L"a");
  stored.servers.EmplaceBack(L"b");
  ASSERT_EQ(sample->SetSettings(stored), 0u);
  // The caller's structure is its own: changing it afterwards changes nothing stored.
  stored.servers.RemoveAll();
  stored.name = L"changed";
  // A target with old contents is replaced, not appended to.
  SampleSettings read;
  read.servers.EmplaceBack(L"stale");
  ASSERT_EQ(sample->GetSettings(read), 0u);
  EXPECT_EQ(read.enabled, 0);
  EXPECT_EQ(read.name, L"x");
  EXPECT_EQ(Servers(read), (std::vector<std::wstring>{L"a", L"b"}));

  RecordingSink sink;
  plugin->SetFailure(31);
  EXPECT_EQ(sample->SetSettings(stored), 31u);
  EXPECT_EQ(sample->GetSettings(read), 31u);
  EXPECT_EQ(sample->Advise(&sink), 31u);
  EXPECT_EQ(sample->Unadvise(&sink), 31u);
  plugin->SetFailure(0);
  ASSERT_EQ(sample->GetSettings(read), 0u);
  EXPECT_EQ(read.name, L"x");
  // Advise was refused, so nothing is delivered.
  EXPECT_EQ(plugin->Notify("OnSettingsChanged", J("{}")).delivered, 0u);
}

TEST_F(SamplePluginTest, SinksAreRegisteredOnceAndCalledOnAnotherThread) {
  ASSERT_NE(sample, nullptr);
  RecordingSink first;
  RecordingSink second;
  EXPECT_EQ(sample->Advise(&first), 0u);
  EXPECT_EQ(sample->Advise(&first), 183u);
  EXPECT_EQ(sample->Advise(nullptr), 87u);
  EXPECT_EQ(sample->Advise(&second), 0u);

  EXPECT_EQ(plugin->Notify("OnSettingsChanged", J(R"({"name":"n1"})")).delivered, 2u);
  EXPECT_EQ(first.names, std::vector<std::wstring>{L"n1"});
  ASSERT_EQ(first.threads.size(), 1u);
  EXPECT_NE(first.threads[0], std::this_thread::get_id());

  EXPECT_EQ(sample->Unadvise(&first), 0u);
  EXPECT_EQ(sample->Unadvise(&first), 1168u);
  EXPECT_EQ(plugin->Notify("OnSettingsChanged", J(R"({"name":"n2"})")).delivered, 1u);
  EXPECT_EQ(second.names, (std::vector<std::wstring>{L"n1", L"n2"}));
}

}  // namespace
}  // namespace kelhost
