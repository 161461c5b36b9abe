#pragma once
// The JSON form of plug-in structures in scripts: an object whose members are
// the structure's field names. A member left out keeps the field as it is; a
// member of the wrong type, or one the structure lacks, is refused, so that a
// misspelt field in a script does not go unnoticed.
//
// Lists handed over by the module are read and written through their virtual
// slots only, as a plug-in compiled elsewhere would.
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <json/value.h>

#include "frame/list.h"
#include "frame/string.h"

namespace kelhost {

class StructureReader {
 public:
  // `what` names the structure in problems ("SampleSettings").
  StructureReader(const Json::Value& data, std::string what);

  void Flag(const char* field, uint8_t& out);  // JSON bool → 0/1
  void UInt32(const char* field, uint32_t& out);
  void String(const char* field, kel::StringW& out);
  void StringList(const char* field, kel::List<kel::StringW>& out);

  // True when every member was read and every member read was right; else
  // `problem` says what was wrong first.
  bool Finish(std::string& problem);

 private:
  // The member for `field`, or null when absent (or after an earlier problem).
  const Json::Value* Member(const char* field);
  void Refuse(const char* field, const char* expected);

  const Json::Value& data_;
  std::string what_;
  std::string problem_;
  std::set<std::string> known_;
};

// The JSON form of plug-in values, for replies and event checks.
Json::Value StringToJson(const kel::StringW& value);
Json::Value StringListToJson(const kel::IList<kel::StringW>& list);

// Copies through the list's slots (NewConstEnum, RemoveAll, AddBack).
std::vector<kel::StringW> ReadListSlots(const kel::IList<kel::StringW>& list);
uint32_t WriteListSlots(kel::IList<kel::StringW>& target, const kel::IList<kel::StringW>& source);

}  // namespace kelhost
