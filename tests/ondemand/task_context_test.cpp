// Contexts go to the plug-in wrapped and come back unwrapped; whatever the
// plug-in hands back, unwrapping answers something and never throws.
#include <string>

#include <ostream>

#include <gtest/gtest.h>

#include "ondemand/task_context.h"
#include "tests/ondemand/ondemand_test_util.h"

namespace {

using MailServers::UnwrapContext;
using MailServers::WrapContext;

TEST(TaskContext, WrapsIntoDataWithThePolicyAndUnwrapsBack) {
  const kel::StringW wrapped = WrapContext("scan \"all\" \xC3\xA9", "policy-1");
  const Json::Value document =
      ondemand_test::Parse(kel::Utf8FromWide(wrapped.c_str(), wrapped.Length()));
  EXPECT_EQ(document["data"]["context"].asString(), "scan \"all\" \xC3\xA9");
  EXPECT_EQ(document["data"]["policyId"].asString(), "policy-1");
  const MailServers::TaskContext back = UnwrapContext(wrapped);
  EXPECT_EQ(back.context, "scan \"all\" \xC3\xA9");
  EXPECT_EQ(back.policyId, "policy-1");
}

struct UnwrapCase {
  const char* name;
  std::string text;
  std::string context;  // expected
  std::string policyId;
};
// Failures name the case, not its bytes.
void PrintTo(const UnwrapCase& c, std::ostream* os) { *os << c.name; }

class Unwrap : public ::testing::TestWithParam<UnwrapCase> {};

TEST_P(Unwrap, AnswersTheTextItselfWhenItIsNotWrapped) {
  const std::wstring wide = kel::WideFromUtf8(GetParam().text);
  const MailServers::TaskContext got = UnwrapContext(kel::StringW(wide.c_str(), wide.size()));
  EXPECT_EQ(got.context, GetParam().context);
  EXPECT_EQ(got.policyId, GetParam().policyId);
}

// Deeper than jsoncpp's reader allows: it throws rather than answering false.
std::string TooDeep() { return std::string(5000, '[') + std::string(5000, ']'); }

INSTANTIATE_TEST_SUITE_P(
    OnDemand, Unwrap,
    ::testing::Values(UnwrapCase{"Empty", "", "", ""},
                      UnwrapCase{"NotJson", "nightly run", "nightly run", ""},
                      UnwrapCase{"JsonWithoutData", R"({"context":"x"})", R"({"context":"x"})", ""},
                      UnwrapCase{"DataNotAnObject", R"({"data":"x"})", R"({"data":"x"})", ""},
                      UnwrapCase{"ContextNotAString", R"({"data":{"context":5}})",
                                 R"({"data":{"context":5}})", ""},
                      UnwrapCase{"NoPolicy", R"({"data":{"context":"c"}})", "c", ""},
                      UnwrapCase{"TooDeeplyNested", TooDeep(), TooDeep(), ""}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
