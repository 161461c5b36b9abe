#include "sysinfo/worker/organisation.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "frame/win.h"
#include "sysinfo/worker/dn.h"

namespace Worker {
namespace {

int CompareIgnoringCase(const std::wstring& a, const std::wstring& b) {
  const int result = ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                            static_cast<int>(b.size()), TRUE);
  return result - CSTR_EQUAL;  // <0, 0, >0
}

bool ByName(const std::wstring& a, const std::wstring& b) {
  const int folded = CompareIgnoringCase(a, b);
  return folded != 0 ? folded < 0 : a < b;
}

}  // namespace

Organisation Join(std::vector<Server> servers, std::vector<Database> databases,
                  std::vector<Mailbox> mailboxes) {
  Organisation organisation;

  std::unordered_map<std::wstring, size_t> databaseAt;
  databaseAt.reserve(databases.size());
  for (size_t i = 0; i < databases.size(); ++i) databaseAt.emplace(NormalizeDn(databases[i].dn), i);
  // Most mailboxes of a database share one spelling of its DN: remember the
  // spellings already seen instead of normalising every homeMDB.
  std::unordered_map<std::wstring, size_t> spelling;
  constexpr size_t kNowhere = static_cast<size_t>(-1);
  for (Mailbox& mailbox : mailboxes) {
    auto seen = spelling.find(mailbox.databaseDn);
    if (seen == spelling.end()) {
      const auto found = databaseAt.find(NormalizeDn(mailbox.databaseDn));
      seen = spelling.emplace(mailbox.databaseDn, found == databaseAt.end() ? kNowhere : found->second)
                 .first;
    }
    if (seen->second == kNowhere) {
      ++organisation.unplacedMailboxes;
      continue;
    }
    databases[seen->second].mailboxes.push_back(std::move(mailbox));
  }

  std::unordered_map<std::wstring, size_t> serverAt;
  for (size_t i = 0; i < servers.size(); ++i) serverAt.emplace(NormalizeDn(servers[i].dn), i);
  for (Database& database : databases) {
    const auto found = serverAt.find(NormalizeDn(database.serverDn));
    if (found == serverAt.end()) {
      ++organisation.unplacedDatabases;
      organisation.unplacedMailboxes += database.mailboxes.size();
      continue;
    }
    database.serverName = servers[found->second].name;
    std::sort(database.mailboxes.begin(), database.mailboxes.end(),
              [](const Mailbox& a, const Mailbox& b) {
                const int folded = CompareIgnoringCase(a.displayName, b.displayName);
                if (folded != 0) return folded < 0;
                if (a.displayName != b.displayName) return a.displayName < b.displayName;
                return a.primarySmtpAddress < b.primarySmtpAddress;
              });
    servers[found->second].databases.push_back(std::move(database));
  }

  for (Server& server : servers)
    std::sort(server.databases.begin(), server.databases.end(),
              [](const Database& a, const Database& b) { return ByName(a.name, b.name); });
  std::sort(servers.begin(), servers.end(),
            [](const Server& a, const Server& b) { return ByName(a.name, b.name); });
  organisation.servers = std::move(servers);
  return organisation;
}

}  // namespace Worker
