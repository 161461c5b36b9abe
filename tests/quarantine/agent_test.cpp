// The quarantine agent in process, against a store whose part trees no answer
// can hold: scripts cannot build trees that deep. What it hands the release
// service and everything else runs end to end in tests/host/quarantine.jsonl.
#include "quarantine/quarantine_agent.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/plugins/plugins.h"
#include "quarantine/item_writer.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"

namespace {

namespace q = kel::nusdk::MailServers::Quarantine;
using q::IQuarantine;
using QuarantineAgent::DataEx;
using QuarantineAgent::MailPartInfo;

constexpr uint32_t kNotSupported = 50;

// A part chain `depth` levels deep, built without recursion.
MailPartInfo Chain(size_t depth) {
  MailPartInfo root;
  root.contentType = L"text/plain";
  for (size_t level = 1; level < depth; ++level) {
    MailPartInfo parent;
    parent.contentType = L"multipart/mixed";
    parent.childParts.EmplaceBack(std::move(root));
    root = std::move(parent);
  }
  return root;
}

// Hands out items whose part tree is `depth` levels deep; nothing else.
class DeepStore final : public IQuarantine {
 public:
  size_t depth = 100000;
  int calls = 0;

  void* QueryInterface(const kel::InterfaceId*) override { return nullptr; }
  uint32_t GetFolder(q::Zone, kel::StringW&) override { return Unsupported(); }
  uint32_t SetFolder(q::Zone, const kel::StringW&, uint8_t) override { return Unsupported(); }
  uint32_t DeleteItems(q::Zone, const kel::List<kel::StringW>&, const kel::StringW&,
                       kel::List<Error>&) override {
    return Unsupported();
  }
  uint32_t SaveItem(q::Zone, const kel::StringW&, const kel::StringW&, uint8_t) override {
    return Unsupported();
  }
  uint32_t SaveItemsToFolder(q::Zone, const kel::List<kel::StringW>&, const kel::StringW&, uint8_t,
                             kel::List<SavedItem>&) override {
    return Unsupported();
  }
  uint32_t GetItem(q::Zone, const kel::StringW&, q::Data&) override { return Unsupported(); }
  uint32_t GetItemEx(q::Zone, const kel::StringW& id, DataEx& item) override {
    ++calls;
    Fill(item, id);
    return 0;
  }
  uint32_t GetItems(q::Zone, uint32_t, uint32_t, uint64_t&, kel::List<q::Data>&) override {
    return Unsupported();
  }
  uint32_t GetItemsEx(q::Zone, uint32_t, uint32_t count, uint64_t& total,
                      kel::List<DataEx>& items) override {
    ++calls;
    total = count;
    for (uint32_t i = 0; i < count; ++i) Fill(items.EmplaceBack(), L"deep");
    return 0;
  }
  uint32_t GetItemIds(q::Zone, uint32_t, uint32_t, uint64_t&, kel::List<kel::StringW>&) override {
    return Unsupported();
  }
  uint32_t GetItemsById(q::Zone, const kel::List<kel::StringW>&, kel::List<q::Data>&,
                        kel::List<Error>&) override {
    return Unsupported();
  }
  uint32_t GetItemsByIdEx(q::Zone, const kel::List<kel::StringW>& ids, kel::List<DataEx>& items,
                          kel::List<Error>&) override {
    ++calls;
    for (const kel::StringW& id : ids) Fill(items.EmplaceBack(), id);
    return 0;
  }
  uint32_t Empty(q::Zone) override { return Unsupported(); }
  uint32_t SetPurgeSettings(q::Zone, const q::PurgeSettings&) override { return Unsupported(); }
  uint32_t GetPurgeSettings(q::Zone, q::PurgeSettings&) override { return Unsupported(); }
  uint32_t Purge(q::Zone, const q::PurgeSettings&) override { return Unsupported(); }
  uint32_t RegisterNotifications(INotifications*, void*) override { return 0; }
  uint32_t UnregisterNotifications(INotifications*, void*) override { return 0; }

 private:
  uint32_t Unsupported() {
    ++calls;
    return kNotSupported;
  }
  void Fill(DataEx& item, const kel::StringW& id) const {
    item.id = id;
    item.module = q::kModuleAntispam;
    item.mainPart = Chain(depth);
  }
};

class QuarantineAgentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(q::kComponentName, q::IID_IQuarantine, static_cast<IQuarantine*>(&store_));
    for (auto& plugin : plugins_) {
      if (std::wstring(plugin->ComponentName()) == q::kReleaseEmailComponentName)
        components_.Offer(q::kReleaseEmailComponentName, q::IID_IReleaseEmail,
                          plugin->Interface(q::IID_IReleaseEmail));
    }
    ASSERT_EQ(agent_.Init(&main_), 0u);
  }

  kel::test::FakePolicyMethod Call(const wchar_t* name, Json::Value input) {
    kel::test::FakePolicyMethod method(name, std::move(input));
    agent_.RunPolicyMethod(&method);
    return method;
  }

  kel::test::FakeComponentManager components_;
  kel::test::FakeServMain main_{&components_};
  kelhost::Manager manager_;
  DeepStore store_;
  std::vector<std::unique_ptr<kelhost::ReferencePlugin>> plugins_ = kelhost::MakeReferencePlugins();
  QuarantineAgent::Agent agent_;
};

// Part trees past the bound reach the agent from the store: the answer is
// refused (1359, nothing written) and the trees are let go of without
// overflowing the stack.
TEST_F(QuarantineAgentTest, TreesTooDeepToAnswerAreRefusedAndFreed) {
  const struct {
    const wchar_t* method;
    const char* input;
  } rows[] = {
      {L"GetItemFull", R"({"zone": "emails", "id": "x"})"},
      {L"GetItemsFull", R"({"zone": "emails", "from": 0, "count": 3})"},
      {L"GetItemsByIdFull", R"({"zone": "files", "ids": ["x", "y"]})"},
  };
  for (const auto& row : rows) {
    const int before = store_.calls;
    const kel::test::FakePolicyMethod method = Call(row.method, json_test::Parse(row.input));
    EXPECT_EQ(method.result, 1359u);
    EXPECT_TRUE(method.output.isNull());
    EXPECT_EQ(store_.calls, before + 1);
  }
  store_.depth = QuarantineAgent::kMaxPartDepth;
  EXPECT_EQ(Call(L"GetItemFull", json_test::Parse(R"({"zone": "emails", "id": "x"})")).result, 0u);
}

}  // namespace
