#pragma once
// The searches that list an organisation, and the model they fill.
//
// Where things are: the organisation is the one msExchOrganizationContainer
// under CN=Microsoft Exchange,CN=Services in the configuration partition; its
// servers (msExchExchangeServer), mailbox databases (msExchPrivateMDB),
// accepted domains and transport settings lie below it; mailboxes are users
// of the domain partition whose homeMDB names a database.
#include <cstdint>
#include <string>

#include "sysinfo/worker/configuration.h"
#include "sysinfo/worker/directory_connection.h"
#include "sysinfo/worker/organisation.h"
#include "sysinfo/worker/paged_search.h"

namespace Worker {

struct OrganisationEntry {
  std::wstring name;
  std::wstring dn;
  std::wstring guid;
};

// The searches, apart so that the benchmark's bare listing makes exactly the
// same ones.
SearchRequest OrganisationSearch(const RootDse& root);
SearchRequest ServerSearch(const std::wstring& organisationDn);
SearchRequest DatabaseSearch(const std::wstring& organisationDn);
SearchRequest MailboxSearch(const RootDse& root);

// The organisation; ERROR_DS_NO_SUCH_OBJECT when the forest has none.
DWORD FindOrganisation(LDAP* connection, const RootDse& root, const DirectoryWait& wait,
                       OrganisationEntry& out, std::wstring& error);

// Servers, databases and mailboxes, joined.
DWORD ReadStructure(LDAP* connection, const RootDse& root, const OrganisationEntry& organisation,
                    uint32_t pageSize, const DirectoryWait& wait, Organisation& out,
                    std::wstring& error);

DWORD ReadConfiguration(LDAP* connection, const RootDse& root, const OrganisationEntry& organisation,
                        uint32_t pageSize, const DirectoryWait& wait, Configuration& out,
                        std::wstring& error);

}  // namespace Worker
