#pragma once
// Sole owner of one reference on a loaded module: the reference is given back
// with FreeLibrary exactly once, when the owner dies or is reset.
#include "frame/win.h"

namespace kel {

class UniqueModule {
 public:
  UniqueModule() noexcept = default;
  explicit UniqueModule(HMODULE module) noexcept : module_(module) {}
  ~UniqueModule() { reset(); }

  UniqueModule(UniqueModule&& other) noexcept : module_(other.release()) {}
  UniqueModule& operator=(UniqueModule&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueModule(const UniqueModule&) = delete;
  UniqueModule& operator=(const UniqueModule&) = delete;

  HMODULE get() const noexcept { return module_; }
  explicit operator bool() const noexcept { return module_ != nullptr; }

  // Hands the reference over to the caller, who must free it.
  HMODULE release() noexcept {
    HMODULE module = module_;
    module_ = nullptr;
    return module;
  }

  // Frees the reference held so far and takes over `module`.
  void reset(HMODULE module = nullptr) noexcept {
    HMODULE old = module_;
    module_ = module;
    if (old != nullptr) ::FreeLibrary(old);
  }

 private:
  HMODULE module_ = nullptr;
};

}  // namespace kel
