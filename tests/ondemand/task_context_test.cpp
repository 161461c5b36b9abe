// Whatever the plug-in hands back as a context, unwrapping answers something
// and never throws. Wrapping and unwrapping a context of ours run through the
// module in tests/host/ondemand*.jsonl.
#include <string>

#include <ostream>

#include <gtest/gtest.h>

#include "ondemand/task_context.h"
#include "frame/text_convert.h"

namespace {

using MailServers::UnwrapContext;

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
