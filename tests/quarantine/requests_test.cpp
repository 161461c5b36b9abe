// Id lists are bounded before any id is read; every other input rule runs
// through the agent in tests/host/quarantine.jsonl.
#include "quarantine/quarantine_requests.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/agent/json_test_util.h"

namespace {

using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using namespace QuarantineAgent;

template <class T>
bool Loads(const std::string& text) {
  const Json::Value input = json_test::Parse(text);
  T request;
  return JsonSerializer<T>::Load(JsonNodeRef(&input), request);
}

TEST(QuarantineRequests, IdListsLongerThanTheLimitAreRefused) {
  for (uint64_t count : {kMaxIdsPerCall, kMaxIdsPerCall + 1, uint64_t{100000}}) {
    const bool loads = count <= kMaxIdsPerCall;
    std::string ids = "[";
    for (uint64_t i = 0; i < count; ++i) ids += (i ? ",\"" : "\"") + std::to_string(i) + "\"";
    ids += "]";
    EXPECT_EQ(Loads<IdsRequest>(R"({"zone": "emails", "ids": )" + ids + "}"), loads) << count;
    EXPECT_EQ(Loads<DeleteRequest>(R"({"zone": "emails", "context": "", "ids": )" + ids + "}"),
              loads);
    EXPECT_EQ(Loads<ReplayRequest>(R"({"deleteFromQuarantine": true, "context": "", "ids": )" +
                                   ids + "}"),
              loads);
  }
}

}  // namespace
