// The module's creatable classes, one static declaration each, in the order
// they register at start-up. One translation unit keeps that order defined.
#include "frame/exported_declaration.h"
// [antispam include]
// [antivirus include]
// [attachment include]
// [connection include]
// [content include]
// [domaincheck include]
// [transport include]

namespace {
// [antispam declaration]
// [antivirus declaration]
// [attachment declaration]
// [connection declaration]
// [content declaration]
// [domaincheck declaration]
// [transport declaration]
}  // namespace
