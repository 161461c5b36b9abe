#include "agent/serv_plugin.h"

namespace EnterpriseIntegration::detail {
namespace {
std::wstring GetPluginFunction(const wchar_t* typeName) {
  return L"ServPlugin<" + std::wstring(typeName) + L">::GetPlugin";
}
}  // namespace

void LogNullComponentManager(const wchar_t* typeName) {
  if (!logging::IsActive()) return;
  logging::Write(logging::kLevelMissingPrerequisite, GetPluginFunction(typeName).c_str(),
                 L"Null component manager");
}

void LogGetPluginError(const wchar_t* typeName, uint32_t code, const wchar_t* component) {
  if (!logging::IsActive()) return;
  logging::Write(logging::kLevelFailure, GetPluginFunction(typeName).c_str(),
                 L"Error %d getting plugin \"%s\"", static_cast<int>(code), component);
}

}  // namespace EnterpriseIntegration::detail
