// The worker's XML against the JSON the console must receive.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <json/reader.h>
#include <json/value.h>

#include "frame/logging/log.h"
#include "sysinfo/xml2json.h"
#include "tests/support/log_sink_probe.h"

namespace {

Json::Value Parsed(const char* text) {
  Json::Value value;
  Json::Reader reader;
  EXPECT_TRUE(reader.parse(text, value)) << text;
  return value;
}

struct Row {
  const char* what;
  bool (*convert)(std::string&, Json::Value&);
  const char* xml;
  bool wellFormed;
  const char* json;                   // the whole output
  std::vector<std::wstring> missing;  // elements logged as missing a value, in order
};

TEST(Xml2Json, DocumentsBecomeTheDocumentsTheConsoleExpects) {
  logging::LogHandle log;
  SinkProbe sink;
  const Row rows[] = {
      {"three levels; a server without databases; text ignored; later sibling wins",
       &SystemInfo::StructureToJson,
       R"(<servers>
            <server><name value="EX01"/><version value="15.0"/><version value="15.1">text</version>
              <databases>
                <database><name value="DB1"/>
                  <mailboxes><mailbox><alias value="ann"/></mailbox><mailbox><alias value="bo"/><note value=""/></mailbox></mailboxes>
                </database>
                <database><name value="DB2"/></database>
              </databases>
            </server>
            <server><name value="EX02"/><site><name value="HQ"/><code value="1"/></site></server>
            <other><name value="ignored"/></other>
          </servers>)",
       true,
       R"({"servers":[
            {"name":"EX01","version":"15.1","databases":[
              {"name":"DB1","mailboxes":[{"alias":"ann"},{"alias":"bo"}]},
              {"name":"DB2","mailboxes":[]}]},
            {"name":"EX02","site":{"name":"HQ","code":"1"},"databases":[]}]})",
       {L"note"}},
      {"no servers container",
       &SystemInfo::StructureToJson,
       "<organization/>",
       true,
       R"({"servers":[]})",
       {}},
      {"configuration: nested objects, a missing value, an element without one",
       &SystemInfo::ConfigurationToJson,
       R"(<?xml version="1.0" encoding="utf-8"?>
          <configuration><org value="Corp"/><empty value=""/><bare>text only</bare>
            <limits><size value="35MB"/><size value="40MB"/><deep><deeper value="x"/></deep></limits>
            <name value="Zo&#xEB;"/></configuration>)",
       true,
       R"({"configuration":{"org":"Corp","limits":{"size":"40MB","deep":{"deeper":"x"}},"name":"Zo\u00eb"}})",
       {L"empty", L"bare"}},
      {"configuration missing",
       &SystemInfo::ConfigurationToJson,
       "<servers/>",
       true,
       R"({"configuration":{}})",
       {}},
      {"not well-formed: nothing written",
       &SystemInfo::StructureToJson,
       "<servers><server><name value=\"EX01\"></servers>",
       false,
       "null",
       {}},
      {"not XML at all", &SystemInfo::ConfigurationToJson, "\x01garbage", false, "null", {}},
      {"empty output", &SystemInfo::StructureToJson, "", false, "null", {}},
  };
  for (const Row& row : rows) {
    sink.DrainLines();
    std::string xml = row.xml;
    Json::Value out;
    EXPECT_EQ(row.convert(xml, out), row.wellFormed) << row.what;
    EXPECT_EQ(out, Parsed(row.json)) << row.what << "\n" << out.toStyledString();
    std::vector<std::wstring> missing;
    for (const RecordedLine& line : sink.DrainLines()) {
      if (line.message.rfind(L"Missing value for element ", 0) == 0) {
        EXPECT_EQ(line.function, L"SystemInfo::Generic::Xml2Json");
        missing.push_back(line.message.substr(26));
      }
    }
    EXPECT_EQ(missing, row.missing) << row.what;
  }
}

TEST(Xml2Json, NestingBeyondTheBoundIsLeftOutNotFollowed) {
  std::string xml = "<configuration>";
  for (int i = 0; i < 10000; ++i) xml += "<n>";
  xml += "<leaf value=\"deep\"/>";
  for (int i = 0; i < 10000; ++i) xml += "</n>";
  xml += "<top value=\"kept\"/></configuration>";
  Json::Value out;
  ASSERT_TRUE(SystemInfo::ConfigurationToJson(xml, out));
  EXPECT_EQ(out["configuration"]["top"], "kept");
  size_t depth = 0;
  for (const Json::Value* at = &out["configuration"]; at->isMember("n"); at = &(*at)["n"]) ++depth;
  EXPECT_EQ(depth, SystemInfo::Generic::kMaxXmlDepth);
}

}  // namespace
