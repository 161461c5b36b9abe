#pragma once
// The one way a policy handler reads its input and writes its answer.
//
//   T request;
//   if (!LoadInput(method, request)) return false;     // 160, nothing called
//   Answer(method, plugin()->Get(request), request);    // the answer rule
//   return true;
//
// The answer rule: a non-zero code is reported as it is and the output is not
// touched. On 0 the answer is written into the output; if it cannot be
// written (a value without a JSON form, an output that cannot take keys at its
// root), the output is cleared and the call answers 1359, so the console never
// reads half an answer as a success.
#include <cstdint>
#include <string_view>
#include <utility>

#include <json/value.h>

#include "agent/json/json_serializer.h"
#include "frame/result_codes.h"
#include "sdk/policy_method.h"

namespace EnterpriseIntegration {

// The whole input through T's schema.
template <class T>
bool LoadInput(IPolicyMethod& method, T& out) {
  return JsonSerializer<T>::Load(JsonNodeRef(method.GetInput()), out);
}

// One member (a key path) of the input, logged by its key on failure.
template <class T>
bool LoadInput(IPolicyMethod& method, std::string_view key, T& out) {
  return JsonComposedSerializer::Load(JsonNodeRef(method.GetInput()), key, out);
}

// The answer rule with a writer of one's own: `write(Json::Value& document)`
// fills a fresh object whose members are then placed into the output.
template <class Write>
void AnswerWith(IPolicyMethod& method, uint32_t code, Write&& write) {
  if (code != kel::result::kSuccess) {
    method.SetResult(code);
    return;
  }
  Json::Value* output = method.GetOutput();
  Json::Value document(Json::objectValue);
  bool written = false;
  try {
    written = output && (output->isNull() || output->isObject()) && write(document) &&
              document.isObject();
  } catch (...) {
    written = false;
  }
  if (!written) {
    if (output) *output = Json::Value();
    method.SetResult(kel::result::kInternalError);
    return;
  }
  for (const std::string& key : document.getMemberNames())
    (*output)[key] = std::move(document[key]);
  method.SetResult(kel::result::kSuccess);
}

// `value` by its schema as the whole answer.
template <class T>
void Answer(IPolicyMethod& method, uint32_t code, const T& value) {
  AnswerWith(method, code,
             [&value](Json::Value& document) { return JsonSerializer<T>::Save(document, value); });
}

// `value` under `key` (a key path) of the answer.
template <class T>
void AnswerAt(IPolicyMethod& method, uint32_t code, std::string_view key, const T& value) {
  AnswerWith(method, code, [key, &value](Json::Value& document) {
    Json::Value* at = ResolveForSave(document, key);
    return at && JsonSerializer<T>::Save(*at, value);
  });
}

}  // namespace EnterpriseIntegration
