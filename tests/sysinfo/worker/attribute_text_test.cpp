// Raw directory values into what an administrator reads.
#include <gtest/gtest.h>

#include "sysinfo/worker/attribute_text.h"

namespace {

using namespace Worker;

TEST(AttributeText, Roles) {
  const struct {
    uint32_t flags;
    const wchar_t* text;
  } rows[] = {
      {0, L""},
      {2, L"Mailbox"},
      {38, L"Mailbox, ClientAccess, HubTransport"},
      {64, L"EdgeTransport"},
      {0x4000 | 0x10, L"UnifiedMessaging, FrontendTransport"},
      {0x1 | 0x8 | 0x80, L""},  // bits without a role
  };
  for (const auto& row : rows) EXPECT_EQ(RolesText(row.flags), row.text) << row.flags;
}

TEST(AttributeText, FqdnFromNetworkAddresses) {
  const struct {
    std::vector<std::wstring> addresses;
    const wchar_t* fqdn;
  } rows[] = {
      {{L"netbios:EX01", L"ncacn_ip_tcp:ex01.corp.example", L"ncalrpc:EX01"}, L"ex01.corp.example"},
      {{L"NCACN_IP_TCP:EX01.CORP.EXAMPLE"}, L"EX01.CORP.EXAMPLE"},
      {{L"ncacn_ip_tcp:"}, L""},
      {{L"netbios:EX01", L"ncacn_spx:x"}, L""},
      {{}, L""},
  };
  for (const auto& row : rows) EXPECT_EQ(FqdnFromNetworkAddresses(row.addresses), row.fqdn);
}

TEST(AttributeText, PrimarySmtpAddress) {
  const struct {
    std::vector<std::wstring> proxies;
    const wchar_t* mail;
    const wchar_t* primary;
  } rows[] = {
      {{L"smtp:alt@x", L"X500:/o=x", L"SMTP:main@x"}, L"other@x", L"main@x"},  // marked wins over mail
      {{L"smtp:alt@x"}, L"mail@x", L"mail@x"},                               // mail over unmarked
      {{L"X400:c=x", L"smtp:alt@x"}, L"", L"alt@x"},
      {{L"SIP:main@x"}, L"", L""},
      {{L"SMTP:"}, L"", L""},
      {{}, L"", L""},
  };
  for (const auto& row : rows) EXPECT_EQ(PrimarySmtpAddress(row.proxies, row.mail), row.primary);
}

TEST(AttributeText, GuidFromStoredBytes) {
  const unsigned char bytes[16] = {0x00, 0x87, 0xd4, 0x51, 0xee, 0x4a, 0x5d, 0x5a,
                                   0xa8, 0xa5, 0x27, 0xa5, 0xc1, 0x47, 0x1a, 0xc6};
  EXPECT_EQ(GuidText(bytes, 16), L"51d48700-4aee-5a5d-a8a5-27a5c1471ac6");
  EXPECT_EQ(GuidText(bytes, 15), L"");
  EXPECT_EQ(GuidText(bytes, 17), L"");
  EXPECT_EQ(GuidText(nullptr, 16), L"");
}

TEST(AttributeText, VersionAndRecipientType) {
  EXPECT_EQ(VersionText(L"Version 15.1 (Build 2507.6)"), L"15.1 (Build 2507.6)");
  EXPECT_EQ(VersionText(L"version 8.3"), L"8.3");
  EXPECT_EQ(VersionText(L"15.2"), L"15.2");
  const struct {
    const wchar_t* number;
    const wchar_t* name;
  } rows[] = {{L"1", L"UserMailbox"},       {L"2", L"LinkedMailbox"},     {L"4", L"SharedMailbox"},
              {L"16", L"RoomMailbox"},      {L"32", L"EquipmentMailbox"}, {L"8", L"8"},
              {L"2147483648", L"2147483648"}, {L"", L""}};
  for (const auto& row : rows) EXPECT_EQ(RecipientTypeText(row.number), row.name);
}

}  // namespace
