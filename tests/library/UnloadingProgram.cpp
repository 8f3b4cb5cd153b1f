// Loads the library, opens simulated gloves, records them into a file, and unloads the library; later it
// loads it again, and ends without having closed anything. Its arguments are the library and the file.

#include <dlfcn.h>

#include <chrono>
#include <thread>

#include "library/include/tessel.h"

namespace {

template <class Function>
Function* find(void* library, const char* name)
{
  return reinterpret_cast<Function*>(::dlsym(library, name));
}

}  // namespace

int main(int count, char** arguments)
{
  if (count != 3) return 2;
  void* library = ::dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return 3;
  tessel_gloves gloves = 0;
  if (find<decltype(tessel_create)>(library, "tessel_create")(R"({"simulated": true})", &gloves) !=
          TESSEL_OK ||
      find<decltype(tessel_open)>(library, "tessel_open")(gloves, -1) != TESSEL_OK ||
      find<decltype(tessel_record)>(library, "tessel_record")(gloves, arguments[2], nullptr) != TESSEL_OK) {
    return 4;
  }
  ::dlclose(library);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  library = ::dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return 5;
  tessel_statistics statistics{};
  statistics.size = sizeof(statistics);
  if (find<decltype(tessel_get_statistics)>(library, "tessel_get_statistics")(gloves, &statistics) !=
      TESSEL_OK) {
    return 6;
  }
  return statistics.records > 0 ? 0 : 7;
}
