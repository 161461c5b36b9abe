#pragma once
// Typed GetProcAddress: null when the module lacks the entry point.
#include "frame/win.h"

namespace kel {

template <class Fn>
Fn ProcAddress(HMODULE module, const char* name) noexcept {
  if (!module) return nullptr;
  // Through the generic function type, which the compilers accept as a cast hub.
  return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name)));
}

}  // namespace kel
