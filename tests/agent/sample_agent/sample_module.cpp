// The test module's class table: the sample agent, registered as "Test.Sample.Agent".
#include "frame/exported_declaration.h"
#include "tests/agent/sample_agent/sample_agent.h"

namespace {
ExportedSingletonDeclaration<SampleTest::Agent> g_sampleAgent(kel::nusdk::Sample::kComponentName);
}  // namespace
