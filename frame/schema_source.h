#pragma once
// The module's own tooling interface, never asked for by the service host:
// an object that can describe the JSON its class reads and writes answers it
// through QueryInterface. kelhost reaches it through KelDescribeClasses
// (exports.h) to write the classes' schema documents.
#include <cstdint>

#include "sdk/interface_id.h"

namespace Json {
class Value;
}

// 3f0c7a52-9d41-4e6b-b8a0-51c2e9d7f463
constexpr kel::InterfaceId IID_ISchemaSource{0x4e6b9d413f0c7a52ull, 0x63f4d7e9c251a0b8ull};

class ISchemaSource {
 public:
  // Replaces *document with the class's schema document; 0, or a result
  // code (160 for a null document). Never throws.
  virtual uint32_t DescribeSchemas(Json::Value* document) = 0;

 protected:
  // Owned by the object that answered it; never deleted through this.
  ~ISchemaSource() = default;
};
