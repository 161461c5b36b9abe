// The worker's documents as the agent reads them: whatever the directory
// holds, the XML parses, and every value comes back as it was (or with the
// characters XML cannot carry replaced).
#include <gtest/gtest.h>

#include <json/value.h>

#include "frame/text_convert.h"
#include "sysinfo/worker/documents.h"
#include "sysinfo/worker/xml_writer.h"
#include "sysinfo/xml2json.h"

namespace {

using namespace Worker;

TEST(XmlEscape, EveryCharacterClass) {
  const struct {
    std::wstring in;
    const char* out;
  } rows[] = {
      {L"plain", "plain"},
      {L"a&b<c>d\"e'f", "a&amp;b&lt;c&gt;d&quot;e&apos;f"},
      {L"&amp;", "&amp;amp;"},
      {L"tab\tline\ncr\r", "tab&#9;line&#10;cr&#13;"},
      {std::wstring(L"nul\0bell\x07", 9), "nul\xEF\xBF\xBD" "bell\xEF\xBF\xBD"},
      {L"\x1F\x20", "\xEF\xBF\xBD "},
      {L"Z\u00fcrich \u5c71\u7530", "Z\xC3\xBCrich \xE5\xB1\xB1\xE7\x94\xB0"},
      {L"\u07FF\u0800", "\xDF\xBF\xE0\xA0\x80"},
      {L"rocket \xD83D\xDE80", "rocket \xF0\x9F\x9A\x80"},
      {L"lone \xD83D end", "lone \xEF\xBF\xBD end"},
      {L"lone \xDE80 end", "lone \xEF\xBF\xBD end"},
      {L"last \xD83D", "last \xEF\xBF\xBD"},
      {L"\xFFFE\xFFFF\xFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& row : rows) {
    std::string out;
    AppendEscaped(out, row.in.data(), row.in.size());
    EXPECT_EQ(out, row.out) << testing::PrintToString(row.in);
  }
}

// The text a value should come back as: what XML can carry unchanged.
std::string Expected(const std::wstring& value) {
  std::string out;
  AppendEscaped(out, value.data(), value.size());
  std::string plain;  // undo the five entities and the three references
  for (size_t i = 0; i < out.size();) {
    static const struct {
      const char* entity;
      char c;
    } kEntities[] = {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'},
                     {"&apos;", '\''}, {"&#9;", '\t'}, {"&#10;", '\n'}, {"&#13;", '\r'}};
    bool matched = false;
    for (const auto& e : kEntities) {
      const size_t length = std::char_traits<char>::length(e.entity);
      if (out.compare(i, length, e.entity) == 0) {
        plain += e.c;
        i += length;
        matched = true;
        break;
      }
    }
    if (!matched) plain += out[i++];
  }
  return plain;
}

TEST(StructureDocument, HostileValuesSurviveTheAgentsReader) {
  const std::wstring hostile[] = {
      L"Chlo\u00e9 <Boss> & 'Co' \"Q\"",
      L"]]><!-- -->",
      L"tab\there\nnewline\r",
      std::wstring(L"nul\0byte", 8),
      L"\u5c71\u7530 \u592a\u90ce \xD83D\xDE80",
      L"lone \xDC00 surrogate",
      L"  spaces kept  ",
  };
  for (const std::wstring& value : hostile) {
    Organisation organisation;
    Server server;
    server.name = value;
    server.fqdn = L"ex01.corp.example";
    Database database;
    database.name = value;
    database.serverName = value;
    Mailbox mailbox;
    mailbox.displayName = value;
    mailbox.alias = L"";  // left out
    database.mailboxes.push_back(mailbox);
    server.databases.push_back(database);
    organisation.servers.push_back(server);
    Server bare;
    bare.name = L"EX02";
    organisation.servers.push_back(bare);

    std::string xml = StructureDocument(organisation);
    Json::Value json;
    ASSERT_TRUE(SystemInfo::StructureToJson(xml, json)) << xml;
    const std::string want = Expected(value);
    const Json::Value& s = json["servers"][0];
    EXPECT_EQ(s["name"].asString(), want) << xml;
    EXPECT_EQ(s["fqdn"].asString(), "ex01.corp.example");
    const Json::Value& d = s["databases"][0];
    EXPECT_EQ(d["name"].asString(), want);
    EXPECT_EQ(d["server"].asString(), want);
    EXPECT_EQ(d["mailboxCount"].asString(), "1");
    const Json::Value& m = d["mailboxes"][0];
    EXPECT_EQ(m["displayName"].asString(), want);
    EXPECT_FALSE(m.isMember("alias"));
    EXPECT_EQ(m["accountDisabled"].asString(), "false");
    EXPECT_EQ(json["servers"][1]["name"].asString(), "EX02");
    EXPECT_EQ(json["servers"][1]["databases"], Json::Value(Json::arrayValue));
  }
}

TEST(ConfigurationDocument, DomainsAreSortedIntoTheirKinds) {
  Configuration configuration;
  configuration.name = L"Z\u00fcrich & S\u00f6hne";
  configuration.acceptedDomains = {{L"corp.example", 4},   {L"a.example", 0},
                                   {L"partner.example", 2}, {L"relay.example", 1},
                                   {L"second.example", 6},  {L"odd.example", 3}};
  configuration.internalSmtpServers = {L"10.0.0.5", L"", L"10.0.0.6"};
  configuration.serverNames = {L"EX01", L"EX02"};
  configuration.maxSendSizeKB = L"35840";
  std::string xml = ConfigurationDocument(configuration);
  Json::Value json;
  ASSERT_TRUE(SystemInfo::ConfigurationToJson(xml, json)) << xml;
  const Json::Value& c = json["configuration"];
  EXPECT_EQ(c["organization"]["name"].asString(), "Z\xC3\xBCrich & S\xC3\xB6hne");
  const Json::Value& domains = c["acceptedDomains"];
  EXPECT_EQ(domains["all"].asString(),
            "corp.example, a.example, partner.example, relay.example, second.example, odd.example");
  EXPECT_EQ(domains["default"].asString(), "corp.example");  // the first one marked
  EXPECT_EQ(domains["authoritative"].asString(), "corp.example, a.example");
  EXPECT_EQ(domains["internalRelay"].asString(), "partner.example, second.example");
  EXPECT_EQ(domains["externalRelay"].asString(), "relay.example");
  EXPECT_EQ(c["transport"]["maxSendSizeKB"].asString(), "35840");
  EXPECT_FALSE(c["transport"].isMember("maxReceiveSizeKB"));
  EXPECT_EQ(c["transport"]["internalSmtpServers"].asString(), "10.0.0.5, 10.0.0.6");
  EXPECT_EQ(c["exchangeServers"]["count"].asString(), "2");
  EXPECT_EQ(c["exchangeServers"]["names"].asString(), "EX01, EX02");
}

}  // namespace
