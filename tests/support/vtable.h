#pragma once
// Calls a virtual function by its slot number, the way code compiled against
// another copy of an interface declaration does. Tests use it to pin the slot
// order of interfaces shared with other modules: a reordered declaration calls
// the wrong function and fails the test.
//
// `obj` must point at the interface (the object's vtable pointer). Reference
// parameters are passed as pointers. Only scalar and pointer results are
// supported: a class returned by value is passed differently to member
// functions under MSVC than to the plain function this helper calls.
// Under the Itanium ABI a virtual destructor takes two slots; under MSVC one.
#include <cstddef>

namespace kel::test {

template <class R, class... A>
R CallSlot(void* obj, size_t slot, A... args) {
  using Fn = R (*)(void*, A...);
  Fn const* vtable = *static_cast<Fn const* const*>(obj);
  return vtable[slot](obj, args...);
}

template <class R, class... A>
R CallSlot(const void* obj, size_t slot, A... args) {
  return CallSlot<R, A...>(const_cast<void*>(obj), slot, args...);
}

}  // namespace kel::test
