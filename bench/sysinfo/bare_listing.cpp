// The floor under the worker's "/listmb": the same connection, the same paged
// searches through the same client, each entry received and dropped. The
// worker's own cost (reading values, joining, writing XML) is what it takes
// beyond this. Prints the number of entries of each search.
#include <cstdio>
#include <string>

#include "sysinfo/worker/directory_connection.h"
#include "sysinfo/worker/organisation_reader.h"

namespace {

class Counter final : public Worker::EntrySink {
 public:
  void Entry(LDAP*, LDAPMessage*) override { ++count; }
  unsigned long count = 0;
};

}  // namespace

int main() {
  Worker::DirectorySettings settings;
  std::wstring error;
  if (!Worker::ReadDirectorySettings(Worker::SystemSettings(), settings, error)) return 1610;
  const Worker::DirectoryWait wait(nullptr, settings.timeoutSeconds);
  Worker::DirectoryConnection directory;
  DWORD code = directory.Open(settings, wait, error);
  if (code != ERROR_SUCCESS) return static_cast<int>(code);
  Worker::OrganisationEntry organisation;
  code = Worker::FindOrganisation(directory.get(), directory.root(), wait, organisation, error);
  if (code != ERROR_SUCCESS) return static_cast<int>(code);

  const Worker::SearchRequest searches[] = {Worker::ServerSearch(organisation.dn),
                                            Worker::DatabaseSearch(organisation.dn),
                                            Worker::MailboxSearch(directory.root())};
  for (const Worker::SearchRequest& search : searches) {
    Counter counter;
    code = Worker::PagedSearch(directory.get(), search, settings.pageSize, wait, counter, error);
    if (code != ERROR_SUCCESS) return static_cast<int>(code);
    std::printf("%lu ", counter.count);
  }
  std::printf("\n");
  return 0;
}
