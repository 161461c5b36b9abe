// The module loaded from its file as kelhost loads it, with the recording
// log.dll beside it.
#include "host/kelhost/module_host.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame/win.h"
#include "host/kelhost/component_manager.h"
#include "host/kelhost/expectations.h"
#include "host/kelhost/session.h"
#include "host/plugins/plugins.h"
#include "tests/host/json_text.h"

namespace kelhost {
namespace {

std::wstring ProgramFolder() {
  std::vector<wchar_t> path(32768);
  const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  const std::wstring self(path.data(), length);
  return self.substr(0, self.find_last_of(L'\\') + 1);
}

TEST(ModuleHostTest, AMissingModuleOrOneWithoutTheExportsIsAProblemNotACrash) {
  const std::pair<const wchar_t*, const char*> cases[] = {
      {L"no_such_module.dll", "cannot load"}, {L"log.dll", "lacks KelCreateObject"}};
  for (const auto& c : cases) {
    ModuleHost module;
    std::string problem;
    EXPECT_FALSE(module.Load(ProgramFolder() + c.first, problem));
    EXPECT_NE(problem.find(c.second), std::string::npos) << problem;
    EXPECT_EQ(module.create(), nullptr);
  }
}

TEST(ModuleHostTest, TheModulesLinesReachTheLogFileAndTheDrain) {
  const std::wstring logFile = ProgramFolder() + L"module_host_test.log";
  ::DeleteFileW(logFile.c_str());
  {
    ModuleHost module;
    std::string problem;
    ASSERT_TRUE(module.Load(ProgramFolder() + L"test_host_module.dll", problem)) << problem;
    ASSERT_NE(module.drainLines(), nullptr);
    ASSERT_NE(module.setOutputFile(), nullptr);
    ASSERT_TRUE(module.setOutputFile()(logFile.c_str()));

    PluginRegistry plugins{MakeReferencePlugins()};
    Manager manager;
    ComponentManager components{manager, plugins};
    ServMain servMain{&components};
    Session session{HostParts{&manager, &components, &servMain, &plugins, module.create(),
                              module.destroy(), module.drainLines(), module.describe()}};
    session.Execute(J(R"({"op":"log"})"));  // whatever came before
    for (const char* command :
         {R"({"op":"create","class":"Test.Fake.Agent","as":"f"})", R"({"op":"init","agent":"f"})",
          R"({"op":"call","agent":"f","method":"Log","input":{"message":"one"}})",
          R"({"op":"destroy","agent":"f"})"}) {
      const Json::Value reply = session.Execute(J(command));
      EXPECT_FALSE(reply.isMember("error")) << command << ": " << CompactJson(reply);
    }
    EXPECT_TRUE(JsonEqual(session.Execute(J(R"({"op":"log"})"))["lines"],
                          J(R"([{"level":8,"function":"Fake::Agent::RunPolicyMethod",
                                 "message":"Fake says one"}])")));
    module.setOutputFile()(nullptr);
  }
  std::ifstream in(std::filesystem::path(logFile), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text, "8\tFake::Agent::RunPolicyMethod\tFake says one\r\n");
}

}  // namespace
}  // namespace kelhost
