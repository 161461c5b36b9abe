#pragma once
// The JSON form of the attachment plug-in's rule set, loaded and saved by the
// transport agent.
#include <cstdint>
#include <utility>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "sdk/mailservers/attachment.h"
#include "transport/rule_schema.h"

namespace EnterpriseIntegration {

namespace attachment {

using Rules = kel::nusdk::MailServers::Attachment::RuleSet;
using ScanSettings = Rules::ScanningRule::ScanSettings;
using OnDetection = Rules::ScanningRule::OnDetection;
using SecondaryAction = OnDetection::SecondaryAction;

// Not the common main-action table: "deleteAttachment" and
// "replaceAttachment" take 1 and 2, and the common actions after them move up.
inline constexpr auto kMainActionNames = EnumNames({
    {kel::nusdk::MailServers::Attachment::kRejectOrDeleteEmail, "rejectOrDeleteEmail"},
    {kel::nusdk::MailServers::Attachment::kDeleteAttachment, "deleteAttachment"},
    {kel::nusdk::MailServers::Attachment::kReplaceAttachment, "replaceAttachment"},
    {kel::nusdk::MailServers::Attachment::kRedirectEmail, "redirectEmail"},
    {kel::nusdk::MailServers::Attachment::kQuarantineEmail, "quarantineEmail"},
    {kel::nusdk::MailServers::Attachment::kDeliverEmail, "deliverEmail"},
});

// Not the common secondary-action table either: no "addSCLHeader", and
// "forwardEmail" at 4 in its place.
inline constexpr auto kSecondaryActionNames = EnumNames({
    {SecondaryAction::kTagSubject, "tagSubject"},
    {SecondaryAction::kAddHeader, "addHeader"},
    {SecondaryAction::kSaveToFolder, "saveToFolder"},
    {SecondaryAction::kBccTo, "bccTo"},
    {SecondaryAction::kForwardEmail, "forwardEmail"},
    {SecondaryAction::kNotifyInternalRecipients, "notifyInternalRecipients"},
    {SecondaryAction::kNotifyRecipients, "notifyRecipients"},
});

// Two match-mode tables that agree on "byExtension" only: "byContent" is 1
// for built-in categories and 2 for the custom one.
inline constexpr auto kKnownMatchModeNames = EnumNames({
    {kel::nusdk::MailServers::Attachment::kKnownByExtension, "byExtension"},
    {kel::nusdk::MailServers::Attachment::kKnownByContent, "byContent"},
});
inline constexpr auto kCustomMatchModeNames = EnumNames({
    {kel::nusdk::MailServers::Attachment::kCustomByExtension, "byExtension"},
    {kel::nusdk::MailServers::Attachment::kCustomByRelatedExtensions, "byRelatedExtensions"},
    {kel::nusdk::MailServers::Attachment::kCustomByContent, "byContent"},
});

// The main actions whose "data" must be present and not empty.
constexpr bool NeedsData(uint32_t action) {
  return action == kel::nusdk::MailServers::Attachment::kReplaceAttachment ||
         action == kel::nusdk::MailServers::Attachment::kRedirectEmail;
}

// For When(): the secondary action (loaded so far, or being saved) takes an
// argument of kind `Kind`. The action is the tag's source: loading sets the
// tag from it, saving writes the form it selects.
template <SecondaryAction::DataKind Kind>
struct Takes {
  constexpr bool operator()(const SecondaryAction& s) const noexcept {
    return kel::nusdk::MailServers::Attachment::DataKindOf(s.action) == Kind;
  }
};

}  // namespace attachment

// {"to": address}, the data of "forwardEmail".
struct ForwardAddress {
  kel::StringW to;
};
template <>
struct JsonSchema<ForwardAddress> : JsonSchemaBase<ForwardAddress> {
  using S = ForwardAddress;
  static constexpr auto kFields = Fields(Required(json_keys::kTo, &S::to));
};

// The argument of one secondary action in the form of kind `Kind`: loading
// fills that member of the tagged value and sets the tag; saving writes that
// member.
template <attachment::SecondaryAction::DataKind Kind>
struct SecondaryDataCodec : JsonCodec {
  using Data = attachment::SecondaryAction::Data;

