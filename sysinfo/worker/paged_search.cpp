#include "sysinfo/worker/paged_search.h"

namespace Worker {
namespace {

// Reads the final message of one page: its result code and the cookie that
// asks for the next page (empty on the last).
DWORD FinishPage(LDAP* connection, LDAPMessage* result, const SearchRequest& request,
                 kel::UniqueBerval& cookie, std::wstring& error) {
  ULONG code = LDAP_SUCCESS;
  PLDAPControlW* rawControls = nullptr;
  const ULONG parsed =
      ::ldap_parse_resultW(connection, result, &code, nullptr, nullptr, nullptr, &rawControls, FALSE);
  kel::UniqueLdapControls controls(rawControls);
  if (parsed != LDAP_SUCCESS) code = parsed;
  if (code != LDAP_SUCCESS) {
    error = L"search under " + request.base + L" for " + request.filter + L" failed: " +
            LdapCodeText(code);
    return Win32FromLdap(code);
  }
  cookie.reset();
  if (!controls) return ERROR_SUCCESS;  // a server that does not page answered all at once
  ULONG total = 0;
  berval* next = nullptr;
  if (::ldap_parse_page_controlW(connection, controls.get(), &total, &next) == LDAP_SUCCESS)
    cookie.reset(next);
  return ERROR_SUCCESS;
}

}  // namespace

DWORD PagedSearch(LDAP* connection, const SearchRequest& request, uint32_t pageSize,
                  const DirectoryWait& wait, EntrySink& sink, std::wstring& error) {
  std::vector<const wchar_t*> attributes;
  for (const std::wstring& attribute : request.attributes) attributes.push_back(attribute.c_str());
  attributes.push_back(nullptr);

  kel::UniqueBerval cookie;
  do {
    if (wait.Stopped()) {
      error = L"search under " + request.base + L": stopped";
      return kStopped;
    }
    PLDAPControlW rawPage = nullptr;
    ULONG code = ::ldap_create_page_controlW(connection, pageSize, cookie.get(), TRUE, &rawPage);
    kel::UniqueLdapControl page(rawPage);
    if (code != LDAP_SUCCESS) {
      error = L"cannot ask for a page of results: " + LdapCodeText(code);
      return Win32FromLdap(code);
    }
    PLDAPControlW serverControls[] = {page.get(), nullptr};
    ULONG id = 0;
    code = ::ldap_search_extW(connection, const_cast<PWSTR>(request.base.c_str()), request.scope,
                              const_cast<PWSTR>(request.filter.c_str()),
                              const_cast<PWCHAR*>(attributes.data()), 0, serverControls, nullptr, 0,
                              0, &id);
    if (code != LDAP_SUCCESS) {
      error = L"search under " + request.base + L" for " + request.filter +
              L" could not start: " + LdapCodeText(code);
      return Win32FromLdap(code);
    }
    for (;;) {
      kel::UniqueLdapMessage message;
      ULONG type = 0;
      const DWORD waited = wait.Next(connection, id, L"search", message, type, error);
      if (waited != ERROR_SUCCESS) return waited;
      if (type == LDAP_RES_SEARCH_ENTRY) {
        sink.Entry(connection, message.get());
      } else if (type == LDAP_RES_SEARCH_RESULT) {
        const DWORD finished = FinishPage(connection, message.get(), request, cookie, error);
        if (finished != ERROR_SUCCESS) return finished;
        break;
      }
      // LDAP_RES_REFERRAL (a search reference): not followed.
    }
  } while (cookie && cookie.get()->bv_len > 0);
  return ERROR_SUCCESS;
}

}  // namespace Worker
