// Directory settings: what each accepted form means. That a setting the worker
// does not understand stops it is run against the real worker
// (tests/sysinfo/directory/worker_test.py).
#include <gtest/gtest.h>

#include <map>

#include "frame/owners.h"
#include "frame/win.h"
#include "host/kelhost/scratch_registry.h"
#include "sysinfo/worker/directory_settings.h"

namespace {

using Worker::BindMethod;
using Worker::DirectorySettings;

class Settings final : public Worker::SettingSource {
 public:
  explicit Settings(std::map<std::wstring, std::wstring> values) : values_(std::move(values)) {}
  bool Find(const wchar_t* variable, const wchar_t*, std::wstring& text) override {
    const auto found = values_.find(variable);
    if (found == values_.end()) return false;
    text = found->second;
    return true;
  }

 private:
  std::map<std::wstring, std::wstring> values_;
};

TEST(DirectorySettings, AcceptedForms) {
  const struct {
    std::map<std::wstring, std::wstring> values;
    const wchar_t* host;
    uint16_t port;
    BindMethod bind;
    uint32_t timeout;
    uint32_t pageSize;
  } rows[] = {
      {{}, L"", 389, BindMethod::kNegotiate, 30, 500},
      {{{L"KEL_DIRECTORY_SERVER", L""}}, L"", 389, BindMethod::kNegotiate, 30, 500},
      {{{L"KEL_DIRECTORY_SERVER", L"dc01.corp.example"}}, L"dc01.corp.example", 389,
       BindMethod::kNegotiate, 30, 500},
      {{{L"KEL_DIRECTORY_SERVER", L"127.0.0.1:40123"}, {L"KEL_DIRECTORY_BIND", L"Anonymous"}},
       L"127.0.0.1", 40123, BindMethod::kAnonymous, 30, 500},
      {{{L"KEL_DIRECTORY_SERVER", L"[::1]:3268"}}, L"::1", 3268, BindMethod::kNegotiate, 30, 500},
      {{{L"KEL_DIRECTORY_SERVER", L"[fe80::1]"}}, L"fe80::1", 389, BindMethod::kNegotiate, 30, 500},
      {{{L"KEL_DIRECTORY_BIND", L"simple"}, {L"KEL_DIRECTORY_USER", L"CN=a"}}, L"", 389,
       BindMethod::kSimple, 30, 500},
      {{{L"KEL_DIRECTORY_TIMEOUT", L"1"}, {L"KEL_DIRECTORY_PAGE_SIZE", L"5000"}}, L"", 389,
       BindMethod::kNegotiate, 1, 5000},
      {{{L"KEL_DIRECTORY_TIMEOUT", L"3600"}, {L"KEL_DIRECTORY_PAGE_SIZE", L"1"}}, L"", 389,
       BindMethod::kNegotiate, 3600, 1},
  };
  for (const auto& row : rows) {
    Settings source(row.values);
    DirectorySettings settings;
    std::wstring error;
    ASSERT_TRUE(Worker::ReadDirectorySettings(source, settings, error)) << testing::PrintToString(error);
    EXPECT_EQ(settings.host, row.host);
    EXPECT_EQ(settings.port, row.port);
    EXPECT_EQ(settings.bind, row.bind);
    EXPECT_EQ(settings.timeoutSeconds, row.timeout);
    EXPECT_EQ(settings.pageSize, row.pageSize);
  }
}

// The system's own source: the environment over the registry, in a scratch
// HKEY_LOCAL_MACHINE. (This test redirects the machine key for the whole
// process; nothing else in this program reads it.)
TEST(DirectorySettings, EnvironmentOverRegistry) {
  kelhost::ScratchRegistry registry;
  ASSERT_EQ(registry.Override(), 0u);
  kel::UniqueHkey key;
  ASSERT_EQ(registry.CreateKey(L"SOFTWARE\\Kel\\MailServers\\Directory", key), 0u);
  const auto setText = [&key](const wchar_t* name, const std::wstring& value) {
    ::RegSetValueExW(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                     static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  };
  setText(L"Server", L"dc07.corp.example:3268");
  setText(L"Bind", L"simple");
  setText(L"User", L"CN=svc,DC=corp");
  setText(L"Password", L"never read");
  const DWORD pageSize = 750;
  ::RegSetValueExW(key.get(), L"PageSize", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&pageSize),
                   sizeof(pageSize));
  for (const wchar_t* name : {L"KEL_DIRECTORY_SERVER", L"KEL_DIRECTORY_BIND", L"KEL_DIRECTORY_USER",
                              L"KEL_DIRECTORY_PASSWORD", L"KEL_DIRECTORY_TIMEOUT",
                              L"KEL_DIRECTORY_PAGE_SIZE"})
    ::SetEnvironmentVariableW(name, nullptr);

  DirectorySettings settings;
  std::wstring error;
  ASSERT_TRUE(Worker::ReadDirectorySettings(Worker::SystemSettings(), settings, error))
      << testing::PrintToString(error);
  EXPECT_EQ(settings.host, L"dc07.corp.example");
  EXPECT_EQ(settings.port, 3268);
  EXPECT_EQ(settings.bind, BindMethod::kSimple);
  EXPECT_EQ(settings.user, L"CN=svc,DC=corp");
  EXPECT_EQ(settings.password, L"");
  EXPECT_EQ(settings.pageSize, 750u);

  // A variable wins, even an empty one (serverless).
  ::SetEnvironmentVariableW(L"KEL_DIRECTORY_SERVER", L"");
  ::SetEnvironmentVariableW(L"KEL_DIRECTORY_BIND", L"anonymous");
  ::SetEnvironmentVariableW(L"KEL_DIRECTORY_PASSWORD", L"from the environment");
  ASSERT_TRUE(Worker::ReadDirectorySettings(Worker::SystemSettings(), settings, error));
  EXPECT_EQ(settings.host, L"");
  EXPECT_EQ(settings.bind, BindMethod::kAnonymous);
  EXPECT_EQ(settings.password, L"from the environment");
  for (const wchar_t* name : {L"KEL_DIRECTORY_SERVER", L"KEL_DIRECTORY_BIND", L"KEL_DIRECTORY_PASSWORD"})
    ::SetEnvironmentVariableW(name, nullptr);
}

}  // namespace
