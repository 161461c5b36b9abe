#include "ondemand/task_context.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include "frame/text_convert.h"

namespace MailServers {
namespace {
constexpr char kData[] = "data";
constexpr char kContext[] = "context";
constexpr char kPolicyId[] = "policyId";
}  // namespace

kel::StringW WrapContext(const std::string& context, const std::string& policyId) {
  Json::Value document(Json::objectValue);
  Json::Value& data = document[kData];
  data[kContext] = context;
  data[kPolicyId] = policyId;
  const std::wstring text = kel::WideFromUtf8(Json::StyledWriter().write(document));
  return kel::StringW(text.c_str(), text.size());
}

TaskContext UnwrapContext(const kel::StringW& wrapped) noexcept {
  TaskContext result;
  try {
    result.context = kel::Utf8FromWide(wrapped.c_str(), wrapped.Length());
    Json::Value document;
    // The reader throws instead of answering false past its nesting limit.
    if (!Json::Reader().parse(result.context, document, false) || !document.isObject()) {
      return result;
    }
    const Json::Value* data = document.find(kData, kData + sizeof(kData) - 1);
    if (data == nullptr || !data->isObject()) return result;
    const Json::Value* context = data->find(kContext, kContext + sizeof(kContext) - 1);
    if (context == nullptr || !context->isString()) return result;
    const Json::Value* policyId = data->find(kPolicyId, kPolicyId + sizeof(kPolicyId) - 1);
    TaskContext unwrapped;
    unwrapped.context = context->asString();
    if (policyId != nullptr && policyId->isString()) unwrapped.policyId = policyId->asString();
    return unwrapped;
  } catch (...) {
    return result;
  }
}

}  // namespace MailServers
