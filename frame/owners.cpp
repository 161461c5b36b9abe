#include "frame/owners.h"

#include "frame/win32_error.h"

namespace kel {

DWORD MakeAttributeList(DWORD count, UniqueAttributeList& list) noexcept {
  list.reset();
  // The first call only measures; it fails by design with the size set.
  SIZE_T size = 0;
  ::InitializeProcThreadAttributeList(nullptr, count, 0, &size);
  KEL_RETURN_LAST_ERROR_IF(size == 0);
  void* memory = ::HeapAlloc(::GetProcessHeap(), 0, size);
  if (memory == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  auto* attributes = static_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory);
  if (!::InitializeProcThreadAttributeList(attributes, count, 0, &size)) {
    // Not yet initialised, so not for DeleteAttributeList: only the memory goes.
    const DWORD error = LastErrorCode();
    ::HeapFree(::GetProcessHeap(), 0, memory);
    return error;
  }
  list.reset(attributes);
  return ERROR_SUCCESS;
}

}  // namespace kel
