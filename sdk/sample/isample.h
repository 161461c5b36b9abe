#pragma once
// A small plug-in of the host's kind that the agent framework is proven with:
// settings with a string, a flag, an enumeration and a list, set and read back,
// and a change notification. The simulated host implements it in memory; a test
// agent, registered only by the tests, serves it.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::Sample {

// 2c5e0f6a-4b1d-4e8a-9d3c-7a1b2c3d4e5f
constexpr kel::InterfaceId IID_ISample{0x4e8a4b1d2c5e0f6aull, 0x5f4e3d2c1b7a3c9dull};

inline constexpr wchar_t kComponentName[] = L"Test.Sample";

enum class Level : uint32_t { Low = 1, Medium = 2, High = 4 };

struct SampleSettings {
  uint8_t enabled = 0;
  kel::StringW name;
  uint32_t level = static_cast<uint32_t>(Level::Low);
  kel::List<kel::StringW> servers;
};

class ISampleNotifications {
 public:
  // Slot 0: the settings changed on the plug-in's side; the answer is ignored.
  virtual uint32_t OnSettingsChanged(const SampleSettings& settings) = 0;

 protected:
  ~ISampleNotifications() = default;
};

class ISample : public IKelBaseInterface {
 public:
  virtual uint32_t SetSettings(const SampleSettings& settings) = 0;  // slot 1
  virtual uint32_t GetSettings(SampleSettings& settings) = 0;        // slot 2
  virtual uint32_t Advise(ISampleNotifications* sink) = 0;           // slot 3
  virtual uint32_t Unadvise(ISampleNotifications* sink) = 0;         // slot 4

 protected:
  ~ISample() = default;
};

}  // namespace kel::nusdk::Sample
