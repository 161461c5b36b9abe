#pragma once
// The module DLL and the log.dll beside it, loaded the way the service host
// loads them (LoadLibraryW, GetProcAddress). kelhost takes its own reference on
// log.dll before the module binds it, so the recorded lines outlive the
// module's logging binding; the module is always freed first.
#include <string>

#include "frame/exports.h"
#include "frame/owners.h"
#include "host/logsink/log_sink.h"

namespace kelhost {

class ModuleHost {
 public:
  // `modulePath` may be relative; log.dll is looked for in the module's folder
  // and is optional. False with `problem` set when the module cannot be used.
  bool Load(const std::wstring& modulePath, std::string& problem);

  KelCreateObjectFn create() const { return create_; }
  KelDestroyObjectFn destroy() const { return destroy_; }
  // Null without a recording log.dll.
  LogSinkDrainLinesFn drainLines() const { return drainLines_; }
  LogSinkSetOutputFileFn setOutputFile() const { return setOutputFile_; }
  // Null for a module without the tooling export.
  KelDescribeClassesFn describe() const { return describe_; }

 private:
  kel::UniqueModule log_;  // declared first, so it is freed after the module
  kel::UniqueModule module_;
  KelCreateObjectFn create_ = nullptr;
  KelDestroyObjectFn destroy_ = nullptr;
  LogSinkDrainLinesFn drainLines_ = nullptr;
  LogSinkSetOutputFileFn setOutputFile_ = nullptr;
  KelDescribeClassesFn describe_ = nullptr;
};

}  // namespace kelhost
