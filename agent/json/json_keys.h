#pragma once
// The JSON key names of every document the module reads or writes, in one
// place, so that two serializers never spell the same key two ways. Keys are
// narrow (UTF-8) and lower camel case; a constant with a "/" in it is a key
// path into a nested object. Alphabetical; add new keys in order.
namespace EnterpriseIntegration::json_keys {

inline constexpr char kAction[] = "action";
inline constexpr char kAddress[] = "address";
inline constexpr char kAggressivity[] = "aggressivity";
inline constexpr char kCheckAuthenticated[] = "checkAuthenticated";
inline constexpr char kConfidence[] = "confidence";
inline constexpr char kConsider[] = "consider";
inline constexpr char kDescription[] = "description";
inline constexpr char kDetectionWithoutScan[] = "detectionWithoutScan";
inline constexpr char kDnsAddress[] = "dnsAddress";
inline constexpr char kDnsTimeout[] = "dnsTimeout";
inline constexpr char kDomains[] = "domains";
inline constexpr char kEmails[] = "emails";
inline constexpr char kEnabled[] = "enabled";
inline constexpr char kGroups[] = "groups";
inline constexpr char kMainAction[] = "mainAction";
inline constexpr char kName[] = "name";
inline constexpr char kOnDetection[] = "onDetection";
inline constexpr char kOnDetectionMainAction[] = "onDetection/mainAction";
inline constexpr char kOnDetectionStopProcessing[] = "onDetection/stopProcessing";
inline constexpr char kProcessIf[] = "processIf";
inline constexpr char kRules[] = "rules";
inline constexpr char kScanSettings[] = "scanSettings";
inline constexpr char kSentBy[] = "sentBy";
inline constexpr char kSentTo[] = "sentTo";
inline constexpr char kServers[] = "servers";
inline constexpr char kSkipSystemServers[] = "skipSystemServers";
inline constexpr char kStopProcessing[] = "stopProcessing";
inline constexpr char kTraffic[] = "traffic";
inline constexpr char kUsers[] = "users";
inline constexpr char kWildcards[] = "wildcards";

}  // namespace EnterpriseIntegration::json_keys