  bool Load(const JsonNodeRef& at, Data& out) const {
    out.kind = Kind;
    if constexpr (Kind == attachment::SecondaryAction::kText) {
      return DefaultCodecOf<kel::StringW>().Load(at, out.text);
    } else if constexpr (Kind == attachment::SecondaryAction::kForwardAddress) {
      ForwardAddress forward;
      if (!DefaultCodecOf<ForwardAddress>().Load(at, forward)) return false;
      out.forwardTo = std::move(forward.to);
      return true;
    } else if constexpr (Kind == attachment::SecondaryAction::kNotification) {
      out.notify = kel::nusdk::MailServers::NotifyData();
      return DefaultCodecOf<kel::nusdk::MailServers::NotifyData>().Load(at, out.notify);
    } else {
      return DefaultCodecOf<kel::List<kel::StringW>>().Load(at, out.recipients);
    }
  }

  void Describe(SchemaDirection direction, Json::Value& out) const {
    if constexpr (Kind == attachment::SecondaryAction::kText) {
      DescribeCodec(DefaultCodecOf<kel::StringW>(), direction, out);
    } else if constexpr (Kind == attachment::SecondaryAction::kForwardAddress) {
      DescribeCodec(DefaultCodecOf<ForwardAddress>(), direction, out);
    } else if constexpr (Kind == attachment::SecondaryAction::kNotification) {
      DescribeCodec(DefaultCodecOf<kel::nusdk::MailServers::NotifyData>(), direction, out);
    } else {
      DescribeCodec(DefaultCodecOf<kel::List<kel::StringW>>(), direction, out);
    }
  }

  bool Save(const Data& value, Json::Value& out) const {
    if constexpr (Kind == attachment::SecondaryAction::kText) {
      return DefaultCodecOf<kel::StringW>().Save(value.text, out);
    } else if constexpr (Kind == attachment::SecondaryAction::kForwardAddress) {
      ForwardAddress forward{value.forwardTo};
      return DefaultCodecOf<ForwardAddress>().Save(forward, out);
    } else if constexpr (Kind == attachment::SecondaryAction::kNotification) {
      return DefaultCodecOf<kel::nusdk::MailServers::NotifyData>().Save(value.notify, out);
    } else {
      return DefaultCodecOf<kel::List<kel::StringW>>().Save(value.recipients, out);
    }
  }
};

// clang-format off
template <>
struct JsonSchema<attachment::ScanSettings::Size>
    : JsonSchemaBase<attachment::ScanSettings::Size> {
  using S = attachment::ScanSettings::Size;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kGreaterThan, &S::greaterThan),
      Optional(json_keys::kLowerThan,   &S::lowerThan));
};

template <>
struct JsonSchema<attachment::ScanSettings::Patterns>
    : JsonSchemaBase<attachment::ScanSettings::Patterns> {
  using S = attachment::ScanSettings::Patterns;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kMatch, &S::match));
};

template <>
struct JsonSchema<attachment::ScanSettings::Categories::Known>
    : JsonSchemaBase<attachment::ScanSettings::Categories::Known> {
  using S = attachment::ScanSettings::Categories::Known;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kMatch,     &S::match),
      Optional(json_keys::kMatchMode, &S::matchMode, attachment::kKnownMatchModeNames));
};

template <>
struct JsonSchema<attachment::ScanSettings::Categories::Custom>
    : JsonSchemaBase<attachment::ScanSettings::Categories::Custom> {
  using S = attachment::ScanSettings::Categories::Custom;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kExtensions, &S::extensions),
      Optional(json_keys::kMatchMode,  &S::matchMode, attachment::kCustomMatchModeNames));
};

