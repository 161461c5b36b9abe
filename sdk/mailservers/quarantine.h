#pragma once
// The quarantine plug-ins: the store of quarantined mail and files
// (IQuarantine, component "MailServers.Quarantine") and the service that
// sends or replays quarantined mail (IReleaseEmail, component
// "MailServers.Quarantine.ReleaseEmail").
//
// Every operation answers a Win32 code, 0 for success. Structures handed in
// are the caller's and are read only; lists handed out for filling are the
// caller's too, and the plug-in fills them through their slots (AddBack),
// after emptying them (RemoveAll). A plug-in never keeps a reference to any
// of them after it returns.
//
// Notifications arrive on the plug-in's own threads. A sink answers 0 and
// never throws; the structures it is given are valid only during the call.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::MailServers::Quarantine {

// b2f4a7e1-5c3d-4b8e-9a61-0d2c7e4f5a13, this module's SDK's identifiers.
constexpr kel::InterfaceId IID_IQuarantine{0x4b8e5c3db2f4a7e1ull, 0x135a4f7e2c0d619aull};
// 6e1d9c42-8f3a-4d27-b5e0-3a9c1f6d8b24
constexpr kel::InterfaceId IID_IReleaseEmail{0x4d278f3a6e1d9c42ull, 0x248b6d1f9c3ae0b5ull};
// 0c8a3f5e-2b71-4e9d-a4c6-7f1e5d3b9a82: the store's notification face.
constexpr kel::InterfaceId IID_IQuarantineNotifications{0x4e9d2b710c8a3f5eull,
                                                        0x829a3b5d1e7fc6a4ull};
