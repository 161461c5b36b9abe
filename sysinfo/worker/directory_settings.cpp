#include "sysinfo/worker/directory_settings.h"

#include <cwctype>
#include <utility>

#include "frame/owners.h"

namespace Worker {
namespace {

constexpr wchar_t kRegistryKey[] = L"SOFTWARE\\Kel\\MailServers\\Directory";

class System final : public SettingSource {
 public:
  bool Find(const wchar_t* variable, const wchar_t* registryValue, std::wstring& text) override {
    return Environment(variable, text) || (registryValue && Registry(registryValue, text));
  }

 private:
  static bool Environment(const wchar_t* name, std::wstring& text) {
    std::wstring value(256, L'\0');
    for (;;) {
      ::SetLastError(ERROR_SUCCESS);
      const DWORD length = ::GetEnvironmentVariableW(name, &value[0], static_cast<DWORD>(value.size()));
      if (length == 0) {
        if (::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return false;
        text.clear();  // set but empty
        return true;
      }
      if (length < value.size()) {
        value.resize(length);
        text = std::move(value);
        return true;
      }
      value.resize(length);
    }
  }

  static bool Registry(const wchar_t* name, std::wstring& text) {
    kel::UniqueHkey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRegistryKey, 0, KEY_QUERY_VALUE, key.put()) !=
        ERROR_SUCCESS)
      return false;
    DWORD type = 0;
    DWORD size = 0;
    if (::RegQueryValueExW(key.get(), name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
      return false;
    if (type == REG_DWORD && size == sizeof(DWORD)) {
      DWORD number = 0;
      if (::RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number),
                             &size) != ERROR_SUCCESS)
        return false;
      text = std::to_wstring(number);
      return true;
    }
    if (type != REG_SZ) return false;
    std::wstring value(size / sizeof(wchar_t) + 1, L'\0');
    size = static_cast<DWORD>(value.size() * sizeof(wchar_t));
    if (::RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value[0]),
                           &size) != ERROR_SUCCESS)
      return false;
    value.resize(size / sizeof(wchar_t));
    while (!value.empty() && value.back() == L'\0') value.pop_back();
    text = std::move(value);
    return true;
  }
};

bool ParseNumber(const std::wstring& text, uint32_t low, uint32_t high, uint32_t& out) {
  if (text.empty() || text.size() > 9) return false;
  uint32_t value = 0;
  for (wchar_t c : text) {
    if (c < L'0' || c > L'9') return false;
    value = value * 10 + static_cast<uint32_t>(c - L'0');
  }
  if (value < low || value > high) return false;
  out = value;
  return true;
}

// host, host:port, [v6], [v6]:port.
bool ParseServer(const std::wstring& text, std::wstring& host, uint16_t& port) {
  std::wstring name = text;
  std::wstring portText;
  if (!name.empty() && name[0] == L'[') {
    const size_t close = name.find(L']');
    if (close == std::wstring::npos || close == 1) return false;
    const std::wstring rest = name.substr(close + 1);
    name = name.substr(1, close - 1);
    if (!rest.empty()) {
      if (rest[0] != L':') return false;
      portText = rest.substr(1);
      if (portText.empty()) return false;
    }
  } else {
    const size_t colon = name.find(L':');
    if (colon != std::wstring::npos) {
      if (name.find(L':', colon + 1) != std::wstring::npos) return false;  // a bare IPv6 address
      portText = name.substr(colon + 1);
      name.resize(colon);
      if (portText.empty()) return false;
    }
  }
  if (name.empty()) return false;
  for (wchar_t c : name)
    if (std::iswspace(c) || c == L'/') return false;
  uint32_t number = 389;
  if (!portText.empty() && !ParseNumber(portText, 1, 65535, number)) return false;
  host = std::move(name);
  port = static_cast<uint16_t>(number);
  return true;
}

bool ParseBind(const std::wstring& text, BindMethod& out) {
  std::wstring lower;
  for (wchar_t c : text) lower += static_cast<wchar_t>(std::towlower(c));
  if (lower == L"negotiate") out = BindMethod::kNegotiate;
  else if (lower == L"simple") out = BindMethod::kSimple;
  else if (lower == L"anonymous") out = BindMethod::kAnonymous;
  else return false;
  return true;
}

}  // namespace

SettingSource& SystemSettings() {
  static System system;
  return system;
}

bool ReadDirectorySettings(SettingSource& source, DirectorySettings& out, std::wstring& error) {
  DirectorySettings settings;
  std::wstring text;
  const auto refuse = [&error](const wchar_t* name, const std::wstring& value) {
    error = std::wstring(L"setting ") + name + L" not understood: \"" + value + L"\"";
    return false;
  };
  if (source.Find(L"KEL_DIRECTORY_SERVER", L"Server", text) && !text.empty() &&
      !ParseServer(text, settings.host, settings.port))
    return refuse(L"KEL_DIRECTORY_SERVER", text);
  if (source.Find(L"KEL_DIRECTORY_BIND", L"Bind", text) && !ParseBind(text, settings.bind))
    return refuse(L"KEL_DIRECTORY_BIND", text);
  if (source.Find(L"KEL_DIRECTORY_USER", L"User", text)) settings.user = text;
  if (source.Find(L"KEL_DIRECTORY_PASSWORD", nullptr, text)) settings.password = text;
  if (source.Find(L"KEL_DIRECTORY_TIMEOUT", L"TimeoutSeconds", text) &&
      !ParseNumber(text, 1, 3600, settings.timeoutSeconds))
    return refuse(L"KEL_DIRECTORY_TIMEOUT", text);
  if (source.Find(L"KEL_DIRECTORY_PAGE_SIZE", L"PageSize", text) &&
      !ParseNumber(text, 1, 5000, settings.pageSize))
    return refuse(L"KEL_DIRECTORY_PAGE_SIZE", text);
  if (settings.bind == BindMethod::kSimple && settings.user.empty()) {
    error = L"setting KEL_DIRECTORY_BIND is simple but KEL_DIRECTORY_USER is not set";
    return false;
  }
  out = std::move(settings);
  return true;
}

}  // namespace Worker
