#pragma once
// The callbacks kelhost hands to an agent to collect its names (slot 9) and
// its feature states (slot 5), as JSON ready for a reply.
#include <json/value.h>

#include "sdk/agent.h"

namespace kelhost {

class NameCollector final : public INameSink {
 public:
  // A null name is kept as null, so that it shows in the reply.
  void AddName(const wchar_t* name) override;
  const Json::Value& Names() const { return names_; }

 private:
  Json::Value names_{Json::arrayValue};
};

class FeatureCollector final : public IFeatureStateSink {
 public:
  void ReportFeature(const wchar_t* feature, bool enabled) override;
  // [{"name", "enabled"}, ...] in the order reported.
  const Json::Value& Features() const { return features_; }

 private:
  Json::Value features_{Json::arrayValue};
};

}  // namespace kelhost
