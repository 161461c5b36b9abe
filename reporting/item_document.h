#pragma once
// The JSON documents of the scan notifications: one per scanned item, one per
// blocked connection. Pure functions of the plug-in's structures, so that the
// scanner agent keeps no state and needs no lock.
//
// Item document, keys in the order they are decided:
//   per module with matched rules (antispam, antivirus, content, attachment,
//   domainCheck): {"action", "rulesMatched": [...]}; "action" only when the
//   file action table names it; "rulesMatched" always, except for antispam,
//   where it follows "action", so an unnamed antispam action leaves the
//   module out altogether (an asymmetry that is kept on purpose);
//   transport: "actionTaken"; on demand: "onDemandTaskId", "mailBox",
//   "folderPath", "actionTaken";
//   "errors" {name: count} without the zero counts, left out when none remain;
//   "subject", "size";
//   an e-mail: "authenticated" (transport only), "sentBy" {"connection",
//   "email"}, "sentTo" {"connection": [...], "email": [...]}, "messageId",
//   "quarantinedItemID", "sourceIP" {"connection"}, "traffic" (unless 0);
//   any other object: "type", "fileName".
#include <json/value.h>

#include "sdk/mailservers/mail_servers.h"

namespace Reporting {

inline constexpr wchar_t kTransportEmailScanned[] = L"MailServers.Transport.EmailScanned";
inline constexpr wchar_t kOnDemandEmailScanned[] = L"MailServers.OnDemand.EmailScanned";
inline constexpr wchar_t kTransportObjectScanned[] = L"MailServers.Transport.ObjectScanned";
inline constexpr wchar_t kOnDemandObjectScanned[] = L"MailServers.OnDemand.ObjectScanned";
inline constexpr wchar_t kConnectionBlocked[] = L"MailServers.Transport.ConnectionBlocked";

// Transport or on-demand, e-mail or any other object.
const wchar_t* ItemEventName(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;

// `out` becomes the item's document. Throws only what allocation throws.
void WriteItemDocument(const kel::nusdk::MailServers::ItemScanInfo& info, Json::Value& out);

// The item's errors without the zero counts, {name: count}; may be empty.
Json::Value ErrorsObject(const kel::nusdk::MailServers::ItemScanInfo& info);

// {"senderEmail", "blockedBy": "senderBlacklist" for reason 0, else ""}.
void WriteConnectionBlockedDocument(const kel::nusdk::MailServers::ConnectionBlockedInfo& info,
                                    Json::Value& out);

}  // namespace Reporting
