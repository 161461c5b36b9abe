#pragma once
// The five filters' rule records for the tests: each described member by
// member without the schemas, and made at random within what each schema
// accepts (a member that an action does not use stays empty, as a load
// leaves it). Filter<RuleSet>::MakeRule is the one generator interface.
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

template <class RuleSet>
std::string DescribeSet(const RuleSet& set) {
  Out o;
  Group(o, set.enabled, set.rules);
  return o.text;
}

template <class RuleSet>
struct Filter;

template <>
struct Filter<as::RuleSet> {
  static as::RuleSet::Rule MakeRule(Generator& g) {
    as::RuleSet::Rule r;
    g.Header(r);
    as::ScanSettings& s = r.scanSettings;
    s.aggressivity = g.Any32();
    g.Fill(s.checkAuthenticated, s.useCloudQueries, s.multiFilter.enabled,
           s.multiFilter.detectAsian, s.multiFilter.detectCyrillic,
           s.multiFilter.detectSexuallyExplicit, s.useURLFilter, s.useRBLFilter,
           s.useHeuristicFilter, s.useWhiteBlackLists, s.whiteList, s.blackList);
    r.onDetection.mainAction = g.MakeMainAction();
    r.onDetection.secondaryActions = g.ListOf<as::SecondaryAction>(5, [&] {
      as::SecondaryAction a;
      a.action = static_cast<as::SecondaryActionType>(g.Below(7));
      if (a.action <= as::kBccTo) g.Fill(a.data);
      // A tag's extra data may be left out.
      if (a.action == as::kAddHeader || (a.action == as::kTagSubject && g.Coin()))
        g.Fill(a.extraData);
      if (a.action == as::kNotifyInternalRecipients) g.Fill(a.notify.sender, a.notify.receivers);
      if (a.action == as::kNotifyRecipients) g.Fill(a.recipients);
      return a;
    });
    return r;
  }
};

template <>
struct Filter<av::RuleSet> {
  static av::RuleSet::Rule MakeRule(Generator& g) {
    using Action = kel::nusdk::MailServers::IAntivirusFilterRule::Action;
    static const uint32_t kActions[] = {1, 3, 5, 7, 10, 0x302, 0x402, 0x505, 0x602};
    av::RuleSet::Rule r;
    g.Header(r);
    auto& s = r.scanSettings;
    s.maxFileSize = g.Any32();
    // 16 is unlimited, -1 in JSON; -1 itself would come back as 16.
    s.maxArchiveDepth = g.Coin() ? av::kUnlimitedArchiveDepth : static_cast<int32_t>(g.Below(40));
    s.extensions.mode = static_cast<av::ExtensionMode>(g.Below(4));
    g.Fill(s.extensions.specific, s.threatTypes.spyware, s.threatTypes.adware,
           s.threatTypes.dialers, s.threatTypes.keyloggers, s.threatTypes.pua);
    auto& d = r.onDetection;
    g.Fill(d.redirectEmailTo, d.replacementTexts.scanned.replaced,
           d.replacementTexts.scanned.quarantined, d.replacementTexts.unscannable.replaced,
           d.replacementTexts.unscannable.quarantined, d.replacementTexts.moreInformation);
    for (auto* list : {&d.actions.infected, &d.actions.suspect, &d.actions.unscannable}) {
      *list = g.ListOf<Action>(4, [&] {
        const auto action = static_cast<Action>(kActions[g.Below(9)]);
        // Without a target only the unscannable list may redirect.
        const bool refused = action == Action::kRedirectEmail && d.redirectEmailTo.IsEmpty() &&
                             list != &d.actions.unscannable;
        return refused ? Action::kReplaceFile : action;
      });
    }
    d.secondaryActions = g.ListOf<av::RuleSet::OnDetection::SecondaryAction>(3, [&] {
      av::RuleSet::OnDetection::SecondaryAction a;
      a.action = static_cast<av::SecondaryActionType>(g.Below(2));
      g.Fill(a.data.sender, a.data.receivers);
      return a;
    });
    return r;
  }
};

