#pragma once
// The organisation as the worker writes it, and the join that builds it from
// three flat listings: servers, databases naming their server
// (msExchOwningServer), mailboxes naming their database (homeMDB).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Worker {

struct Mailbox {
  std::wstring displayName;
  std::wstring primarySmtpAddress;
  std::wstring mailboxGuid;
  std::wstring alias;
  std::wstring userPrincipalName;
  std::wstring recipientType;
  bool disabled = false;
  std::wstring databaseDn;  // homeMDB as read
};

struct Database {
  std::wstring name;
  std::wstring dn;
  std::wstring guid;
  std::wstring edbFilePath;
  std::wstring logFolderPath;
  std::wstring serverDn;  // msExchOwningServer as read
  std::wstring serverName;
  std::vector<Mailbox> mailboxes;
};

struct Server {
  std::wstring name;
  std::wstring dn;
  std::wstring guid;
  std::wstring fqdn;
  std::wstring version;
  std::wstring roles;
  uint32_t roleFlags = 0;
  std::wstring site;
  std::wstring installPath;
  std::vector<Database> databases;
};

struct Organisation {
  std::vector<Server> servers;
  // Left out because what they name is not listed (a database of a removed
  // server, a mailbox of a database in another forest).
  size_t unplacedDatabases = 0;
  size_t unplacedMailboxes = 0;
};

// Places each mailbox under its database and each database under its
// server, matching DNs as the directory does. Servers, databases and
// mailboxes come out ordered by name (case-insensitively), mailboxes with
// equal display names by address, so that the console sees one order
// whatever order the directory answered in.
Organisation Join(std::vector<Server> servers, std::vector<Database> databases,
                  std::vector<Mailbox> mailboxes);

}  // namespace Worker
