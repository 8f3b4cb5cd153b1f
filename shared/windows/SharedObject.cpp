#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "shared/System.h"

namespace os {

const char* const SharedObject::suffix = ".dll";

SharedObject::SharedObject(const std::filesystem::path& file)
    : handle_(LoadLibraryW(std::filesystem::absolute(file).c_str()))
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
