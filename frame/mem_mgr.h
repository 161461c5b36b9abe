#pragma once
// Memory managers for the strings shared with the plug-ins. Every string header
// names the manager that owns its memory, so whichever side of the boundary
// grows or frees a string does it through the allocator that made it.
#include <cstddef>

namespace kel {

// The slot order is shared with the plug-ins; there is deliberately no virtual
// destructor (managers are released, never deleted through this interface).
class IMemMgr {
 public:
  virtual void* Allocate(size_t bytes) = 0;                 // slot 0
  virtual void* Reallocate(void* block, size_t bytes) = 0;  // slot 1
  virtual void Free(void* block) = 0;                       // slot 2
  virtual void Release() = 0;  // slot 3: called after every string teardown

 protected:
  ~IMemMgr() = default;
};

// The C run time's heap. Stateless; one instance serves the whole process.
class StringMemMgr final : public IMemMgr {
 public:
  void* Allocate(size_t bytes) override;
  void* Reallocate(void* block, size_t bytes) override;
  void Free(void* block) override;
  void Release() override;

  // Usable from any static initialiser and after static destruction: the
  // instance is created on first use and its destructor is trivial.
  static StringMemMgr* Instance() noexcept;
};

}  // namespace kel
