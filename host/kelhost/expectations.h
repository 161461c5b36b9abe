#pragma once
// The expectations a script line can carry, checked against its reply:
//   "expect":      each member equals the reply's member of the same name;
//   "expectHas":   contained in the reply (objects: every member present and
//                  contained; arrays: the expected elements contained in
//                  distinct actual elements, in the same order; scalars: equal);
//   "expectAbsent": key paths ("a/b", "list[2]/name") absent from the reply.
// Numbers compare by value whatever their JSON representation (1, 1u, 1.0).
#include <string>
#include <vector>

#include <json/value.h>

namespace kelhost {

bool JsonEqual(const Json::Value& a, const Json::Value& b);
bool JsonContains(const Json::Value& actual, const Json::Value& expected);

enum class PathState { kPresent, kAbsent, kMalformed };

// Segments separated by "/", each a member name followed by any number of
// "[i]" element indices, or indices alone. Empty segments, "[" without "]",
// and indices that are not plain decimal digits are malformed.
PathState LookUpPath(const Json::Value& root, const std::string& path);

// What did not hold, one text per failed expectation (empty: all held). A
// malformed expectation counts as one that failed.
std::vector<std::string> CheckExpectations(const Json::Value& command, const Json::Value& reply);

// Whether the line names "error" among the members it expects, i.e. the
// script anticipates an error reply.
bool AnticipatesError(const Json::Value& command);

}  // namespace kelhost
