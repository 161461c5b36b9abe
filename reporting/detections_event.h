#pragma once
// "kel.MailServers.Transport.Detections": one event per transport-scanned
// e-mail in which something was found or could not be looked at, sent by the
// statistics agent, so that a console can list the messages behind the
// counters. Nothing is sent for a clean message, an object or an on-demand
// scan.
//
// | key                 | from the scan result                                        |
// |---------------------|-------------------------------------------------------------|
// | "messageId"         | messageId                                                   |
// | "subject"           | subject                                                     |
// | "sentBy/connection" | senderConnection                                            |
// | "detections"        | the modules with matched rules, in the order antispam,      |
// |                     | antivirus, content, attachment, domainCheck                 |
// | "antivirus"         | every threat of every antivirus rule: [{"name", "type"}],   |
// |                     | "type" left out for a code without a name                   |
// | "content"           | the names of the content rules matched                      |
// | "attachment"        | the names of the files the attachment rules matched         |
// | "actions"           | the named main actions of all matched rules (e-mail,        |
// |                     | attachment or file action), each name once, in module order |
// | "notScanned"        | fileName of each antivirus rule with scanned false          |
// | "errors"            | {name: count} without zero counts, as in the item document  |
// | "unscannable"       | fileName of each antivirus rule whose final status has      |
// |                     | scanFailed or passwordProtected                             |
//
// Every key is present when the event is sent (arrays may be empty); the
// event is sent when "detections", "notScanned", "unscannable" or "errors"
// is not empty.
#include <json/value.h>

#include "sdk/mailservers/mail_servers.h"

namespace Reporting {

inline constexpr wchar_t kDetectionsEvent[] = L"kel.MailServers.Transport.Detections";

// False, with `out` untouched, when the item calls for no event.
bool WriteDetectionsDocument(const kel::nusdk::MailServers::ItemScanInfo& info, Json::Value& out);

}  // namespace Reporting
