#include "sysinfo/worker/documents.h"

#include <vector>

#include "sysinfo/worker/xml_writer.h"

namespace Worker {
namespace {

std::wstring Joined(const std::vector<std::wstring>& items) {
  std::wstring text;
  for (const std::wstring& item : items) {
    if (item.empty()) continue;
    if (!text.empty()) text += L", ";
    text += item;
  }
  return text;
}

void WriteMailbox(XmlWriter& xml, const Mailbox& mailbox) {
  xml.Open("mailbox");
  xml.Leaf("displayName", mailbox.displayName);
  xml.Leaf("primarySmtpAddress", mailbox.primarySmtpAddress);
  xml.Leaf("mailboxGuid", mailbox.mailboxGuid);
  xml.Leaf("alias", mailbox.alias);
  xml.Leaf("userPrincipalName", mailbox.userPrincipalName);
  xml.Leaf("recipientType", mailbox.recipientType);
  xml.Leaf("accountDisabled", mailbox.disabled ? L"true" : L"false");
  xml.Close("mailbox");
}

void WriteDatabase(XmlWriter& xml, const Database& database) {
  xml.Open("database");
  xml.Leaf("name", database.name);
  xml.Leaf("edbFilePath", database.edbFilePath);
  xml.Leaf("logFolderPath", database.logFolderPath);
  xml.Leaf("server", database.serverName);
  xml.Leaf("guid", database.guid);
  xml.Leaf("mailboxCount", std::to_wstring(database.mailboxes.size()));
  xml.Open("mailboxes");
  for (const Mailbox& mailbox : database.mailboxes) WriteMailbox(xml, mailbox);
  xml.Close("mailboxes");
  xml.Close("database");
}

}  // namespace

std::string StructureDocument(const Organisation& organisation) {
  XmlWriter xml;
  size_t mailboxes = 0;
  for (const Server& server : organisation.servers)
    for (const Database& database : server.databases) mailboxes += database.mailboxes.size();
  xml.text().reserve(1024 + mailboxes * 420);
  xml.Open("servers");
  for (const Server& server : organisation.servers) {
    xml.Open("server");
    xml.Leaf("name", server.name);
    xml.Leaf("fqdn", server.fqdn);
    xml.Leaf("version", server.version);
    xml.Leaf("roles", server.roles);
    xml.Leaf("site", server.site);
    xml.Leaf("installPath", server.installPath);
    xml.Leaf("guid", server.guid);
    xml.Open("databases");
    for (const Database& database : server.databases) WriteDatabase(xml, database);
    xml.Close("databases");
    xml.Close("server");
  }
  xml.Close("servers");
  return std::move(xml.text());
}

std::string ConfigurationDocument(const Configuration& configuration) {
  std::vector<std::wstring> all, authoritative, internalRelay, externalRelay;
  std::wstring defaultDomain;
  for (const AcceptedDomain& domain : configuration.acceptedDomains) {
    all.push_back(domain.domain);
    switch (domain.flags & kDomainTypeMask) {
      case kAuthoritative: authoritative.push_back(domain.domain); break;
      case kInternalRelay: internalRelay.push_back(domain.domain); break;
      case kExternalRelay: externalRelay.push_back(domain.domain); break;
      default: break;
    }
    if ((domain.flags & kDefaultDomain) && defaultDomain.empty()) defaultDomain = domain.domain;
  }

  XmlWriter xml;
  xml.Open("configuration");
  xml.Open("organization");
  xml.Leaf("name", configuration.name);
  xml.Leaf("guid", configuration.guid);
  xml.Leaf("distinguishedName", configuration.dn);
  xml.Close("organization");
  xml.Open("acceptedDomains");
  xml.Leaf("all", Joined(all));
  xml.Leaf("default", defaultDomain);
  xml.Leaf("authoritative", Joined(authoritative));
  xml.Leaf("internalRelay", Joined(internalRelay));
  xml.Leaf("externalRelay", Joined(externalRelay));
  xml.Close("acceptedDomains");
  xml.Open("transport");
  xml.Leaf("maxSendSizeKB", configuration.maxSendSizeKB);
  xml.Leaf("maxReceiveSizeKB", configuration.maxReceiveSizeKB);
  xml.Leaf("maxRecipientsPerMessage", configuration.maxRecipientsPerMessage);
  xml.Leaf("internalSmtpServers", Joined(configuration.internalSmtpServers));
  xml.Close("transport");
  xml.Open("exchangeServers");
  xml.Leaf("count", std::to_wstring(configuration.serverNames.size()));
  xml.Leaf("names", Joined(configuration.serverNames));
  xml.Close("exchangeServers");
  xml.Open("directory");
  xml.Leaf("server", configuration.directoryServer);
  xml.Leaf("defaultNamingContext", configuration.defaultNamingContext);
  xml.Leaf("configurationNamingContext", configuration.configurationNamingContext);
  xml.Close("directory");
  xml.Close("configuration");
  return std::move(xml.text());
}

}  // namespace Worker
