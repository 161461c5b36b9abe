#pragma once
// Lists in which reserved entries stand for flags rather than for themselves:
// "<local>" and "<domain>" among exclusion keys, "<original>" among release
// recipients. A keyword matches only exactly (case and length): "<LOCAL>" is
// an ordinary entry.
#include <cstdint>
#include <initializer_list>

#include "frame/list.h"
#include "frame/string.h"

namespace EnterpriseIntegration {

struct Keyword {
  const wchar_t* text;
  uint8_t* flag;  // set to 1 when the keyword is present
};

// Every flag of `keywords` is cleared, then set by its keyword's presence in
// `entries`; `kept` receives the other entries, in order.
void SplitKeywords(const kel::List<kel::StringW>& entries, std::initializer_list<Keyword> keywords,
                   kel::List<kel::StringW>& kept);

struct KeywordFlag {
  const wchar_t* text;
  bool set;
};

// The reverse: appends each keyword whose flag is set, in the order given.
void AppendKeywords(kel::List<kel::StringW>& entries, std::initializer_list<KeywordFlag> keywords);

}  // namespace EnterpriseIntegration
