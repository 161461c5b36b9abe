#include "sysinfo/worker/organisation_reader.h"

#include <algorithm>
#include <cwchar>
#include <utility>
#include <vector>

#include "sysinfo/worker/attribute_text.h"
#include "sysinfo/worker/dn.h"
#include "sysinfo/worker/entry_values.h"

namespace Worker {
namespace {

uint32_t Number(const std::wstring& text) {
  return static_cast<uint32_t>(std::wcstoul(text.c_str(), nullptr, 10));
}

// Calls a function for each entry; the reader's sinks are all of this kind.
template <class Function>
class Each final : public EntrySink {
 public:
  explicit Each(Function function) : function_(std::move(function)) {}
  void Entry(LDAP* connection, LDAPMessage* entry) override { function_(connection, entry); }

 private:
  Function function_;
};

template <class Function>
DWORD Search(LDAP* connection, const SearchRequest& request, uint32_t pageSize,
             const DirectoryWait& wait, std::wstring& error, Function function) {
  Each<Function> sink(std::move(function));
  return PagedSearch(connection, request, pageSize, wait, sink, error);
}

DWORD ReadServers(LDAP* connection, const OrganisationEntry& organisation, uint32_t pageSize,
                  const DirectoryWait& wait, std::vector<Server>& servers, std::wstring& error) {
  return Search(connection, ServerSearch(organisation.dn), pageSize, wait, error,
                [&servers](LDAP* c, LDAPMessage* entry) {
                  Server server;
                  server.dn = EntryDn(c, entry);
                  server.name = FirstValue(c, entry, L"cn");
                  server.guid = GuidValue(c, entry, L"objectGUID");
                  server.fqdn = FqdnFromNetworkAddresses(Values(c, entry, L"networkAddress"));
                  server.version = VersionText(FirstValue(c, entry, L"serialNumber"));
                  server.roleFlags = Number(FirstValue(c, entry, L"msExchCurrentServerRoles"));
                  server.roles = RolesText(server.roleFlags);
                  server.site = FirstRdnValue(FirstValue(c, entry, L"msExchServerSite"));
                  server.installPath = FirstValue(c, entry, L"msExchInstallPath");
                  servers.push_back(std::move(server));
                });
}

}  // namespace

SearchRequest OrganisationSearch(const RootDse& root) {
  return {L"CN=Microsoft Exchange,CN=Services," + root.configurationNamingContext,
          LDAP_SCOPE_ONELEVEL,
          L"(objectClass=msExchOrganizationContainer)",
          {L"cn", L"objectGUID"}};
}

SearchRequest ServerSearch(const std::wstring& organisationDn) {
  return {organisationDn,
          LDAP_SCOPE_SUBTREE,
          L"(objectClass=msExchExchangeServer)",
          {L"cn", L"objectGUID", L"networkAddress", L"serialNumber", L"msExchCurrentServerRoles",
           L"msExchServerSite", L"msExchInstallPath"}};
}

SearchRequest DatabaseSearch(const std::wstring& organisationDn) {
  return {organisationDn,
          LDAP_SCOPE_SUBTREE,
          L"(objectClass=msExchPrivateMDB)",
          {L"cn", L"objectGUID", L"msExchEDBFile", L"msExchESEParamLogFilePath",
           L"msExchOwningServer"}};
}

SearchRequest MailboxSearch(const RootDse& root) {
  return {root.defaultNamingContext,
          LDAP_SCOPE_SUBTREE,
          L"(&(objectClass=user)(homeMDB=*))",
          {L"displayName", L"cn", L"proxyAddresses", L"mail", L"msExchMailboxGuid", L"mailNickname",
           L"userPrincipalName", L"msExchRecipientTypeDetails", L"userAccountControl", L"homeMDB"}};
}

DWORD FindOrganisation(LDAP* connection, const RootDse& root, const DirectoryWait& wait,
                       OrganisationEntry& out, std::wstring& error) {
  std::vector<OrganisationEntry> found;
  const SearchRequest request = OrganisationSearch(root);
  const DWORD searched =
      Search(connection, request, 10, wait, error, [&found](LDAP* c, LDAPMessage* entry) {
        found.push_back({FirstValue(c, entry, L"cn"), EntryDn(c, entry), GuidValue(c, entry, L"objectGUID")});
      });
  if (searched == ERROR_DS_NO_SUCH_OBJECT || (searched == ERROR_SUCCESS && found.empty())) {
    error = L"no Exchange organisation under " + request.base;
    return ERROR_DS_NO_SUCH_OBJECT;
  }
  if (searched != ERROR_SUCCESS) return searched;
  out = std::move(found.front());  // a forest holds one
  return ERROR_SUCCESS;
}

DWORD ReadStructure(LDAP* connection, const RootDse& root, const OrganisationEntry& organisation,
                    uint32_t pageSize, const DirectoryWait& wait, Organisation& out,
                    std::wstring& error) {
  std::vector<Server> servers;
  DWORD code = ReadServers(connection, organisation, pageSize, wait, servers, error);
  if (code != ERROR_SUCCESS) return code;

  std::vector<Database> databases;
  code = Search(connection, DatabaseSearch(organisation.dn), pageSize, wait, error,
                [&databases](LDAP* c, LDAPMessage* entry) {
                  Database database;
                  database.dn = EntryDn(c, entry);
                  database.name = FirstValue(c, entry, L"cn");
                  database.guid = GuidValue(c, entry, L"objectGUID");
                  database.edbFilePath = FirstValue(c, entry, L"msExchEDBFile");
                  database.logFolderPath = FirstValue(c, entry, L"msExchESEParamLogFilePath");
                  database.serverDn = FirstValue(c, entry, L"msExchOwningServer");
                  databases.push_back(std::move(database));
                });
  if (code != ERROR_SUCCESS) return code;

  std::vector<Mailbox> mailboxes;
  code = Search(connection, MailboxSearch(root), pageSize, wait, error,
                [&mailboxes](LDAP* c, LDAPMessage* entry) {
                  Mailbox mailbox;
                  mailbox.displayName = FirstValue(c, entry, L"displayName");
                  if (mailbox.displayName.empty()) mailbox.displayName = FirstValue(c, entry, L"cn");
                  mailbox.primarySmtpAddress = PrimarySmtpAddress(Values(c, entry, L"proxyAddresses"),
                                                                  FirstValue(c, entry, L"mail"));
                  mailbox.mailboxGuid = GuidValue(c, entry, L"msExchMailboxGuid");
                  mailbox.alias = FirstValue(c, entry, L"mailNickname");
                  mailbox.userPrincipalName = FirstValue(c, entry, L"userPrincipalName");
                  mailbox.recipientType =
                      RecipientTypeText(FirstValue(c, entry, L"msExchRecipientTypeDetails"));
                  mailbox.disabled = (Number(FirstValue(c, entry, L"userAccountControl")) & 0x2) != 0;
                  mailbox.databaseDn = FirstValue(c, entry, L"homeMDB");
                  mailboxes.push_back(std::move(mailbox));
                });
  if (code != ERROR_SUCCESS) return code;

  out = Join(std::move(servers), std::move(databases), std::move(mailboxes));
  return ERROR_SUCCESS;
}

DWORD ReadConfiguration(LDAP* connection, const RootDse& root, const OrganisationEntry& organisation,
                        uint32_t pageSize, const DirectoryWait& wait, Configuration& out,
                        std::wstring& error) {
  Configuration configuration;
  configuration.name = organisation.name;
  configuration.guid = organisation.guid;
  configuration.dn = organisation.dn;
  configuration.directoryServer = root.dnsHostName;
  configuration.defaultNamingContext = root.defaultNamingContext;
  configuration.configurationNamingContext = root.configurationNamingContext;

  DWORD code = Search(
      connection,
      {organisation.dn, LDAP_SCOPE_SUBTREE, L"(objectClass=msExchAcceptedDomain)",
       {L"msExchAcceptedDomainName", L"msExchAcceptedDomainFlags"}},
      pageSize, wait, error, [&configuration](LDAP* c, LDAPMessage* entry) {
        AcceptedDomain domain{FirstValue(c, entry, L"msExchAcceptedDomainName"),
                              Number(FirstValue(c, entry, L"msExchAcceptedDomainFlags"))};
        if (!domain.domain.empty()) configuration.acceptedDomains.push_back(std::move(domain));
      });
  if (code != ERROR_SUCCESS) return code;
  std::sort(configuration.acceptedDomains.begin(), configuration.acceptedDomains.end(),
            [](const AcceptedDomain& a, const AcceptedDomain& b) { return a.domain < b.domain; });

  code = Search(connection,
                {organisation.dn, LDAP_SCOPE_ONELEVEL, L"(objectClass=msExchTransportSettings)",
                 {L"submissionContLength", L"delivContLength", L"msExchRecipLimit",
                  L"msExchTransportInternalSMTPServers"}},
                pageSize, wait, error, [&configuration](LDAP* c, LDAPMessage* entry) {
                  configuration.maxSendSizeKB = FirstValue(c, entry, L"submissionContLength");
                  configuration.maxReceiveSizeKB = FirstValue(c, entry, L"delivContLength");
                  configuration.maxRecipientsPerMessage = FirstValue(c, entry, L"msExchRecipLimit");
                  configuration.internalSmtpServers =
                      Values(c, entry, L"msExchTransportInternalSMTPServers");
                });
  if (code != ERROR_SUCCESS) return code;

  std::vector<Server> servers;
  code = ReadServers(connection, organisation, pageSize, wait, servers, error);
  if (code != ERROR_SUCCESS) return code;
  for (const Server& server : servers) configuration.serverNames.push_back(server.name);
  std::sort(configuration.serverNames.begin(), configuration.serverNames.end());

  out = std::move(configuration);
  return ERROR_SUCCESS;
}

}  // namespace Worker
