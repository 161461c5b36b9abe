#pragma once
// The quarantine agent: the console browses, saves, deletes, purges,
// releases and replays quarantined items through it, and hears of every
// change to the quarantine as an event. It holds two plug-ins, the store
// (IQuarantine) and the release service (IReleaseEmail), and keeps no item
// state of its own.
#include <cstdint>

#include "agent/agent.h"
#include "quarantine/quarantine_plugins.h"

namespace QuarantineAgent {

using kel::nusdk::MailServers::Quarantine::IQuarantine;
using kel::nusdk::MailServers::Quarantine::IReleaseEmail;

inline constexpr wchar_t kAddedEvent[] = L"MailServers.Quarantine.Added";
inline constexpr wchar_t kDeletedEvent[] = L"MailServers.Quarantine.Deleted";
inline constexpr wchar_t kFolderChangedEvent[] = L"MailServers.Quarantine.FolderChanged";
inline constexpr wchar_t kEmptyEvent[] = L"MailServers.Quarantine.Empty";
inline constexpr wchar_t kPurgeSettingsChangedEvent[] =
    L"MailServers.Quarantine.PurgeSettingsChanged";
inline constexpr wchar_t kReleaseEmailsEvent[] = L"MailServers.Quarantine.ReleaseEmails";
inline constexpr wchar_t kReplayEmailsEvent[] = L"MailServers.Quarantine.ReplayEmails";

class Agent final : public EnterpriseIntegration::Agent<IQuarantine> {
 public:
  explicit Agent(const wchar_t* agentName = kel::nusdk::MailServers::Quarantine::kComponentName);

  bool GetFolder(IPolicyMethod& method);
  bool SetFolder(IPolicyMethod& method);
  bool DeleteItems(IPolicyMethod& method);
  bool SaveItem(IPolicyMethod& method);
  bool SaveItemsToFolder(IPolicyMethod& method);
  bool GetItemQuick(IPolicyMethod& method);
  bool GetItemFull(IPolicyMethod& method);
  bool GetItemsQuick(IPolicyMethod& method);
  bool GetItemsFull(IPolicyMethod& method);
  bool GetItemIds(IPolicyMethod& method);
  bool GetItemsByIdQuick(IPolicyMethod& method);
  bool GetItemsByIdFull(IPolicyMethod& method);
  bool Empty(IPolicyMethod& method);
  bool SetPurgeSettings(IPolicyMethod& method);
  bool GetPurgeSettings(IPolicyMethod& method);
  bool Purge(IPolicyMethod& method);
  bool ReleaseEmails(IPolicyMethod& method);
  bool ReplayEmails(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
  EnterpriseIntegration::EventTable Events() const override;

  IReleaseEmail* releasePlugin() const noexcept { return release_.get(); }

 private:
  // The store's notifications, each turned into one event. Called on the
  // store's threads; always answers 0 and lets nothing escape.
  class StoreSink final : public IQuarantine::INotifications {
   public:
    explicit StoreSink(Agent& agent) : agent_(agent) {}
    void* QueryInterface(const kel::InterfaceId* iid) override;
    uint32_t OnItemsAdded(kel::nusdk::MailServers::Quarantine::Zone zone,
                          const kel::List<kel::StringW>& ids) override;
    uint32_t OnItemsDeleted(kel::nusdk::MailServers::Quarantine::Zone zone,
                            const kel::List<DeletedItem>& items) override;
    uint32_t OnFolderChanged(kel::nusdk::MailServers::Quarantine::Zone zone,
                             uint8_t migratedOldContent) override;
    uint32_t OnEmptied(kel::nusdk::MailServers::Quarantine::Zone zone) override;
    uint32_t OnPurgeSettingsChanged(kel::nusdk::MailServers::Quarantine::Zone zone) override;

   private:
    Agent& agent_;
  };

  // The outcome of each release or replay request.
  class ReleaseSink final : public IReleaseEmail::INotifications {
   public:
    explicit ReleaseSink(Agent& agent) : agent_(agent) {}
    void* QueryInterface(const kel::InterfaceId* iid) override;
    uint32_t OnReleaseFinished(const kel::StringW& context,
                               const kel::List<IQuarantine::RestoredItem>& items) override;
    uint32_t OnReplayFinished(const kel::StringW& context,
                              const kel::List<IQuarantine::RestoredItem>& items) override;

   private:
    Agent& agent_;
  };

  uint32_t OnPluginsAcquired() override;
  void OnRequiredPluginMissing(const kel::StringW& component) override;

  EnterpriseIntegration::ServPlugin<IReleaseEmail>& release_;
  StoreSink storeSink_{*this};
  ReleaseSink releaseSink_{*this};
  // Last: gone from the plug-ins before the sinks they call.
  EnterpriseIntegration::NotificationRegistration storeAdvice_{*this};
  EnterpriseIntegration::NotificationRegistration releaseAdvice_{*this};
};

}  // namespace QuarantineAgent
