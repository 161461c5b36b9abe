#pragma once
// A subtree or one-level search read page by page (the simple paged results
// control), so that an organisation of any size comes whole through a server
// whose size limit is far smaller. Results are read one message at a time;
// search references (the domain partition's pointers to the DNS and
// configuration partitions) are skipped.
#include <cstdint>
#include <string>
#include <vector>

#include "frame/ldap_owner.h"
#include "sysinfo/worker/directory_wait.h"

namespace Worker {

struct SearchRequest {
  std::wstring base;
  ULONG scope = LDAP_SCOPE_SUBTREE;
  std::wstring filter;
  std::vector<std::wstring> attributes;
};

class EntrySink {
 public:
  virtual void Entry(LDAP* connection, LDAPMessage* entry) = 0;

 protected:
  ~EntrySink() = default;
};

// Hands every entry to `sink` in the server's order. Answers 0, kStopped,
// ERROR_TIMEOUT, or the Win32 code of the failure with a one-line reason in
// `error` (ERROR_DS_NO_SUCH_OBJECT for a base that does not exist).
DWORD PagedSearch(LDAP* connection, const SearchRequest& request, uint32_t pageSize,
                  const DirectoryWait& wait, EntrySink& sink, std::wstring& error);

}  // namespace Worker
