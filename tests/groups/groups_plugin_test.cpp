// kelhost's reference groups plug-in while a run is under way, which scripts
// cannot hold still: a second run is refused, and unregistering a sink waits
// for the notification it is in, so that its owner may go right after.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/plugins/plugins.h"
#include "sdk/mailservers/groups.h"

namespace {

namespace sdk = kel::nusdk::MailServers::Groups;

// Holds the run in its first notification until released.
class HeldSink : public sdk::IGroups::INotifications {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t OnSyncStarted(uint32_t) override {
    std::unique_lock<std::mutex> lock(mutex_);
    entered_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return released_; });
    ++calls;
    return 0;
  }
  uint32_t OnGroupSyncStarted(const sdk::GroupSyncInfo&) override {
    ++calls;
    return 0;
  }
  uint32_t OnGroupSyncFinished(const sdk::GroupSyncResult&) override {
    ++calls;
    return 0;
  }
  uint32_t OnSyncFinished(const sdk::SyncSummary&) override {
    ++calls;
    return 0;
  }

  void WaitEntered() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return entered_; });
  }
  void Release() {
    std::lock_guard<std::mutex> lock(mutex_);
    released_ = true;
    changed_.notify_all();
  }

  std::atomic<int> calls{0};

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool entered_ = false;
  bool released_ = false;
};

TEST(GroupsPlugin, ARunRefusesASecondAndUnregisteringWaitsForTheSink) {
  std::unique_ptr<kelhost::ReferencePlugin> reference;
  for (auto& plugin : kelhost::MakeReferencePlugins()) {
    if (std::wstring(plugin->ComponentName()) == sdk::kComponentName) reference = std::move(plugin);
  }
  ASSERT_TRUE(reference);
  auto* groups = static_cast<sdk::IGroups*>(reference->Interface(sdk::IID_IGroups));
  ASSERT_NE(groups, nullptr);

  sdk::GroupSettings settings;
  settings.name = L"Engineering";
  settings.kind = sdk::kGroupDirectory;
  settings.directoryDn = L"CN=Engineering";
  kel::Guid id;
  ASSERT_EQ(groups->AddGroup(settings, kel::List<kel::StringW>(), id), 0u);

  HeldSink sink;
  ASSERT_EQ(groups->RegisterNotifications(&sink), 0u);
  ASSERT_EQ(groups->Synchronize(kel::List<kel::Guid>()), 0u);
  sink.WaitEntered();

  sdk::SyncStatus status;
  ASSERT_EQ(groups->GetSyncStatus(status), 0u);
  EXPECT_EQ(status.running, 1);
  EXPECT_EQ(status.groups, 1u);
  EXPECT_EQ(groups->Synchronize(kel::List<kel::Guid>()), 170u);

  std::atomic<bool> unregistered{false};
  std::thread owner([&] {
    EXPECT_EQ(groups->UnregisterNotifications(&sink), 0u);
    unregistered = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(unregistered.load()) << "unregistered while the sink was being called";
  sink.Release();
  owner.join();
  const int heard = sink.calls.load();

  // The run goes on to its end without the sink.
  for (int i = 0; i < 500 && status.running; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_EQ(groups->GetSyncStatus(status), 0u);
  }
  EXPECT_EQ(status.running, 0);
  EXPECT_EQ(status.failed, 1u);  // the directory is empty
  EXPECT_EQ(sink.calls.load(), heard);
}

}  // namespace
