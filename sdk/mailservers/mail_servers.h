#pragma once
// The on-access scanning plug-in "MailServers.OnAccess": it reports every item
// the transport filters or an on-demand mailbox scan has processed, and every
// SMTP connection it blocked, to the sinks registered with it.
#include <cstdint>

#include "frame/guid.h"
#include "frame/list.h"
#include "frame/map.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::MailServers {

// 8d0c3a51-6f2e-4b7a-9c14-2e5b7d9a0f63, this module's SDK's identifier.
constexpr kel::InterfaceId IID_IMailServers{0x4b7a6f2e8d0c3a51ull, 0x630f9a7d5b2e149cull};

inline constexpr wchar_t kOnAccessComponentName[] = L"MailServers.OnAccess";

// The three fields every matched rule of every module begins with.
struct RuleInfoHeader {
  kel::StringW ruleName;
  bool stoppedProcessingMoreRules = false;
  bool detectedWithoutScan = false;
};

// One scanned item, filled by the plug-in and read-only for the sinks. Each
// module's result is its overall action (file action codes) and its matched
// rules.
struct ItemScanInfo {
  struct Antivirus {
    struct RuleInfo : RuleInfoHeader {
      struct Threat {
        kel::StringW name;
        int32_t type = 0;  // threat type code; -1 unknown
      };
      bool scanned = false;
      bool isInArchive = false;
      kel::StringW fileName;
      kel::StringW quarantinedItemId;
      uint32_t initialScanStatus = 0;  // scan status flags
      uint32_t finalScanStatus = 0;
      kel::List<Threat> threats;
      int32_t actionTaken = 0;  // file action codes
      int32_t actionTakenOnParent = 0;
    };
    int32_t action = 0;
    kel::List<RuleInfo> rules;
  };
  struct Antispam {
    struct RuleInfo : RuleInfoHeader {
      int32_t mainActionTaken = 0;  // e-mail action codes
      kel::List<int32_t> secondaryActionsTaken;
      int32_t spamScore = 0;
      int32_t spamLevel = 0;
    };
    int32_t action = 0;
    kel::List<RuleInfo> rules;
  };
  struct Attachment {
    struct RuleInfo : RuleInfoHeader {
      struct File {
        kel::StringW name;
        int64_t size = 0;
      };
      int32_t mainActionTaken = 0;  // attachment action codes
      kel::List<int32_t> secondaryActionsTaken;
      kel::List<File> filesMatched;
    };
    int32_t action = 0;
    kel::List<RuleInfo> rules;
  };
  struct Content {
    struct RuleInfo : RuleInfoHeader {
      int32_t mainActionTaken = 0;  // e-mail action codes
      kel::List<int32_t> secondaryActionsTaken;
    };
    int32_t action = 0;
    kel::List<RuleInfo> rules;
  };
  struct DomainCheck {
    struct RuleInfo : RuleInfoHeader {
      int32_t mainActionTaken = 0;  // e-mail action codes
      kel::List<int32_t> secondaryActionsTaken;
    };
    int32_t action = 0;
    kel::List<RuleInfo> rules;
  };

  kel::StringW quarantinedItemId;  // empty when no quarantine item was made
  kel::Guid onDemandTaskId;        // all zero for transport scanning
  kel::StringW mailbox;            // on-demand only
  kel::StringW folderPath;         // on-demand only
  kel::StringW fileName;           // objects that are not e-mails
  uint32_t traffic = 0;            // 1 incoming, 2 outgoing, 4 internal
  kel::StringW senderConnection;   // envelope sender
  kel::StringW senderEmail;        // sender in the message
  kel::List<kel::StringW> recipientConnections;
  kel::List<kel::StringW> recipientEmails;
  bool authenticated = false;
  kel::StringW subject;
  kel::StringW sourceIp;
  kel::StringW messageId;
  int64_t size = 0;
  int32_t actionTaken = 0;  // 0 passthrough, 1 modify, 2 drop
  int32_t objectType = 0;   // 0 email, 1 file, 2 contact, 3 task, 4 appointment, 5 postitem
  kel::Map<kel::StringW, int32_t> errors;
  Antivirus antivirus;
  Antispam antispam;
  Attachment attachment;
  Content content;
  DomainCheck domainCheck;
};

struct ConnectionBlockedInfo {
  kel::StringW senderEmail;
  int32_t blockedBy = 0;  // 0: the sender black list
};

class IScanNotifications {
 public:
  // Both are called on the plug-in's scanning threads, possibly several at
  // once; the answer is always 0.
  virtual int32_t OnItemScanned(const ItemScanInfo& info) = 0;                 // slot 0
  virtual int32_t OnConnectionBlocked(const ConnectionBlockedInfo& info) = 0;  // slot 1

 protected:
  ~IScanNotifications() = default;
};

class IMailServers : public IKelBaseInterface {
 public:
  // Slots 1 to 4 are operations of the plug-in that this module never calls;
  // they are declared only so that registration keeps its places.
  virtual uint32_t Reserved1() = 0;  // slot 1
  virtual uint32_t Reserved2() = 0;  // slot 2
  virtual uint32_t Reserved3() = 0;  // slot 3
  virtual uint32_t Reserved4() = 0;  // slot 4
  // `reserved` is always null.
  virtual uint32_t RegisterScanNotifications(IScanNotifications* sink, void* reserved) = 0;  // 5
  virtual uint32_t UnregisterScanNotifications(IScanNotifications* sink) = 0;                // 6

 protected:
  ~IMailServers() = default;
};

}  // namespace kel::nusdk::MailServers
