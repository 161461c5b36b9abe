#include "host/kelhost/module_host.h"

#include <vector>

#include "frame/proc_address.h"
#include "frame/text_convert.h"

namespace kelhost {
namespace {

std::wstring FullPath(const std::wstring& path) {
  const DWORD needed = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (needed == 0) return path;
  std::vector<wchar_t> buffer(needed);
  const DWORD length = ::GetFullPathNameW(path.c_str(), needed, buffer.data(), nullptr);
  if (length == 0 || length >= needed) return path;
  return std::wstring(buffer.data(), length);
}

}  // namespace

bool ModuleHost::Load(const std::wstring& modulePath, std::string& problem) {
  const std::wstring module = FullPath(modulePath);
  const size_t slash = module.find_last_of(L"\\/");
  const std::wstring folder =
      slash == std::wstring::npos ? std::wstring() : module.substr(0, slash + 1);

  log_.reset(::LoadLibraryW((folder + L"log.dll").c_str()));
  drainLines_ = kel::ProcAddress<LogSinkDrainLinesFn>(log_.get(), "LogSinkDrainLines");
  setOutputFile_ = kel::ProcAddress<LogSinkSetOutputFileFn>(log_.get(), "LogSinkSetOutputFile");

  module_.reset(::LoadLibraryW(module.c_str()));
  if (!module_) {
    const DWORD error = ::GetLastError();
    problem = "cannot load " + kel::Utf8FromWide(module) + " (error " + std::to_string(error) + ")";
    return false;
  }
  create_ = kel::ProcAddress<KelCreateObjectFn>(module_.get(), "KelCreateObject");
  destroy_ = kel::ProcAddress<KelDestroyObjectFn>(module_.get(), "KelDestroyObject");
  if (create_ == nullptr || destroy_ == nullptr) {
    problem = kel::Utf8FromWide(module) + " lacks KelCreateObject or KelDestroyObject";
    create_ = nullptr;
    destroy_ = nullptr;
    module_.reset();
    return false;
  }
  describe_ = kel::ProcAddress<KelDescribeClassesFn>(module_.get(), "KelDescribeClasses");
  return true;
}

}  // namespace kelhost
