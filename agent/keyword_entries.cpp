#include "agent/keyword_entries.h"

namespace EnterpriseIntegration {

void SplitKeywords(const kel::List<kel::StringW>& entries, std::initializer_list<Keyword> keywords,
                   kel::List<kel::StringW>& kept) {
  for (const Keyword& keyword : keywords) *keyword.flag = 0;
  for (auto e = kel::EnumPtr<kel::IConstListEnum<kel::StringW>>(entries.NewConstEnum());
       e->HasCurrent(); e->Advance()) {
    const kel::StringW& entry = *e->Current();
    bool reserved = false;
    for (const Keyword& keyword : keywords) {
      if (entry == keyword.text) {
        *keyword.flag = 1;
        reserved = true;
        break;
      }
    }
    if (!reserved) kept.AddBack(entry);
  }
}

void AppendKeywords(kel::List<kel::StringW>& entries, std::initializer_list<KeywordFlag> keywords) {
  for (const KeywordFlag& keyword : keywords)
    if (keyword.set) entries.AddBack(keyword.text);
}

}  // namespace EnterpriseIntegration
