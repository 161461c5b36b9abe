#pragma once
// The actions of a rule's "onDetection": the common main action, and the
// secondary actions, whose JSON shapes the filters share while each filter
// numbers them its own way.
//
// Main action ("mainAction"): "action" by the common table, and only for
// "redirectEmail" the target in "address". The common record
// kel::nusdk::MailServers::MainAction carries exactly this form; a filter
// whose main action differs (the target under "data", other numbering) keeps
// a record of its own, so the two forms can never be confused.
//
// Secondary actions ("secondaryActions" items): SecondaryActionSchema<S,
// kNames> declares them from the filter's name table alone. The codes are
// looked up by name, so a filter's numbering lives in its table and nowhere
// else; an action the table lacks has no keys. "data" and "extraData" by
// action:
//
//   action                      "data"                        "extraData"
//   tagSubject                  string, required              string, best effort
//   addHeader                   string, required              string, required
//   saveToFolder, bccTo         string, required              - (optional string
//                                                             where every item
//                                                             carries it)
//   addSCLHeader                -                             -
//   notifyInternalRecipients    {"sender","receivers"}        -
//   notifyRecipients            [string]                      -
//
// A filter whose items all carry "extraData" (domain check) says so with
// kExtraDataOnEveryItem, and "saveToFolder" and "bccTo" then keep theirs.
//
// The record S has members `action` (32-bit code or enum), `data` and
// `extraData` (kel::StringW), and, when the table names a notification,
// `notify` (kel::nusdk::MailServers::NotifyData) and `recipients`
// (kel::List<kel::StringW>).
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>

#include "agent/json/json_serializer.h"
#include "sdk/mailservers/rule_common.h"
#include "transport/rule_schema.h"

namespace EnterpriseIntegration {

namespace rules {

// The code of an action a filter does not have.
inline constexpr uint32_t kNoAction = 0xFFFFFFFFu;

// The code that `names` gives `name`, or kNoAction.
template <class Table>
constexpr uint32_t CodeOf(const Table& names, std::string_view name) {
  const NameTableView view = names.view();
  for (size_t i = 0; i < view.count; ++i) {
    if (view.rows[i].name == name) return view.rows[i].code;
  }
  return kNoAction;
}

// For When(): the action loaded so far (or being saved) is `Code`.
template <uint32_t Code>
struct ActionIs {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return static_cast<uint32_t>(s.action) == Code;
  }
};

}  // namespace rules

// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::MainAction>
    : JsonSchemaBase<kel::nusdk::MailServers::MainAction> {
  using S = kel::nusdk::MailServers::MainAction;
  static constexpr auto kFields = Fields(
      //       key                  member       conversion, presence
      Required(json_keys::kAction,  &S::action,  rules::kCommonMainActionNames),
      // The redirect target; no other action has a second member.
      Required(json_keys::kAddress, &S::data,    When(rules::ActionIs<rules::kCommonRedirectEmail>())));
};
// clang-format on

template <class S, const auto& kNames, bool kExtraDataOnEveryItem = false>
struct SecondaryActionSchema : JsonSchemaBase<S> {
 private:
  using B = JsonSchemaBase<S>;
  template <uint32_t Code>
  static constexpr auto For() {
    return B::When(rules::ActionIs<Code>());
  }

  static constexpr uint32_t kTagSubject = rules::CodeOf(kNames, "tagSubject");
  static constexpr uint32_t kAddHeader = rules::CodeOf(kNames, "addHeader");
  static constexpr uint32_t kSaveToFolder = rules::CodeOf(kNames, "saveToFolder");
  static constexpr uint32_t kBccTo = rules::CodeOf(kNames, "bccTo");
  static constexpr uint32_t kNotifyInternalRecipients =
      rules::CodeOf(kNames, "notifyInternalRecipients");
  static constexpr uint32_t kNotifyRecipients = rules::CodeOf(kNames, "notifyRecipients");
  static constexpr bool kHasNotifications =
      kNotifyInternalRecipients != rules::kNoAction || kNotifyRecipients != rules::kNoAction;

  // clang-format off
  static constexpr auto MakeFields() {
    namespace k = json_keys;
    constexpr auto kText = B::Fields(
        //          key           member          present for
        B::Required(k::kAction,    &S::action,     kNames),
        B::Required(k::kData,      &S::data,       For<kTagSubject>()),
        // A tag suffix that does not load is ignored, as if it were absent.
        B::BestEffort(k::kExtraData, &S::extraData, For<kTagSubject>()),
        B::Required(k::kData,      &S::data,       For<kAddHeader>()),
        B::Required(k::kExtraData, &S::extraData,  For<kAddHeader>()),
        B::Required(k::kData,      &S::data,       For<kSaveToFolder>()),
        B::Required(k::kData,      &S::data,       For<kBccTo>()));
    constexpr auto kExtra = [] {
      if constexpr (kExtraDataOnEveryItem) {
        return B::Fields(
        B::Optional(k::kExtraData, &S::extraData,  For<kSaveToFolder>()),
        B::Optional(k::kExtraData, &S::extraData,  For<kBccTo>()));
      } else {
        return std::tuple<>();
      }
    }();
    // "addSCLHeader" has no keys beyond "action".
    if constexpr (kHasNotifications) {
      return std::tuple_cat(kText, kExtra, B::Fields(
        B::Required(k::kData,      &S::notify,     For<kNotifyInternalRecipients>()),
        B::Required(k::kData,      &S::recipients, For<kNotifyRecipients>())));
    } else {
      return std::tuple_cat(kText, kExtra);
    }
  }
  // clang-format on

 public:
  static constexpr auto kFields = MakeFields();
};

}  // namespace EnterpriseIntegration
