// Must not compile: a class that only takes an agent name, registered under a
// whole literal name, would be built with an empty name.
#include "frame/exported_declaration.h"

namespace {
struct NeedsAName : IKelBaseInterface {
  explicit NeedsAName(const wchar_t*) {}
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
};
ExportedSingletonDeclaration<NeedsAName> g_declared(kel::WholeClassName{L"test.Whole.Name"});
}  // namespace