template <>
struct Filter<at::RuleSet> {
  static at::RuleSet::Rule MakeRule(Generator& g) {
    using SecondaryAction = at::RuleSet::ScanningRule::OnDetection::SecondaryAction;
    at::RuleSet::Rule r;
    g.Header(r);
    auto& s = r.scanSettings;
    s.size = {g.Any32(), g.Any32()};
    s.categories.known.matchMode = static_cast<at::KnownMatchMode>(g.Below(2));
    s.categories.custom.matchMode = static_cast<at::CustomMatchMode>(g.Below(3));
    g.Fill(s.patterns.match, s.categories.known.match, s.categories.custom.extensions,
           s.categories.invertMatch, s.scanInArchives);
    s.maxArchiveDepth = g.Any32();
    r.onDetection.mainAction.action = g.Below(6);
    // A replacement and a redirect need their "data".
    g.Fill(r.onDetection.mainAction.data);
    r.onDetection.mainAction.data += L"@";
    r.onDetection.secondaryActions = g.ListOf<SecondaryAction>(4, [&] {
      SecondaryAction a;
      a.action = static_cast<SecondaryAction::Action>(g.Below(7));
      a.data.kind = at::DataKindOf(a.action);
      if (a.data.kind == SecondaryAction::kText) g.Fill(a.data.text);
      if (a.data.kind == SecondaryAction::kForwardAddress) g.Fill(a.data.forwardTo);
      if (a.data.kind == SecondaryAction::kNotification) {
        g.Fill(a.data.notify.sender, a.data.notify.receivers);
      }
      if (a.data.kind == SecondaryAction::kRecipientList) g.Fill(a.data.recipients);
      g.Fill(a.extraData);
      return a;
    });
    return r;
  }
};

template <>
struct Filter<ct::RuleSet> {
  using ScanSettings = ct::RuleSet::ScanningRule::ScanSettings;
  using SecondaryAction = ct::RuleSet::ScanningRule::OnDetection::SecondaryAction;
  using Action = kel::nusdk::MailServers::IContentFilterRule::SecondaryAction;

  static ct::RuleSet::Rule MakeRule(Generator& g) {
    ct::RuleSet::Rule r;
    g.Header(r);
    for (auto* part : {&r.scanSettings.subject, &r.scanSettings.body}) {
      part->match = g.ListOf<ScanSettings::Match>(4, [&] {
        ScanSettings::Match m;
        g.Fill(m.find, m.wholeWord, m.ignoreCase);
        m.engine = static_cast<ScanSettings::Engine>(g.Below(2));
        return m;
      });
    }
    // A redirect needs a target; the other actions may carry data or not.
    r.onDetection.mainAction.action = g.Below(4);
    g.Fill(r.onDetection.mainAction.data);
    if (r.onDetection.mainAction.action == 1) r.onDetection.mainAction.data += L"@";
    r.onDetection.secondaryActions = g.ListOf<SecondaryAction>(5, [&] {
      SecondaryAction a;
      a.action = static_cast<Action::Action>(g.Below(6));
      if (a.action <= Action::kBccTo) g.Fill(a.data);
      if (a.action == Action::kNotifyInternalRecipients)
        g.Fill(a.notify.sender, a.notify.receivers);
      if (a.action == Action::kNotifyRecipients) g.Fill(a.recipients);
      g.Fill(a.extraData);
      return a;
    });
    return r;
  }
};

template <>
struct Filter<dc::RuleSet> {
  static dc::RuleSet::Rule MakeRule(Generator& g) {
    dc::RuleSet::Rule r;
    g.Header(r);
    r.scanSettings.permittedSenders = g.ListOf<kel::nusdk::Network::IPv4>(4, [&] {
      kel::nusdk::Network::IPv4 ip;
      ip.address = g.Any32();
      ip.prefix = g.Below(33);  // 0: an address alone
      return ip;
    });
    g.Fill(r.scanSettings.checkAuthenticated);
    r.onDetection.mainAction = g.MakeMainAction();
    r.onDetection.secondaryActions = g.ListOf<dc::SecondaryAction>(5, [&] {
      dc::SecondaryAction a;
      a.action = static_cast<dc::SecondaryAction::Action>(g.Below(4));
      g.Fill(a.data);
      // A tag's extra data may be left out.
      if (a.action == dc::SecondaryAction::kAddHeader ||
          (a.action == dc::SecondaryAction::kTagSubject && g.Coin())) {
        g.Fill(a.extraData);
      }
      return a;
    });
    return r;
  }
};

}  // namespace rule_test
