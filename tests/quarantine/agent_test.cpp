// The quarantine agent in process, against stand-ins for its two plug-ins:
// what it hands the release service, and what it does with part trees no
// answer can hold.
#include "quarantine/quarantine_agent.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quarantine/item_writer.h"
#include "tests/agent/fakes.h"

namespace {

namespace q = kel::nusdk::MailServers::Quarantine;
using q::IQuarantine;
using q::IReleaseEmail;
using QuarantineAgent::DataEx;
using QuarantineAgent::MailPartInfo;

constexpr uint32_t kNotSupported = 50;

std::vector<std::wstring> Texts(const kel::List<kel::StringW>& list) {
  std::vector<std::wstring> texts;
  for (const kel::StringW& text : list) texts.emplace_back(text.c_str());
  return texts;
}

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

// Keeps what each request carried.
class RecordingRelease final : public IReleaseEmail {
 public:
  struct Request {
    std::vector<std::wstring> keys;
    uint8_t excludeLocal = 0;
    uint8_t excludeDomain = 0;
    std::vector<std::wstring> recipients;
    uint8_t original = 0;
  };
  std::vector<Request> requests;

  void* QueryInterface(const kel::InterfaceId*) override { return nullptr; }
  uint32_t ReleaseEmails(const kel::List<kel::StringW>&, const q::ReleaseSettings& settings,
                         const kel::StringW&) override {
    requests.push_back({Texts(settings.exclusionKeys), settings.excludeLocalKeys,
                        settings.excludeDomainKeys, Texts(settings.recipients),
                        settings.sendToOriginalRecipients});
    return 0;
  }
  uint32_t ReplayEmails(const kel::List<kel::StringW>&, uint8_t,
                        const kel::List<kel::StringW>& keys, uint8_t excludeLocal,
                        uint8_t excludeDomain, const kel::StringW&) override {
    requests.push_back({Texts(keys), excludeLocal, excludeDomain, {}, 0});
    return 0;
  }
  uint32_t RegisterNotifications(INotifications*) override { return 0; }
  uint32_t UnregisterNotifications(INotifications*) override { return 0; }
};

class QuarantineAgentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(q::kComponentName, q::IID_IQuarantine, static_cast<IQuarantine*>(&store_));
    components_.Offer(q::kReleaseEmailComponentName, q::IID_IReleaseEmail,
                      static_cast<IReleaseEmail*>(&release_));
    ASSERT_EQ(agent_.Init(&main_), 0u);
  }

  kel::test::FakePolicyMethod Call(const wchar_t* name, Json::Value input) {
    kel::test::FakePolicyMethod method(name, std::move(input));
    agent_.RunPolicyMethod(&method);
    return method;
  }

  static Json::Value Input(std::initializer_list<std::pair<const char*, Json::Value>> members) {
    Json::Value input(Json::objectValue);
    for (const auto& member : members) input[member.first] = member.second;
    return input;
  }

  static Json::Value Array(std::initializer_list<const char*> texts) {
    Json::Value array(Json::arrayValue);
    for (const char* text : texts) array.append(text);
    return array;
  }

  kel::test::FakeComponentManager components_;
  kel::test::FakeServMain main_{&components_};
  kelhost::Manager manager_;
  DeepStore store_;
  RecordingRelease release_;
  QuarantineAgent::Agent agent_;
};

// Part trees past the bound reach the agent from the store: the answer is
// refused (1359, nothing written) and the trees are let go of without
// overflowing the stack.
TEST_F(QuarantineAgentTest, TreesTooDeepToAnswerAreRefusedAndFreed) {
  const struct {
    const wchar_t* method;
    Json::Value input;
  } rows[] = {
      {L"GetItemFull", Input({{"zone", "emails"}, {"id", "x"}})},
      {L"GetItemsFull", Input({{"zone", "emails"}, {"from", 0}, {"count", 3}})},
      {L"GetItemsByIdFull", Input({{"zone", "files"}, {"ids", Array({"x", "y"})}})},
  };
  for (const auto& row : rows) {
    const int before = store_.calls;
    const kel::test::FakePolicyMethod method = Call(row.method, row.input);
    EXPECT_EQ(method.result, 1359u);
    EXPECT_TRUE(method.output.isNull());
    EXPECT_EQ(store_.calls, before + 1);
  }
  store_.depth = QuarantineAgent::kMaxPartDepth;
  EXPECT_EQ(Call(L"GetItemFull", Input({{"zone", "emails"}, {"id", "x"}})).result, 0u);
}

// The keywords of the two lists become flags and never reach the plug-in as
// entries; anything else, "<LOCAL>" included, is passed on in order.
TEST_F(QuarantineAgentTest, KeywordsBecomeFlags) {
  using Request = RecordingRelease::Request;
  const Json::Value none;
  const struct {
    const char* what;
    bool replay;
    Json::Value keys;    // null: not sent
    Json::Value sendTo;  // null: not sent
    Request expected;
  } rows[] = {
      {"nothing optional", false, none, none, {{}, 0, 0, {}, 0}},
      {"original and one",
       false,
       none,
       Array({"<original>", "a@x.test"}),
       {{}, 0, 0, {L"a@x.test"}, 1}},
      {"original only", false, none, Array({"<original>"}), {{}, 0, 0, {}, 1}},
      {"keys mixed",
       false,
       Array({"K1", "<domain>", "<LOCAL>", "K2"}),
       Array({"b@x.test"}),
       {{L"K1", L"<LOCAL>", L"K2"}, 0, 1, {L"b@x.test"}, 0}},
      {"replay both keywords", true, Array({"<local>", "<domain>"}), none, {{}, 1, 1, {}, 0}},
      {"replay without keys", true, none, none, {{}, 0, 0, {}, 0}},
      {"replay keyword twice",
       true,
       Array({"<local>", "K", "<local>"}),
       none,
       {{L"K"}, 1, 0, {}, 0}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Json::Value input = Input({{"ids", Array({"m1"})}, {"context", "c"}});
    if (row.replay) {
      input["deleteFromQuarantine"] = true;
    } else {
      input["user"] = "u";
      input["password"] = "p";
      input["subject"] = "s";
      input["message"] = "m";
    }
    if (!row.keys.isNull()) input["exclusionKeys"] = row.keys;
    if (!row.sendTo.isNull()) input["sendTo"] = row.sendTo;
    release_.requests.clear();
    EXPECT_EQ(Call(row.replay ? L"ReplayEmails" : L"ReleaseEmails", input).result, 0u);
    ASSERT_EQ(release_.requests.size(), 1u);
    const Request& got = release_.requests[0];
    EXPECT_EQ(got.keys, row.expected.keys);
    EXPECT_EQ(got.excludeLocal, row.expected.excludeLocal);
    EXPECT_EQ(got.excludeDomain, row.expected.excludeDomain);
    EXPECT_EQ(got.recipients, row.expected.recipients);
    EXPECT_EQ(got.original, row.expected.original);
  }
}

}  // namespace
