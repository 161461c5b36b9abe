#pragma once
// The five filters' rule records for the tests, each described member by
// member without the schemas.
#include "frame/ipv4.h"
#include "sdk/mailservers/antispam.h"
#include "sdk/mailservers/antivirus.h"
#include "sdk/mailservers/attachment.h"
#include "sdk/mailservers/content.h"
#include "sdk/mailservers/domaincheck.h"
#include "tests/transport/rule_test.h"

namespace rule_test {

namespace as = kel::nusdk::MailServers::Antispam;
namespace av = kel::nusdk::MailServers::Antivirus;
namespace at = kel::nusdk::MailServers::Attachment;
namespace ct = kel::nusdk::MailServers::Content;
namespace dc = kel::nusdk::MailServers::DomainCheck;

inline void Put(Out& o, const kel::nusdk::Network::IPv4& ip) { Group(o, ip.address, ip.prefix); }

// Antispam
inline void Put(Out& o, const as::SecondaryAction& a) {
  Group(o, a.action, a.data, a.extraData, a.notify, a.recipients);
}
inline void Put(Out& o, const as::RuleSet::Rule& r) {
  const as::ScanSettings& s = r.scanSettings;
  const as::MultiFilter& m = s.multiFilter;
  Group(o, static_cast<const RuleHeader&>(r), s.aggressivity, s.checkAuthenticated,
        s.useCloudQueries, m.enabled, m.detectAsian, m.detectCyrillic, m.detectSexuallyExplicit,
        s.useURLFilter, s.useRBLFilter, s.useHeuristicFilter, s.useWhiteBlackLists, s.whiteList,
        s.blackList, r.onDetection.mainAction, r.onDetection.secondaryActions);
}

// Antivirus
inline void Put(Out& o, const av::RuleSet::OnDetection::SecondaryAction& a) {
  Group(o, a.action, a.data);
}
inline void Put(Out& o, const av::ReplacementTexts& t) {
  Group(o, t.scanned.replaced, t.scanned.quarantined, t.unscannable.replaced,
        t.unscannable.quarantined, t.moreInformation);
}
inline void Put(Out& o, const av::RuleSet::Rule& r) {
  const auto& s = r.scanSettings;
  const auto& t = s.threatTypes;
  const auto& d = r.onDetection;
  Group(o, static_cast<const RuleHeader&>(r), s.maxFileSize, s.maxArchiveDepth, s.extensions.mode,
        s.extensions.specific, t.spyware, t.adware, t.dialers, t.keyloggers, t.pua,
        d.actions.infected, d.actions.suspect, d.actions.unscannable, d.secondaryActions,
        d.replacementTexts, d.redirectEmailTo);
}

// Attachment
inline void Put(Out& o, const at::RuleSet::ScanningRule::OnDetection::SecondaryAction& a) {
  Group(o, a.action, a.data.kind, a.data.text, a.data.forwardTo, a.data.notify, a.data.recipients,
        a.extraData);
}
inline void Put(Out& o, const at::RuleSet::Rule& r) {
  const auto& s = r.scanSettings;
  const auto& c = s.categories;
  Group(o, static_cast<const RuleHeader&>(r), s.size.greaterThan, s.size.lowerThan,
        s.patterns.match, c.known.match, c.known.matchMode, c.custom.extensions, c.custom.matchMode,
        c.invertMatch, s.scanInArchives, s.maxArchiveDepth, r.onDetection.mainAction,
        r.onDetection.secondaryActions);
}

// Content
inline void Put(Out& o, const ct::RuleSet::ScanningRule::ScanSettings::Match& m) {
  Group(o, m.find, m.wholeWord, m.ignoreCase, m.engine);
}
inline void Put(Out& o, const ct::RuleSet::ScanningRule::OnDetection::SecondaryAction& a) {
  Group(o, a.action, a.data, a.notify, a.recipients, a.extraData);
}
inline void Put(Out& o, const ct::RuleSet::Rule& r) {
  Group(o, static_cast<const RuleHeader&>(r), r.scanSettings.subject.match,
        r.scanSettings.body.match, r.onDetection.mainAction, r.onDetection.secondaryActions);
}

// Domain check
inline void Put(Out& o, const dc::SecondaryAction& a) { Group(o, a.action, a.data, a.extraData); }
inline void Put(Out& o, const dc::RuleSet::Rule& r) {
  Group(o, static_cast<const RuleHeader&>(r), r.scanSettings.permittedSenders,
        r.scanSettings.checkAuthenticated, r.onDetection.mainAction,
        r.onDetection.secondaryActions);
}

}  // namespace rule_test
