// A module DLL with one agent, "Test.Fake.Agent", for kelhost's script tests.
#include "frame/exported_declaration.h"
#include "tests/host/fake_agent.h"

namespace {

ExportedSingletonDeclaration<fake::FakeAgent> g_fake(L"Test.Fake");

}  // namespace
