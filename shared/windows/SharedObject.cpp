#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "shared/System.h"

namespace os {

const char* const SharedObject::suffix = ".dll";

// What the library needs is searched for in its own folder, in that of the program and in the system's, but
// neither in the working folder nor by PATH.
SharedObject::SharedObject(const std::filesystem::path& file)
    : handle_(LoadLibraryExW(std::filesystem::absolute(file).make_preferred().c_str(), nullptr,
                             LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS))
{
  if (handle_ == nullptr) {
    throw std::runtime_error(std::system_category().message(static_cast<int>(GetLastError())));
  }
}

SharedObject::~SharedObject()
{
  FreeLibrary(static_cast<HMODULE>(handle_));
}

void* SharedObject::find(const char* name) const
{
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace os
