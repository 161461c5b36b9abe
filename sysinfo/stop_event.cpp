#include "sysinfo/stop_event.h"

#include <aclapi.h>
#include <bcrypt.h>

#include <new>
#include <stdexcept>
#include <utility>

#include "frame/win32_error.h"

namespace SystemInfo {

std::wstring MakeStopEventName(std::mt19937& random) {
  std::uniform_int_distribution<int> letter(L'B', L'Z');
  std::wstring name(kStopEventNameLength, L'B');
  for (wchar_t& c : name) c = static_cast<wchar_t>(letter(random));
  return name;
}

namespace {

// A seed from std::random_device, which may throw when its source is not
// available; then from the system's own generator.
uint32_t Seed() {
  for (int attempt = 0; attempt < 3; ++attempt) {
    try {
      std::random_device device;
      return device();
    } catch (const std::exception&) {
    }
  }
  uint32_t seed = 0;
  if (!BCRYPT_SUCCESS(::BCryptGenRandom(nullptr, reinterpret_cast<UCHAR*>(&seed), sizeof(seed),
                                        BCRYPT_USE_SYSTEM_PREFERRED_RNG)))
    throw std::runtime_error("no random source");
  return seed;
}

DWORD CreateNamed(const std::wstring& name, kel::UniqueEvent& event) noexcept {
  SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
  kel::UniqueSid everyone;
  KEL_RETURN_IF_WIN32_BOOL_FALSE(::AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0,
                                                            0, 0, 0, 0, everyone.put()));

  EXPLICIT_ACCESSW entries[2] = {};
  const struct {
    DWORD rights;
    ACCESS_MODE mode;
  } kEntries[2] = {{kStopEventDenied, DENY_ACCESS}, {kStopEventGranted, GRANT_ACCESS}};
  for (int i = 0; i < 2; ++i) {
    entries[i].grfAccessPermissions = kEntries[i].rights;
    entries[i].grfAccessMode = kEntries[i].mode;
    entries[i].grfInheritance = NO_INHERITANCE;
    entries[i].Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entries[i].Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    entries[i].Trustee.ptstrName = static_cast<wchar_t*>(everyone.get());
  }
  PACL acl = nullptr;
  KEL_RETURN_IF_WIN32_ERROR(::SetEntriesInAclW(2, entries, nullptr, &acl));
  const kel::UniqueLocal aclOwner(acl);

  SECURITY_DESCRIPTOR descriptor;
  KEL_RETURN_IF_WIN32_BOOL_FALSE(
      ::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
  KEL_RETURN_IF_WIN32_BOOL_FALSE(::SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE));
  SECURITY_ATTRIBUTES attributes{sizeof(attributes), &descriptor, FALSE};

  kel::UniqueEvent created(::CreateEventW(&attributes, TRUE, FALSE, name.c_str()));
  KEL_RETURN_LAST_ERROR_IF_NULL(created);
  // Someone else's event under our name would let them keep a worker alive.
  if (::GetLastError() == ERROR_ALREADY_EXISTS) return ERROR_ALREADY_EXISTS;
  event = std::move(created);
  return ERROR_SUCCESS;
}

}  // namespace

DWORD CreateStopEvent(kel::UniqueEvent& event, std::wstring& name) noexcept {
  try {
    std::mt19937 random(Seed());
    // A clash among 25^24 names is all but impossible; a second draw settles it.
    DWORD status = ERROR_ALREADY_EXISTS;
    for (int attempt = 0; attempt < 2 && status == ERROR_ALREADY_EXISTS; ++attempt) {
      std::wstring candidate = MakeStopEventName(random);
      status = CreateNamed(candidate, event);
      if (status == ERROR_SUCCESS) name = std::move(candidate);
    }
    return status;
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  } catch (...) {
    return ERROR_INTERNAL_ERROR;  // no random source at all
  }
}

}  // namespace SystemInfo
