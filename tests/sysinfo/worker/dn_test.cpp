// DN keys: the spellings one directory entry comes back in must meet, and
// different entries must not.
#include <gtest/gtest.h>

#include "sysinfo/worker/dn.h"

namespace {

using Worker::FirstRdnValue;
using Worker::NormalizeDn;

TEST(Dn, SpellingsOfOneEntryMeet) {
  const struct {
    const wchar_t* a;
    const wchar_t* b;
  } rows[] = {
      {L"CN=EX01,CN=Servers,DC=corp", L"cn=ex01,cn=servers,dc=corp"},
      {L"CN=EX01,CN=Servers,DC=corp", L"CN=EX01, CN=Servers , DC=corp"},
      {L"CN=EX01,DC=corp", L" cn = EX01 ,dc= corp"},
      {L"CN=DB \\\"Ost\\\"\\, Graz,DC=corp", L"cn=DB \\22Ost\\22\\2C Graz,dc=corp"},
      {L"CN=DB \\\"Ost\\\"\\, Graz,DC=corp", L"cn=db \\22ost\\22\\2c graz,dc=corp"},
      {L"CN=Z\u00fcrich,DC=corp", L"cn=Z\\C3\\BCrich,dc=corp"},
      {L"CN=Z\u00fcrich,DC=corp", L"CN=Z\u00dcRICH,DC=CORP"},
      {L"CN=a\\+b,DC=corp", L"CN=a\\2Bb,DC=corp"},
      {L"CN=a;b,DC=corp", L"CN=a,b,DC=corp"},  // ';' is an old separator
      {L"CN=trailing\\ ,DC=corp", L"CN=trailing\\20,DC=corp"},
      {L"OU=x+CN=y,DC=corp", L"ou=X + cn=Y,dc=corp"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(NormalizeDn(row.a), NormalizeDn(row.b)) << testing::PrintToString(std::wstring(row.a))
                                                    << " vs " << testing::PrintToString(std::wstring(row.b));
}

TEST(Dn, DifferentEntriesStayApart) {
  const struct {
    const wchar_t* a;
    const wchar_t* b;
  } rows[] = {
      {L"CN=EX01,DC=corp", L"CN=EX02,DC=corp"},
      {L"CN=a\\,b,DC=corp", L"CN=a,CN=b,DC=corp"},       // an escaped comma is no separator
      {L"CN=a\\2Cb,DC=corp", L"CN=a,CN=b,DC=corp"},
      {L"CN=a\\+b,DC=corp", L"CN=a+CN=b,DC=corp"},       // nor is an escaped plus
      {L"CN=trailing\\ ,DC=corp", L"CN=trailing,DC=corp"},  // an escaped space is kept
      {L"CN=EX01,DC=corp", L"OU=EX01,DC=corp"},
      {L"CN=EX01,DC=corp", L"CN=EX01,DC=corp,DC=example"},
      {L"CN=a\\\\,DC=corp", L"CN=a,DC=corp"},
  };
  for (const auto& row : rows)
    EXPECT_NE(NormalizeDn(row.a), NormalizeDn(row.b)) << testing::PrintToString(std::wstring(row.a))
                                                    << " vs " << testing::PrintToString(std::wstring(row.b));
}

TEST(Dn, FirstRdnValueIsUnescaped) {
  const struct {
    const wchar_t* dn;
    const wchar_t* value;
  } rows[] = {
      {L"CN=Default-First-Site-Name,CN=Sites,DC=corp", L"Default-First-Site-Name"},
      {L"cn=DB \\22Ost\\22\\2C Graz,dc=corp", L"DB \"Ost\", Graz"},
      {L"CN=Z\\C3\\BCrich", L"Z\u00fcrich"},
      {L"CN= padded ,DC=corp", L"padded"},
      {L"", L""},
      {L"no equals sign", L""},
  };
  for (const auto& row : rows) EXPECT_EQ(FirstRdnValue(row.dn), row.value) << testing::PrintToString(std::wstring(row.dn));
}

}  // namespace
