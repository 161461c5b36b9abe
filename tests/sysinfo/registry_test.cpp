// Opening keys through each path, and Exchange detection against scratch
// trees under HKEY_CURRENT_USER laid out the way an installation leaves them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/owners.h"
#include "sysinfo/exchange_detection.h"
#include "sysinfo/registry_key.h"

namespace {

using SystemInfo::ExchangeInstallInfo;
using SystemInfo::RegistryKey;
using SystemInfo::RegistryTransaction;

// A scratch key, removed with everything under it.
class ScratchKey {
 public:
  ScratchKey()
      : path_(L"Software\\kelagents-test\\sysinfo-" + std::to_wstring(::GetCurrentProcessId())) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    ::RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      key_.put(), nullptr);
  }
  ~ScratchKey() {
    key_.reset();
    ::RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
  }
  HKEY get() const { return key_.get(); }

  void Create(const std::wstring& path) {
    kel::UniqueHkey key;
    ASSERT_EQ(::RegCreateKeyExW(key_.get(), path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                key.put(), nullptr),
              ERROR_SUCCESS);
  }
  void Set(const std::wstring& path, const wchar_t* name, DWORD type, const void* data,
           DWORD bytes) {
    ASSERT_EQ(::RegSetKeyValueW(key_.get(), path.c_str(), name, type, data, bytes), ERROR_SUCCESS);
  }
  void Text(const std::wstring& path, const wchar_t* name, const std::wstring& text,
            DWORD type = REG_SZ) {
    Set(path, name, type, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }
  void Dword(const std::wstring& path, const wchar_t* name, DWORD value) {
    Set(path, name, REG_DWORD, &value, sizeof(value));
  }

 private:
  std::wstring path_;
  kel::UniqueHkey key_;
};

// What the seam hands out, and what the transacted open was asked.
HANDLE g_seenTransaction = nullptr;
LSTATUS WINAPI FakeTransactedOpen(HKEY parent, const wchar_t* subkey, DWORD, REGSAM access,
                                  HKEY* result, HANDLE transaction, void*) {
  g_seenTransaction = transaction;
  return ::RegOpenKeyExW(parent, subkey, 0, access, result);
}
SystemInfo::RegOpenKeyTransactedFn Present() noexcept { return &FakeTransactedOpen; }
SystemInfo::RegOpenKeyTransactedFn Missing() noexcept { return nullptr; }

TEST(RegistryKey, EachPathOpensOrRefusesAndAFailureKeepsTheHeldKey) {
  ScratchKey scratch;
  scratch.Create(L"present");
  const HANDLE kTransaction = reinterpret_cast<HANDLE>(0x1234);
  const RegistryTransaction withHandle{kTransaction, false};
  const RegistryTransaction noHandleNoFallback{nullptr, false};
  const RegistryTransaction noHandleFallback{nullptr, true};
  struct Row {
    const char* what;
    const RegistryTransaction* transaction;
    RegistryKey::Lookup lookup;
    DWORD present;  // opening "present"
    HANDLE seen;    // the transaction the transacted open received
  } rows[] = {
      {"plain", nullptr, &Present, ERROR_SUCCESS, nullptr},
      {"transacted", &withHandle, &Present, ERROR_SUCCESS, kTransaction},
      {"transacted open missing", &withHandle, &Missing, ERROR_INVALID_FUNCTION, nullptr},
      {"no handle, no fallback", &noHandleNoFallback, &Present, ERROR_INVALID_FUNCTION, nullptr},
      {"no handle, fallback", &noHandleFallback, &Present, ERROR_SUCCESS, nullptr},
  };
  for (const Row& row : rows) {
    g_seenTransaction = nullptr;
    RegistryKey key(row.transaction, row.lookup);
    EXPECT_EQ(key.Open(scratch.get(), L"present"), row.present) << row.what;
    EXPECT_EQ(g_seenTransaction, row.seen) << row.what;
    EXPECT_EQ(static_cast<bool>(key), row.present == ERROR_SUCCESS) << row.what;
    if (!key) continue;
    const HKEY held = key.get();
    EXPECT_EQ(key.Open(scratch.get(), L"absent"), static_cast<DWORD>(ERROR_FILE_NOT_FOUND))
        << row.what;
    EXPECT_EQ(key.get(), held) << row.what;
  }
  // Where the test runs, the real look-up must answer and not crash either way.
  RegistryKey real(&withHandle);
  const DWORD status = real.Open(scratch.get(), L"present");
  EXPECT_TRUE(status == ERROR_SUCCESS || status == ERROR_INVALID_FUNCTION) << status;
  if (!SystemInfo::FindRegOpenKeyTransacted()) {
    EXPECT_EQ(status, static_cast<DWORD>(ERROR_INVALID_FUNCTION));
  }
}

const std::wstring kV15 = L"SOFTWARE\\Microsoft\\ExchangeServer\\v15";
const std::wstring kV14 = L"SOFTWARE\\Microsoft\\ExchangeServer\\v14";
const std::wstring kV8 = L"SOFTWARE\\Microsoft\\Exchange\\v8.0";

