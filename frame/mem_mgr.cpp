#include "frame/mem_mgr.h"

#include <cstdlib>

namespace kel {

void* StringMemMgr::Allocate(size_t bytes) { return std::malloc(bytes); }

void* StringMemMgr::Reallocate(void* block, size_t bytes) { return std::realloc(block, bytes); }

void StringMemMgr::Free(void* block) { std::free(block); }

void StringMemMgr::Release() {}

StringMemMgr* StringMemMgr::Instance() noexcept {
  static StringMemMgr instance;
  return &instance;
}

}  // namespace kel