template <>
struct JsonSchema<attachment::ScanSettings::Categories>
    : JsonSchemaBase<attachment::ScanSettings::Categories> {
  using S = attachment::ScanSettings::Categories;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kKnown,       &S::known),
      Optional(json_keys::kCustom,      &S::custom),
      Optional(json_keys::kInvertMatch, &S::invertMatch));
};

// Every key optional: an absent one leaves the record as constructed.
template <>
struct JsonSchema<attachment::ScanSettings> : JsonSchemaBase<attachment::ScanSettings> {
  using S = attachment::ScanSettings;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kSize,            &S::size),
      Optional(json_keys::kPatterns,        &S::patterns),
      Optional(json_keys::kCategories,      &S::categories),
      Optional(json_keys::kScanInArchives,  &S::scanInArchives),
      Optional(json_keys::kMaxArchiveDepth, &S::maxArchiveDepth));
};

// The redirect target and the replacement text travel in "data", which is
// always written (empty when unset).
template <>
struct JsonSchema<attachment::OnDetection::MainAction>
    : JsonSchemaBase<attachment::OnDetection::MainAction> {
  using S = attachment::OnDetection::MainAction;
  static constexpr auto kFields = Fields(
      Required(json_keys::kAction, &S::action, attachment::kMainActionNames),
      Optional(json_keys::kData,   &S::data));
  static constexpr char kCheckRule[] =
      "\"redirectEmail\" and \"replaceAttachment\" have a non-empty \"data\".";
  static bool Check(const S& s) { return !attachment::NeedsData(s.action) || !s.data.IsEmpty(); }
};

// Not rule_actions.h's SecondaryActionSchema: "forwardEmail" takes an object
// {"to"}, there is no "addSCLHeader", every action may carry "extraData",
// and that is read before "data" (and written after it).
template <>
struct JsonSchema<attachment::SecondaryAction> : JsonSchemaBase<attachment::SecondaryAction> {
  using S = attachment::SecondaryAction;
  static constexpr auto kFields = Fields(
      //       key                    member         conversion, present for
      Required(json_keys::kAction,    &S::action,    attachment::kSecondaryActionNames),
      Optional(json_keys::kExtraData, &S::extraData, kLoadOnly),
      Required(json_keys::kData,      &S::data,      SecondaryDataCodec<S::kText>(),
                                                     When(attachment::Takes<S::kText>())),
      Required(json_keys::kData,      &S::data,      SecondaryDataCodec<S::kForwardAddress>(),
                                                     When(attachment::Takes<S::kForwardAddress>())),
      Required(json_keys::kData,      &S::data,      SecondaryDataCodec<S::kNotification>(),
                                                     When(attachment::Takes<S::kNotification>())),
      Required(json_keys::kData,      &S::data,      SecondaryDataCodec<S::kRecipientList>(),
                                                     When(attachment::Takes<S::kRecipientList>())),
      Optional(json_keys::kExtraData, &S::extraData, kSaveOnly));
};

template <>
struct JsonSchema<attachment::OnDetection>
    : MainAndSecondaryActionsSchema<attachment::OnDetection> {};

template <>
struct JsonSchema<attachment::Rules::ScanningRule>
    : JsonSchemaBase<attachment::Rules::ScanningRule> {
  using S = attachment::Rules::ScanningRule;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kScanSettings, &S::scanSettings),
      Required(json_keys::kOnDetection,  &S::onDetection));
};

template <>
struct JsonSchema<attachment::Rules::Rule> : JsonSchemaBase<attachment::Rules::Rule> {
  using S = attachment::Rules::Rule;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleHeader>(),
      InlineBase<attachment::Rules::ScanningRule>(),
      StopProcessingField<S>());
};

template <>
struct JsonSchema<attachment::Rules> : RuleSetEnvelopeSchema<attachment::Rules> {};
// clang-format on

}  // namespace EnterpriseIntegration