void Install(ScratchKey& scratch, const std::wstring& branch, const std::wstring& path,
             std::vector<const wchar_t*> roles = {}) {
  scratch.Text(branch + L"\\Setup", L"MsiInstallPath", path);
  const wchar_t* names[] = {L"MsiProductMajor", L"MsiProductMinor", L"MsiBuildMajor",
                            L"MsiBuildMinor"};
  const DWORD values[] = {15, 1, 2507, 6};
  for (int i = 0; i < 4; ++i) scratch.Dword(branch + L"\\Setup", names[i], values[i]);
  for (const wchar_t* role : roles) scratch.Create(branch + L"\\" + role);
  scratch.Text(branch + L"\\Pickup", L"Path", path + L"TransportRoles\\Pickup");
}

struct Expected {
  uint32_t versionCode;
  bool versionRead;
  bool mailbox, hub, edge, clientAccess;
  std::wstring installPath;
  std::wstring pickupPath;
};

TEST(DetectExchange, ReadsTheNewestCompleteBranchAndLeavesWhatFailsAtZero) {
  const std::wstring longPath(300, L'x');
  struct Row {
    const char* what;
    void (*layout)(ScratchKey&, const std::wstring& longPath);
    Expected expected;
  } rows[] = {
      {"nothing installed",
       [](ScratchKey&, const std::wstring&) {},
       {0, false, false, false, false, false, L"", L""}},
      {"v15 and v14: v15 wins",
       [](ScratchKey& s, const std::wstring&) {
         Install(s, kV14, L"C:\\E14\\", {L"HubTransportRole"});
         Install(s, kV15, L"C:\\E15\\", {L"MailboxRole", L"ClientAccessRole"});
       },
       {10213, true, true, false, false, true, L"C:\\E15\\", L"C:\\E15\\TransportRoles\\Pickup"}},
      {"v15 without MsiInstallPath: v14",
       [](ScratchKey& s, const std::wstring&) {
         Install(s, kV15, L"C:\\E15\\", {L"MailboxRole"});
         ::RegDeleteKeyValueW(s.get(), (kV15 + L"\\Setup").c_str(), L"MsiInstallPath");
         Install(s, kV14, L"C:\\E14\\", {L"EdgeTransportRole"});
       },
       {10210, true, false, false, true, false, L"C:\\E14\\", L"C:\\E14\\TransportRoles\\Pickup"}},
      {"MsiInstallPath as a number: v8.0",
       [](ScratchKey& s, const std::wstring&) {
         s.Dword(kV14 + L"\\Setup", L"MsiInstallPath", 7);
         Install(s, kV8, L"C:\\E8\\", {L"HubTransportRole"});
       },
       {10207, true, false, true, false, false, L"C:\\E8\\", L"C:\\E8\\TransportRoles\\Pickup"}},
      {"expandable install path, MsiBuildMinor a string, no Pickup",
       [](ScratchKey& s, const std::wstring&) {
         Install(s, kV15, L"%ProgramFiles%\\E15\\", {L"MailboxRole"});
         s.Text(kV15 + L"\\Setup", L"MsiBuildMinor", L"6");
         ::RegDeleteTreeW(s.get(), (kV15 + L"\\Pickup").c_str());
       },
       {10213, false, true, false, false, false, L"%ProgramFiles%\\E15\\", L""}},
      {"a 300-character install path reads as absent",
       [](ScratchKey& s, const std::wstring& longPath) { Install(s, kV15, longPath); },
       {0, false, false, false, false, false, L"", L""}},
      {"a 300-character pickup path reads as empty",
       [](ScratchKey& s, const std::wstring& longPath) {
         Install(s, kV15, L"C:\\E15\\");
         s.Text(kV15 + L"\\Pickup", L"Path", longPath);
       },
       {10213, true, false, false, false, false, L"C:\\E15\\", L""}},
      {"a value with no terminator and one with an embedded zero",
       [](ScratchKey& s, const std::wstring&) {
         Install(s, kV15, L"C:\\E15\\");
         const wchar_t bare[] = {L'C', L':', L'\\', L'X'};
         s.Set(kV15 + L"\\Setup", L"MsiInstallPath", REG_SZ, bare, sizeof(bare));
         const wchar_t cut[] = L"D:\\Pick\0up";
         s.Set(kV15 + L"\\Pickup", L"Path", REG_SZ, cut, sizeof(cut));
       },
       {10213, true, false, false, false, false, L"C:\\X", L"D:\\Pick"}},
  };
  for (const Row& row : rows) {
    ScratchKey scratch;
    row.layout(scratch, longPath);
    const ExchangeInstallInfo info = SystemInfo::DetectExchangeUnder(scratch.get());
    const Expected& e = row.expected;
    EXPECT_EQ(info.versionCode, e.versionCode) << row.what;
    const uint32_t version[] = {info.msiProductMajor, info.msiProductMinor, info.msiBuildMajor,
                                info.msiBuildMinor};
    const uint32_t wanted[] = {15, 1, 2507, 6};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(version[i], e.versionRead ? wanted[i] : 0u) << row.what;
    EXPECT_EQ(info.mailboxRole, e.mailbox) << row.what;
    EXPECT_EQ(info.hubTransportRole, e.hub) << row.what;
    EXPECT_EQ(info.edgeTransportRole, e.edge) << row.what;
    EXPECT_EQ(info.clientAccessRole, e.clientAccess) << row.what;
    EXPECT_EQ(std::wstring(info.installPath.c_str()), e.installPath) << row.what;
    EXPECT_EQ(std::wstring(info.pickupPath.c_str()), e.pickupPath) << row.what;
  }
}

}  // namespace
