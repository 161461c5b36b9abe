#pragma once
// The two documents the worker writes, as the system-information agent reads
// them: "servers"/"server", "databases"/"database", "mailboxes"/"mailbox" for
// "/listmb", and "configuration" for "/orgConfig". Every leaf carries its text
// in a "value" attribute; a leaf with nothing to say is left out.
#include <string>

#include "sysinfo/worker/configuration.h"
#include "sysinfo/worker/organisation.h"

namespace Worker {

std::string StructureDocument(const Organisation& organisation);
std::string ConfigurationDocument(const Configuration& configuration);

}  // namespace Worker
