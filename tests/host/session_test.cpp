#include "host/kelhost/session.h"

#include <atomic>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "host/kelhost/component_manager.h"
#include "host/kelhost/expectations.h"
#include "host/kelhost/runner.h"
#include "host/plugins/plugins.h"
#include "tests/host/fake_agent.h"
#include "tests/host/json_text.h"

namespace kelhost {
namespace {

// An object that is no agent: it answers the base interface only.
class PlainObject final : public IKelBaseInterface {
 public:
  void* QueryInterface(const kel::InterfaceId* iid) override {
    return *iid == IID_IKelBaseInterface ? this : nullptr;
  }
};

std::atomic<int> g_live{0};

// The exports of a module with a per-call fake agent and a plain object.
uint32_t FakeCreate(const wchar_t* className, const kel::InterfaceId* iid, void** object) {
  *object = nullptr;
  const std::wstring name(className);
  void* answer = nullptr;
  if (name == L"Test.Fake.Agent") {
    auto* agent = new fake::FakeAgent(L"Test.Fake");
    answer = agent->QueryInterface(iid);
    if (answer == nullptr) delete agent;
  } else if (name == L"Test.Plain") {
    auto* plain = new PlainObject();
    answer = plain->QueryInterface(iid);
    if (answer == nullptr) delete plain;
  }
  if (answer == nullptr) return 1168;
  ++g_live;
  *object = answer;
  return 0;
}

void FakeDestroy(const wchar_t* className, void* object) {
  const std::wstring name(className);
  if (name == L"Test.Fake.Agent") {
    delete static_cast<fake::FakeAgent*>(static_cast<EnterpriseIntegration::IAgent*>(object));
  } else if (name == L"Test.Plain") {
    delete static_cast<PlainObject*>(static_cast<IKelBaseInterface*>(object));
  } else {
    return;
  }
  --g_live;
}

class SessionTest : public ::testing::Test {
 protected:
  ~SessionTest() override {
    session.Shutdown();
    EXPECT_EQ(g_live.load(), 0);
  }

  Json::Value Run(const std::string& text) { return session.Execute(J(text)); }

  // The reply must hold `expected` (as "expectHas" would check it).
  void ExpectReply(const std::string& command, const std::string& expected) {
    const Json::Value reply = Run(command);
    EXPECT_TRUE(JsonContains(reply, J(expected)))
        << command << "\n  replied " << CompactJson(reply) << "\n  expected " << expected;
  }

  void StartFake() {
    ExpectReply(R"({"op":"create","class":"Test.Fake.Agent","as":"fake"})", R"({"result":0})");
    ExpectReply(R"({"op":"init","agent":"fake"})", R"({"result":0})");
    ExpectReply(R"({"op":"start","agent":"fake"})", R"({"result":0})");
  }

  PluginRegistry plugins{MakeReferencePlugins()};
  Manager manager;
  ComponentManager components{manager, plugins};
  ServMain servMain{&components};
  Session session{
      HostParts{&manager, &components, &servMain, &plugins, &FakeCreate, &FakeDestroy, nullptr,
                nullptr}};
};

TEST_F(SessionTest, ShutdownGivesBackWhatTheScriptLeft) {
  StartFake();
  ExpectReply(R"({"op":"create","class":"Test.Plain","as":"p"})", R"({"result":0})");
  EXPECT_EQ(g_live.load(), 2);
  session.Shutdown();
  EXPECT_EQ(g_live.load(), 0);
  // The registered agent unregistered itself on its way out.
  ExpectReply(R"({"op":"manager"})", R"({"registered":[]})");
  ExpectReply(R"({"op":"init","agent":"fake"})", R"({"error":"agent destroyed"})");
}

TEST(ComponentManagerTest, CodesForEachRefusal) {
  PluginRegistry plugins{MakeReferencePlugins()};
  Manager manager;
  ComponentManager components{manager, plugins};
  void* object = &manager;
  const kel::InterfaceId unknownIid{1, 2};
  EXPECT_EQ(components.GetComponent(L"No.Such", &IID_IKelBaseInterface, &object), 1168u);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(components.GetComponent(L"Test.Sample", &unknownIid, &object), 50u);
  EXPECT_EQ(components.GetComponent(nullptr, &unknownIid, &object), 87u);
  EXPECT_EQ(components.GetComponent(L"Test.Sample", nullptr, &object), 87u);
  EXPECT_EQ(components.GetComponent(L"Test.Sample", &unknownIid, nullptr), 87u);
  EXPECT_EQ(components.Held(L"Test.Sample"), 0u);
  ASSERT_EQ(components.GetComponent(EnterpriseIntegration::kManagerComponentName,
                                    &EnterpriseIntegration::IID_IManager, &object),
            0u);
  EXPECT_EQ(object, static_cast<EnterpriseIntegration::IManager*>(&manager));
  components.ReleaseComponent(EnterpriseIntegration::kManagerComponentName);
  components.ReleaseComponent(EnterpriseIntegration::kManagerComponentName);
  components.ReleaseComponent(nullptr);
  EXPECT_EQ(components.Held(EnterpriseIntegration::kManagerComponentName), 0u);
  EXPECT_EQ(components.UnmatchedReleases(EnterpriseIntegration::kManagerComponentName), 1u);
}

class RunnerTest : public SessionTest {
 protected:
  // Runs `script`; returns the reply lines.
  std::vector<Json::Value> RunScript(const std::string& script) {
    std::istringstream in(script);
    runner.Run(in, "test.jsonl");
    std::vector<Json::Value> replies;
    std::istringstream replyText(output.str());
    std::string line;
    while (std::getline(replyText, line)) replies.push_back(J(line));
    output.str("");
    return replies;
  }

