// kelhost's reference quarantine writes real files and tells its sinks from a
// thread of its own.
#include "frame/win.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/plugins/plugins.h"
#include "sdk/mailservers/quarantine.h"
#include "tests/agent/json_test_util.h"

namespace {

namespace q = kel::nusdk::MailServers::Quarantine;

std::string ReadWhole(const std::wstring& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class ThreadSink final : public q::IQuarantine::INotifications {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return nullptr; }
  uint32_t OnItemsAdded(q::Zone, const kel::List<kel::StringW>& ids) override {
    threads.push_back(std::this_thread::get_id());
    added += static_cast<int>(ids.Count());
    return 0;
  }
  uint32_t OnItemsDeleted(q::Zone, const kel::List<DeletedItem>& items) override {
    threads.push_back(std::this_thread::get_id());
    for (const DeletedItem& item : items) deleted.push_back(item.id.c_str());
    return 0;
  }
  uint32_t OnFolderChanged(q::Zone, uint8_t) override { return 0; }
  uint32_t OnEmptied(q::Zone) override { return 0; }
  uint32_t OnPurgeSettingsChanged(q::Zone) override { return 0; }

  std::vector<std::thread::id> threads;
  int added = 0;
  std::vector<std::wstring> deleted;
};

TEST(ReferenceQuarantine, SavesAReadableMimeFileAndNotifiesFromItsOwnThread) {
  auto plugins = kelhost::MakeReferencePlugins();
  kelhost::ReferencePlugin* plugin = nullptr;
  for (auto& p : plugins)
    if (std::wstring(p->ComponentName()) == q::kComponentName) plugin = p.get();
  ASSERT_NE(plugin, nullptr);
  auto* store = static_cast<q::IQuarantine*>(plugin->Interface(q::IID_IQuarantine));
  ASSERT_NE(store, nullptr);
  ThreadSink sink;
  ASSERT_EQ(store->RegisterNotifications(&sink, nullptr), 0u);

  const kelhost::NotifyOutcome outcome =
      plugin->Notify("itemsAdded", json_test::Parse(R"({"zone": 0,
      "items": [{"id": "m1", "subject": "Hello", "senderEmail": "a@x.test",
                 "recipientEmails": ["b@y.test", "c@y.test"],
                 "mainPart": {"headers": [{"name": "Subject", "value": "Hello"}],
                              "contentType": "multipart/mixed",
                              "childParts": [{"contentType": "text/plain", "body": "Hi there"}]}}]})"));
  ASSERT_EQ(outcome.error, "") << outcome.detail;
  EXPECT_EQ(sink.added, 1);

  wchar_t folder[MAX_PATH] = {};
  ASSERT_GT(GetTempPathW(MAX_PATH, folder), 0u);
  const std::wstring path = std::wstring(folder) + L"kel-quarantine-m1.eml";
  ASSERT_EQ(store->SaveItem(q::kZoneEmails, L"m1", path.c_str(), 1), 0u);
  const std::string text = ReadWhole(path);
  DeleteFileW(path.c_str());
  EXPECT_EQ(text,
            "X-Quarantine-Id: m1\r\n"
            "From: a@x.test\r\n"
            "To: b@y.test, c@y.test\r\n"
            "MIME-Version: 1.0\r\n"
            "Subject: Hello\r\n"
            "Content-Type: multipart/mixed; boundary=\"kelhost.1\"\r\n"
            "\r\n\r\n"
            "--kelhost.1\r\n"
            "Content-Type: text/plain\r\n"
            "\r\nHi there\r\n"
            "--kelhost.1--\r\n");

  // Saved with "delete": gone, and the deletion told.
  EXPECT_EQ(sink.deleted, std::vector<std::wstring>{L"m1"});
  q::Data item;
  EXPECT_EQ(store->GetItem(q::kZoneEmails, L"m1", item), 1168u);
  EXPECT_EQ(store->SaveItem(q::kZoneEmails, L"m1", path.c_str(), 0), 1168u);
  EXPECT_EQ(store->SaveItem(static_cast<q::Zone>(2), L"m1", path.c_str(), 0), 87u);

  ASSERT_EQ(sink.threads.size(), 2u);
  for (const std::thread::id& thread : sink.threads) EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_EQ(store->UnregisterNotifications(&sink, nullptr), 0u);
}

}  // namespace