// 9d4b2e6f-1a3c-4f58-8e7d-5c2a0b9f6e31: the release service's notification face.
constexpr kel::InterfaceId IID_IReleaseEmailNotifications{0x4f581a3c9d4b2e6full,
                                                          0x316e9f0b2a5c7d8eull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Quarantine";
inline constexpr wchar_t kReleaseEmailComponentName[] = L"MailServers.Quarantine.ReleaseEmail";

// The two stores, each with its own folder, items and purge settings.
enum Zone : uint32_t {
  kZoneEmails = 0,
  kZoneFiles = 1,
};

// Where an item was caught.
enum Location : int32_t {
  kLocationTransport = 0,
  kLocationOnDemand = 1,
};

// The filter that quarantined an item.
enum Module : int32_t {
  kModuleAntivirus = 0,
  kModuleAntispam = 1,
  kModuleContent = 2,
  kModuleAttachment = 3,
  kModuleDomainCheck = 4,
};

// Why the antivirus filter quarantined an item.
enum DetectionReason : int32_t {
  kReasonDetected = 0,
  kReasonUnscannable = 1,
  kReasonDetectedWithoutScan = 2,
};

// The antivirus scan status, a set of these bits.
enum ScanStatus : uint32_t {
  kStatusClean = 1,
  kStatusInfected = 2,
  kStatusSuspect = 4,
  kStatusPasswordProtected = 8,
  kStatusDeleteAfterReboot = 16,
  kStatusMoveAfterReboot = 32,
  kStatusScanFailed = 0x40000000,
};

struct DetectionPoint {
  int32_t location = kLocationTransport;
  // On-demand items only: where the scan found the item, and which task.
  kel::StringW mailbox;
  kel::StringW folder;
  kel::StringW task;
};

// One quarantined item, short form.
struct Data {
  kel::StringW id;  // the key of every item operation
  DetectionPoint detectionPoint;
  int32_t module = kModuleAntivirus;
  kel::StringW rule;  // the rule that quarantined the item
  uint64_t size = 0;  // bytes
  kel::StringW sourceIP;
  kel::StringW subject;
  kel::StringW contentType;
  int64_t when = 0;  // the plug-in's own time stamp, passed on unchanged
  kel::StringW senderConnection;
  kel::StringW senderEmail;
  kel::List<kel::StringW> recipientConnections;
  kel::List<kel::StringW> recipientEmails;
  // Antivirus items only.
  int32_t antivirusReason = kReasonDetected;
  uint32_t antivirusStatus = 0;  // ScanStatus bits
  kel::StringW antivirusDetected;
  kel::StringW antivirusFile;
  // Attachment items only.
  kel::StringW attachmentDetected;
};

// One quarantined item with the message's MIME structure.
struct DataEx : Data {
  // One MIME part. Parts nest as deep as the message does: whoever walks or
  // frees a tree that came from outside must not do it by recursion alone.
  struct MailPartInfo {
    struct HeaderField {
      kel::StringW name;
      kel::StringW value;
    };

    kel::List<HeaderField> headers;
    kel::StringW name;
    kel::StringW contentType;
    kel::StringW body;
    kel::List<MailPartInfo> childParts;
  };

  MailPartInfo mainPart;
};

// Each zone's automatic clean-up; the units of the three numbers are the
// plug-in's.
struct PurgeSettings {
  uint8_t enabled = 0;
  int64_t age = 0;
  int64_t startDate = 0;
  int64_t runInterval = 0;
};

class IQuarantine : public IKelBaseInterface {
 public:
  // An item an operation could not handle, and the code why.
  struct Error {
    kel::StringW id;
    int32_t error = 0;
  };

  // One item of SaveItemsToFolder: where it went, or why it did not.
  struct SavedItem {
    kel::StringW id;
    kel::StringW filePath;
    int32_t error = 0;
  };

  // The outcome of one item of a release or replay.
  struct RestoredItem {
    kel::StringW id;
    int32_t error = 0;
    uint8_t deleted = 0;  // the item left the quarantine
  };

  // What the store tells its registered sinks after each change, whoever
  // made it.
  class INotifications : public IKelBaseInterface {
   public:
    struct DeletedItem {
      kel::StringW id;
      kel::StringW context;  // the context the deleting request carried
    };

    virtual uint32_t OnItemsAdded(Zone zone, const kel::List<kel::StringW>& ids) = 0;     // 1
    virtual uint32_t OnItemsDeleted(Zone zone, const kel::List<DeletedItem>& items) = 0;  // 2
    virtual uint32_t OnFolderChanged(Zone zone, uint8_t migratedOldContent) = 0;          // 3
    virtual uint32_t OnEmptied(Zone zone) = 0;                                            // 4
    virtual uint32_t OnPurgeSettingsChanged(Zone zone) = 0;                               // 5

   protected:
    ~INotifications() = default;
  };

  // Slot 1: the folder that holds the zone's items.
  virtual uint32_t GetFolder(Zone zone, kel::StringW& folder) = 0;
  // Slot 2: moves the zone to `folder`, taking the present items along when
  // `migrateCurrentContent` is non-zero.
  virtual uint32_t SetFolder(Zone zone, const kel::StringW& folder,
                             uint8_t migrateCurrentContent) = 0;
  // Slot 3: deletes the listed items; `errors` receives the ones that failed.
  // `context` comes back with the deleted-items notification.
  virtual uint32_t DeleteItems(Zone zone, const kel::List<kel::StringW>& ids,
                               const kel::StringW& context, kel::List<Error>& errors) = 0;
  // Slot 4: writes the item to `filePath`, then deletes it from the zone when
  // `deleteAfterSave` is non-zero.
  virtual uint32_t SaveItem(Zone zone, const kel::StringW& id, const kel::StringW& filePath,
                            uint8_t deleteAfterSave) = 0;
  // Slot 5: writes each listed item into `folder`; `saved` receives one entry
  // per item asked for.
  virtual uint32_t SaveItemsToFolder(Zone zone, const kel::List<kel::StringW>& ids,
                                     const kel::StringW& folder, uint8_t deleteAfterSave,
                                     kel::List<SavedItem>& saved) = 0;
  // Slots 6, 7: one item, short and full form; 1168 when the zone lacks it.
  virtual uint32_t GetItem(Zone zone, const kel::StringW& id, Data& item) = 0;
  virtual uint32_t GetItemEx(Zone zone, const kel::StringW& id, DataEx& item) = 0;
  // Slots 8, 9, 10: a page of up to `count` items from position `from` (in
  // the store's own order), and how many the zone holds in all.
  virtual uint32_t GetItems(Zone zone, uint32_t from, uint32_t count, uint64_t& totalCount,
                            kel::List<Data>& items) = 0;
  virtual uint32_t GetItemsEx(Zone zone, uint32_t from, uint32_t count, uint64_t& totalCount,
                              kel::List<DataEx>& items) = 0;
  virtual uint32_t GetItemIds(Zone zone, uint32_t from, uint32_t count, uint64_t& totalCount,
                              kel::List<kel::StringW>& ids) = 0;
  // Slots 11, 12: the listed items; `errors` receives the ids it could not read.
  virtual uint32_t GetItemsById(Zone zone, const kel::List<kel::StringW>& ids,
                                kel::List<Data>& items, kel::List<Error>& errors) = 0;
  virtual uint32_t GetItemsByIdEx(Zone zone, const kel::List<kel::StringW>& ids,
                                  kel::List<DataEx>& items, kel::List<Error>& errors) = 0;
  // Slot 13: deletes every item of the zone.
  virtual uint32_t Empty(Zone zone) = 0;
  // Slots 14, 15: the zone's purge settings.
  virtual uint32_t SetPurgeSettings(Zone zone, const PurgeSettings& settings) = 0;
  virtual uint32_t GetPurgeSettings(Zone zone, PurgeSettings& settings) = 0;
  // Slot 16: purges the zone now by `settings`, whether or not they are enabled.
  virtual uint32_t Purge(Zone zone, const PurgeSettings& settings) = 0;
  // Slots 17, 18: a notification sink; `reserved` must be null.
  virtual uint32_t RegisterNotifications(INotifications* sink, void* reserved) = 0;
  virtual uint32_t UnregisterNotifications(INotifications* sink, void* reserved) = 0;

 protected:
  ~IQuarantine() = default;
};

// How released mail goes out. Keywords of the console's lists are flags
// here, never entries.
struct ReleaseSettings {
  kel::StringW user;      // the account that sends
  kel::StringW password;  // its password
  kel::StringW subject;
  kel::StringW message;
  kel::StringW email;  // the sending address; empty: the plug-in's default
  kel::List<kel::StringW> exclusionKeys;
  uint8_t excludeLocalKeys = 0;
  uint8_t excludeDomainKeys = 0;
  kel::List<kel::StringW> recipients;
  uint8_t sendToOriginalRecipients = 0;  // also to the message's own recipients
};

class IReleaseEmail : public IKelBaseInterface {
 public:
  using RestoredItem = IQuarantine::RestoredItem;

  // Called once per request, when it has finished, with one entry per id.
  class INotifications : public IKelBaseInterface {
   public:
    virtual uint32_t OnReleaseFinished(const kel::StringW& context,
                                       const kel::List<RestoredItem>& items) = 0;  // 1
    virtual uint32_t OnReplayFinished(const kel::StringW& context,
                                      const kel::List<RestoredItem>& items) = 0;  // 2

   protected:
    ~INotifications() = default;
  };

  // Slot 1: sends the listed e-mails as `settings` says. 0 means accepted; the
  // outcome arrives through OnReleaseFinished with `context`.
  virtual uint32_t ReleaseEmails(const kel::List<kel::StringW>& ids,
                                 const ReleaseSettings& settings, const kel::StringW& context) = 0;
  // Slot 2: passes the listed e-mails through the transport again, skipping
  // the filters whose exclusion keys are given. The outcome arrives through
  // OnReplayFinished with `context`.
  virtual uint32_t ReplayEmails(const kel::List<kel::StringW>& ids, uint8_t deleteFromQuarantine,
                                const kel::List<kel::StringW>& exclusionKeys,
                                uint8_t excludeLocalKeys, uint8_t excludeDomainKeys,
                                const kel::StringW& context) = 0;
  // Slots 3, 4: the sink that every request's outcome goes to.
  virtual uint32_t RegisterNotifications(INotifications* sink) = 0;
  virtual uint32_t UnregisterNotifications(INotifications* sink) = 0;

 protected:
  ~IReleaseEmail() = default;
};

}  // namespace kel::nusdk::MailServers::Quarantine
