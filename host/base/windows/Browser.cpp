#include <windows.h>
// Needs the types above.
#include <shellapi.h>

#include "host/base/System.h"

namespace host {

bool openInBrowser(const std::string& url)
{
  const std::wstring address(url.begin(), url.end());  // ASCII
  const HINSTANCE result = ShellExecuteW(nullptr, L"open", address.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  return reinterpret_cast<std::intptr_t>(result) > 32;  // lower values are errors
}

}  // namespace host
