// The join of the three listings: who ends up where, in which order, and what
// is left out.
#include <gtest/gtest.h>

#include "sysinfo/worker/organisation.h"

namespace {

using namespace Worker;

const wchar_t kServers[] = L",CN=Servers,CN=Org";
const wchar_t kDatabases[] = L",CN=Databases,CN=Org";

Server MakeServer(const std::wstring& name) {
  Server server;
  server.name = name;
  server.dn = L"CN=" + name + kServers;
  return server;
}

Database MakeDatabase(const std::wstring& name, const std::wstring& serverDn) {
  Database database;
  database.name = name;
  database.dn = L"CN=" + name + kDatabases;
  database.serverDn = serverDn;
  return database;
}

Mailbox MakeMailbox(const std::wstring& name, const std::wstring& databaseDn,
                    const std::wstring& address = L"") {
  Mailbox mailbox;
  mailbox.displayName = name;
  mailbox.primarySmtpAddress = address;
  mailbox.databaseDn = databaseDn;
  return mailbox;
}

// "server/database/mailbox" for every placed mailbox, "server/database/" for
// an empty database, "server//" for a server without databases.
std::vector<std::wstring> Paths(const Organisation& organisation) {
  std::vector<std::wstring> paths;
  for (const Server& server : organisation.servers) {
    if (server.databases.empty()) paths.push_back(server.name + L"//");
    for (const Database& database : server.databases) {
      EXPECT_EQ(database.serverName, server.name);
      if (database.mailboxes.empty()) paths.push_back(server.name + L"/" + database.name + L"/");
      for (const Mailbox& mailbox : database.mailboxes)
        paths.push_back(server.name + L"/" + database.name + L"/" + mailbox.displayName +
                        (mailbox.primarySmtpAddress.empty() ? L"" : L" " + mailbox.primarySmtpAddress));
    }
  }
  return paths;
}

TEST(Join, PlacesByDnWhateverTheSpelling) {
  Organisation organisation = Join(
      {MakeServer(L"EX02"), MakeServer(L"ex01"), MakeServer(L"EDGE")},
      {MakeDatabase(L"DB1", L"cn=EX02, cn=servers, cn=org"), MakeDatabase(L"db0", L"CN=ex01" + std::wstring(kServers)),
       MakeDatabase(L"Empty", L"CN=EX02" + std::wstring(kServers)),
       MakeDatabase(L"Lost", L"CN=EX99" + std::wstring(kServers)),
       MakeDatabase(L"a\\,b", L"CN=EX02" + std::wstring(kServers))},
      {MakeMailbox(L"zoe", L"cn=db1,cn=databases,cn=ORG"), MakeMailbox(L"Adam", L"CN=DB1" + std::wstring(kDatabases)),
       MakeMailbox(L"bob", L"CN=db0" + std::wstring(kDatabases)),
       MakeMailbox(L"Lost one", L"CN=Lost" + std::wstring(kDatabases)),
       MakeMailbox(L"Nomad", L"CN=DB9" + std::wstring(kDatabases)),
       MakeMailbox(L"comma", L"CN=a\\2Cb" + std::wstring(kDatabases)),
       MakeMailbox(L"Same", L"CN=DB1" + std::wstring(kDatabases), L"b@x"),
       MakeMailbox(L"same", L"CN=DB1" + std::wstring(kDatabases), L"a@x"),
       MakeMailbox(L"Same", L"CN=DB1" + std::wstring(kDatabases), L"a@x")});
  const std::vector<std::wstring> expected = {
      L"EDGE//",           L"ex01/db0/bob",     L"EX02/a\\,b/comma", L"EX02/DB1/Adam",
      L"EX02/DB1/Same a@x", L"EX02/DB1/Same b@x", L"EX02/DB1/same a@x", L"EX02/DB1/zoe",
      L"EX02/Empty/",
  };
  EXPECT_EQ(Paths(organisation), expected);
  EXPECT_EQ(organisation.unplacedDatabases, 1u);
  EXPECT_EQ(organisation.unplacedMailboxes, 2u);  // Nomad, and Lost one with its database
}

}  // namespace