  std::ostringstream output;
  std::ostringstream diagnostics;
  Runner runner{session, output, diagnostics};
};

TEST_F(RunnerTest, OneReplyPerCommandAndAllHeldWhenNothingFailed) {
  const auto replies = RunScript(
      "# comment\n"
      "{\"op\":\"sleep\",\"ms\":0,\"expect\":{\"op\":\"sleep\"}}\n"
      "\n"
      "{\"op\":\"fly\",\"expect\":{\"error\":\"unknown op\"}}\n"
      "{\"op\":\"create\",\"class\":\"Nope\",\"expectHas\":{\"result\":1168},"
      "\"expectAbsent\":[\"error\"]}\n");
  ASSERT_EQ(replies.size(), 3u);
  EXPECT_TRUE(JsonEqual(replies[0], J(R"({"op":"sleep"})")));
  EXPECT_EQ(replies[1]["error"].asString(), "unknown op");
  EXPECT_FALSE(replies[1].isMember("ok"));
  EXPECT_TRUE(runner.AllHeld());
  EXPECT_EQ(diagnostics.str(), "");
}

TEST_F(RunnerTest, EachKindOfFailureFailsTheRunAndIsReported) {
  const auto replies = RunScript(
      "{\"op\":\"create\",\"class\":\"Nope\",\"expect\":{\"result\":0}}\n"
      "{not json}\n"
      "{\"op\":\"fly\"}\n"
      "{\"op\":\"fly\",\"expect\":{\"error\":\"something else\"}}\n"
      "{\"op\":\"sleep\",\"ms\":0}\n");
  ASSERT_EQ(replies.size(), 5u);
  EXPECT_TRUE(JsonEqual(replies[0], J(R"({"op":"create","result":1168,"ok":false,
      "mismatch":"expect \"result\": expected 0, got 1168"})")));
  EXPECT_TRUE(JsonContains(replies[1], J(R"({"error":"unreadable line","line":2})")));
  EXPECT_EQ(replies[2]["error"].asString(), "unknown op");
  EXPECT_FALSE(replies[2].isMember("ok"));
  EXPECT_TRUE(JsonContains(replies[3], J(R"({"error":"unknown op","ok":false})")));
  EXPECT_TRUE(JsonEqual(replies[4], J(R"({"op":"sleep"})")));
  EXPECT_EQ(runner.FailedLines(), 4u);
  EXPECT_FALSE(runner.AllHeld());
  const std::string notes = diagnostics.str();
  for (const char* where :
       {"test.jsonl:1: ", "test.jsonl:2: ", "test.jsonl:3: ", "test.jsonl:4: "}) {
    EXPECT_NE(notes.find(where), std::string::npos) << where << " in\n" << notes;
  }
  EXPECT_EQ(notes.find("test.jsonl:5: "), std::string::npos) << notes;
}

}  // namespace
}  // namespace kelhost
