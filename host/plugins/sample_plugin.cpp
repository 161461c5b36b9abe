// "Test.Sample": the plug-in the agent framework is proven with (sdk/sample/isample.h).
#include <memory>
#include <mutex>

#include "host/plugins/reference_plugin.h"
#include "host/plugins/structure_json.h"
#include "sdk/kel_base_interface.h"
#include "sdk/sample/isample.h"

namespace kelhost {
namespace {

using kel::nusdk::Sample::ISample;
using kel::nusdk::Sample::ISampleNotifications;
using kel::nusdk::Sample::SampleSettings;

class SamplePlugin final : public ReferencePlugin, public ISample {
 public:
  SamplePlugin() {
    settings_.enabled = 1;
    settings_.name = L"Sample";
    settings_.level = static_cast<uint32_t>(kel::nusdk::Sample::Level::Medium);
    settings_.servers.EmplaceBack(L"relay1.example.test");
  }

  const wchar_t* ComponentName() const override { return kel::nusdk::Sample::kComponentName; }

  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == kel::nusdk::Sample::IID_ISample) {
      return static_cast<ISample*>(this);
    }
    return nullptr;
  }

  uint32_t SetSettings(const SampleSettings& settings) override {
    if (const uint32_t code = Failure()) return code;
    try {
      SampleSettings copy;
      copy.enabled = settings.enabled;
      copy.name = settings.name;
      copy.level = settings.level;
      if (const uint32_t code = WriteListSlots(copy.servers, settings.servers)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      settings_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetSettings(SampleSettings& settings) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      settings.enabled = settings_.enabled;
      settings.name = settings_.name;
      settings.level = settings_.level;
      return WriteListSlots(settings.servers, settings_.servers);
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t Advise(ISampleNotifications* sink) override {
    return Guarded([&] { return sinks_.Add(sink); });
  }

  uint32_t Unadvise(ISampleNotifications* sink) override {
    return Guarded([&] { return sinks_.Remove(sink); });
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value& data) override {
    if (notification != "OnSettingsChanged") {
      return NotifyOutcome::Failed("unknown notification",
                                   "Test.Sample has no notification \"" + notification + "\"");
    }
    // The change happened on the plug-in's side: it is what the getter answers from now on.
    SampleSettings changed;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      changed = settings_;
    }
    StructureReader reader(data, "SampleSettings");
    reader.Flag("enabled", changed.enabled);
    reader.String("name", changed.name);
    reader.UInt32("level", changed.level);
    reader.StringList("servers", changed.servers);
    std::string problem;
    if (!reader.Finish(problem)) return NotifyOutcome::Failed("bad data", problem);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      settings_ = changed;
    }
    NotifyOutcome outcome;
    const std::vector<ISampleNotifications*> sinks = sinks_.Snapshot();
    DeliverOnPluginThread([&] {
      for (ISampleNotifications* sink : sinks) sink->OnSettingsChanged(changed);
    });
    outcome.delivered = static_cast<uint32_t>(sinks.size());
    return outcome;
  }

 private:
  std::mutex mutex_;
  SampleSettings settings_;
  SinkSet<ISampleNotifications> sinks_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeSamplePlugin() { return std::make_unique<SamplePlugin>(); }

}  // namespace kelhost
