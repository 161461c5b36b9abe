#pragma once
// Quarantined items in JSON, written only (the console never sends one back).
//
// An item is written key by key in a fixed order; the first key without a
// JSON form (a location, module or detection reason missing from its table)
// is left out and ends the item there: the item counts as failed and the
// keys after it are missing. Callers treat a failed item as an answer that
// cannot be written.
//
// MIME parts nest as deep as the message says, and the message comes from
// outside. The tree is walked without recursion, and a part deeper than
// kMaxPartDepth fails the item: the JSON tree it would make is one that
// jsoncpp's own destructor and writer (both recursive) could not be trusted
// with.
#include <cstddef>

#include <json/value.h>

#include "frame/list.h"
#include "sdk/mailservers/quarantine.h"

namespace QuarantineAgent {

using kel::nusdk::MailServers::Quarantine::Data;
using kel::nusdk::MailServers::Quarantine::DataEx;
using MailPartInfo = kel::nusdk::MailServers::Quarantine::DataEx::MailPartInfo;

// The main part is level 1; MIME parsers in mail servers stop far earlier.
inline constexpr size_t kMaxPartDepth = 100;

// Each writes into `out` (made an object first) and answers false when the
// item failed; `out` then holds the keys written before the failure.
bool WriteItem(const Data& item, Json::Value& out);
bool WriteItem(const DataEx& item, Json::Value& out);
bool WriteMailPart(const MailPartInfo& part, Json::Value& out);

// Every item as an element of the array `out`; false at the first failed item.
bool WriteItems(const kel::List<Data>& items, Json::Value& out);
bool WriteItems(const kel::List<DataEx>& items, Json::Value& out);

// Frees the parts under `part` without recursion, so that a tree of any depth
// can be let go of; `part` keeps its own fields and no children.
void ReleaseChildParts(MailPartInfo& part) noexcept;

}  // namespace QuarantineAgent
