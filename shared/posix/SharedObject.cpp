#include <dlfcn.h>

#include <stdexcept>

#include "shared/System.h"

namespace os {

const char* const SharedObject::suffix = ".so";

SharedObject::SharedObject(const std::filesystem::path& file)
    : handle_(::dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL))
{
  if (handle_ == nullptr) throw std::runtime_error(::dlerror());
}

SharedObject::~SharedObject()
{
  ::dlclose(handle_);
}

void* SharedObject::find(const char* name) const
{
  return ::dlsym(handle_, name);
}

}  // namespace os
