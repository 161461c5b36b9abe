#pragma once
// Content rule sets for the tests: a field-by-field description that does not
// go through the schemas, and a seeded generator of valid rule sets with
// every kind of match, action and condition.
#include <cstdint>
#include <sstream>
#include <string>

#include "sdk/mailservers/content.h"
#include "tests/transport/rule_describe.h"
#include "transport/content/content_schema.h"

namespace content_test {

using RuleSet = kel::nusdk::MailServers::Content::RuleSet;
using Rule = RuleSet::Rule;
using ScanSettings = RuleSet::ScanningRule::ScanSettings;
using Match = ScanSettings::Match;
using OnDetection = RuleSet::ScanningRule::OnDetection;
using SecondaryAction = OnDetection::SecondaryAction;
using Action = kel::nusdk::MailServers::IContentFilterRule::SecondaryAction;

inline std::string Text(const Match& m) {
  std::ostringstream out;
  out << "{find " << rule_test::Text(m.find) << " wholeWord " << int{m.wholeWord} << " ignoreCase "
      << int{m.ignoreCase} << " engine " << m.engine << "}";
  return out.str();
}

inline std::string Text(const kel::List<Match>& matches) {
  std::string out = "[";
  for (const Match& m : matches) out += Text(m) + ",";
  return out + "]";
}

inline std::string Text(const SecondaryAction& a) {
  std::ostringstream out;
  out << "{action " << a.action << " data " << rule_test::Text(a.data) << " notify "
      << rule_test::Text(a.notify) << " recipients " << rule_test::Text(a.recipients)
      << " extraData " << rule_test::Text(a.extraData) << "}";
  return out.str();
}

inline std::string Text(const Rule& r) {
  std::ostringstream out;
  out << rule_test::Text(static_cast<const kel::nusdk::MailServers::RuleHeader&>(r)) << " subject "
      << Text(r.scanSettings.subject.match) << " body " << Text(r.scanSettings.body.match)
      << " mainAction " << rule_test::Text(r.onDetection.mainAction) << " secondaryActions [";
  for (const SecondaryAction& a : r.onDetection.secondaryActions) out << Text(a) << ",";
  out << "]";
  return out.str();
}

inline std::string Text(const RuleSet& s) {
  std::string out = "enabled " + std::to_string(s.enabled) + " rules [\n";
  for (const Rule& r : s.rules) out += Text(r) + "\n";
  return out + "]";
}

// Valid content rule sets; a member that its action does not use stays empty,
// as loading leaves it.
class Generator : public rule_test::Generator {
 public:
  using rule_test::Generator::Generator;

  Match MakeMatch() {
    Match m;
    m.find = Strings();
    m.wholeWord = Flag();
    m.ignoreCase = Flag();
    m.engine = Coin() ? ScanSettings::kEngineRegexp : ScanSettings::kEngineText;
    return m;
  }

  kel::List<Match> Matches() {
    kel::List<Match> list;
    const uint32_t count = Below(4);
    for (uint32_t i = 0; i < count; ++i) list.EmplaceBack(MakeMatch());
    return list;
  }

  SecondaryAction MakeSecondaryAction() {
    SecondaryAction a;
    a.action = static_cast<Action::Action>(Below(6));
    if (a.action <= Action::kBccTo) a.data = String();
    if (a.action == Action::kNotifyInternalRecipients) {
      a.notify.sender = Flag();
      a.notify.receivers = Flag();
    }
    if (a.action == Action::kNotifyRecipients) a.recipients = Strings();
    a.extraData = String();
    return a;
  }

  Rule MakeRule() {
    Rule r;
    Header(r);
    r.scanSettings.subject.match = Matches();
    r.scanSettings.body.match = Matches();
    r.onDetection.mainAction.action = Below(4);
    // A redirect needs a target; the other actions may carry data or not.
    r.onDetection.mainAction.data = String();
    if (r.onDetection.mainAction.action == 1) r.onDetection.mainAction.data += L"@";
    const uint32_t count = Below(5);
    for (uint32_t i = 0; i < count; ++i)
      r.onDetection.secondaryActions.EmplaceBack(MakeSecondaryAction());
    return r;
  }

  RuleSet MakeRuleSet(uint32_t rules) {
    RuleSet s;
    s.enabled = Flag();
    for (uint32_t i = 0; i < rules; ++i) s.rules.EmplaceBack(MakeRule());
    return s;
  }
};

}  // namespace content_test
