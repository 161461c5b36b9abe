// "GetItemsFull" answers a page of 1,000 items, each with a three-level MIME
// tree of 10 parts. The item writer against the same document built directly
// on jsoncpp, converting text with the same routine; the ratio of the two is
// the writer's overhead (its depth bound and fixed key order included).
#include <benchmark/benchmark.h>

#include <string>

#include <json/value.h>

#include "frame/text_convert.h"
#include "quarantine/item_writer.h"

namespace {

namespace q = kel::nusdk::MailServers::Quarantine;
using QuarantineAgent::DataEx;
using QuarantineAgent::MailPartInfo;

constexpr int kItems = 1000;

MailPartInfo Part(const std::wstring& type, const std::wstring& body) {
  MailPartInfo part;
  auto& header = part.headers.EmplaceBack();
  header.name = L"Content-Type";
  header.value = type.c_str();
  part.contentType = type.c_str();
  part.body = body.c_str();
  return part;
}

// 1 + 3 + 6 = 10 parts on three levels.
kel::List<DataEx> Page() {
  kel::List<DataEx> items;
  for (int i = 0; i < kItems; ++i) {
    DataEx& item = items.EmplaceBack();
    item.id = (L"item-" + std::to_wstring(i)).c_str();
    item.module = q::kModuleAntivirus;
    item.rule = L"Default antivirus rule";
    item.size = 40000 + i;
    item.sourceIP = L"192.0.2.17";
    item.subject = L"Quarterly report and invoice";
    item.contentType = L"multipart/mixed";
    item.when = 4102444800 + i;
    item.senderConnection = L"billing@example.test";
    item.senderEmail = L"billing@example.test";
    item.recipientConnections.EmplaceBack(L"ann@corp.test");
    item.recipientEmails.EmplaceBack(L"ann@corp.test");
    item.antivirusStatus = q::kStatusInfected;
    item.antivirusDetected = L"EICAR-Test-File";
    item.antivirusFile = L"report.zip/eicar.com";
    item.mainPart = Part(L"multipart/mixed", L"");
    for (int c = 0; c < 3; ++c) {
      MailPartInfo& child =
          item.mainPart.childParts.EmplaceBack(Part(L"multipart/alternative", L""));
      for (int g = 0; g < 2; ++g)
        child.childParts.EmplaceBack(Part(L"text/plain", L"Hello, the report is attached."));
    }
  }
  return items;
}

Json::Value Text(const kel::StringW& text) {
  return Json::Value(kel::Utf8FromWide(text.c_str(), text.Length()));
}

Json::Value Direct(const MailPartInfo& part) {
  Json::Value out(Json::objectValue);
  Json::Value& headers = out["headers"] = Json::Value(Json::arrayValue);
  for (const auto& h : part.headers) {
    Json::Value header(Json::objectValue);
    header["name"] = Text(h.name);
    header["value"] = Text(h.value);
    headers.append(std::move(header));
  }
  out["name"] = Text(part.name);
  out["contentType"] = Text(part.contentType);
  out["body"] = Text(part.body);
  Json::Value& children = out["childParts"] = Json::Value(Json::arrayValue);
  for (const MailPartInfo& child : part.childParts) children.append(Direct(child));
  return out;
}

Json::Value Direct(const DataEx& item) {
  Json::Value out(Json::objectValue);
  out["detectionPoint"]["location"] = "Transport";
  out["id"] = Text(item.id);
  out["module"] = "Antivirus";
  out["rule"] = Text(item.rule);
  out["size"] = Json::Value(static_cast<Json::UInt64>(item.size));
  out["sourceIP"] = Text(item.sourceIP);
  out["subject"] = Text(item.subject);
  out["when"] = Json::Value(static_cast<Json::Int64>(item.when));
  out["sentBy"]["connection"] = Text(item.senderConnection);
  out["sentBy"]["email"] = Text(item.senderEmail);
  Json::Value& connections = out["sentTo"]["connection"] = Json::Value(Json::arrayValue);
  for (const kel::StringW& r : item.recipientConnections) connections.append(Text(r));
  Json::Value& emails = out["sentTo"]["email"] = Json::Value(Json::arrayValue);
  for (const kel::StringW& r : item.recipientEmails) emails.append(Text(r));
  out["contentType"] = Text(item.contentType);
  Json::Value& av = out["Antivirus"];
  av["detected"] = Text(item.antivirusDetected);
  av["reason"] = "detected";
  av["file"] = Text(item.antivirusFile);
  av["status"].append("infected");
  out["mainPart"] = Direct(item.mainPart);
  return out;
}

void BM_ItemWriterPage(benchmark::State& state) {
  const kel::List<DataEx> items = Page();
  for (auto _ : state) {
    Json::Value answer(Json::objectValue);
    answer["totalCount"] = kItems;
    if (!QuarantineAgent::WriteItems(items, answer["items"])) state.SkipWithError("not written");
    benchmark::DoNotOptimize(answer);
  }
  state.SetItemsProcessed(state.iterations() * kItems);
}

void BM_JsoncppDirectPage(benchmark::State& state) {
  const kel::List<DataEx> items = Page();
  for (auto _ : state) {
    Json::Value answer(Json::objectValue);
    answer["totalCount"] = kItems;
    Json::Value& array = answer["items"] = Json::Value(Json::arrayValue);
    for (const DataEx& item : items) array.append(Direct(item));
    benchmark::DoNotOptimize(answer);
  }
  state.SetItemsProcessed(state.iterations() * kItems);
}

BENCHMARK(BM_ItemWriterPage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JsoncppDirectPage)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
