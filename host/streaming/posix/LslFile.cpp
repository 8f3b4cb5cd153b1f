#include "host/streaming/LslFile.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string_view>

namespace fs = std::filesystem;

namespace {

constexpr int mode = RTLD_NOW | RTLD_LOCAL;

struct SearchPath {
  std::vector<fs::path> folders;
  bool isSafe = true;  // no entry depends on the working folder
};

// The folders that the loader searches before those of the system.
SearchPath searchPath()
{
  SearchPath path;
  const char* const variable = std::getenv("LD_LIBRARY_PATH");
  std::string_view rest = variable == nullptr ? "" : variable;
  // To the loader an empty variable is none, but an empty entry is the working folder.
  while (!rest.empty()) {
    const std::size_t end = rest.find_first_of(":;");
    const std::string_view entry = rest.substr(0, end);
    if (entry.starts_with('/')) {
      path.folders.emplace_back(entry);
    } else {
      path.isSafe = false;
    }
    if (end != std::string_view::npos && end + 1 == rest.size()) path.isSafe = false;
    rest = end == std::string_view::npos ? "" : rest.substr(end + 1);
  }
  return path;
}

}  // namespace

const std::vector<std::string> lsl_file::names{"liblsl.so.2", "liblsl.so", "liblsl64.so"};

void* lsl_file::load(const fs::path& file, std::string& reason)
{
  void* const library = ::dlopen(fs::absolute(file).c_str(), mode);
  if (library == nullptr) reason = ::dlerror();
  return library;
}

void* lsl_file::loadInstalled(const std::string& name, std::string& reason)
{
  SearchPath path = searchPath();
  if (path.isSafe) {
    void* const library = ::dlopen(name.c_str(), mode);
    if (library != nullptr) return library;
    reason = ::dlerror();
    // The reason begins with the name of the file that is missing: this one, or one that it needs.
    if (reason.starts_with(name + ": cannot open shared object file")) reason.clear();
    return nullptr;
  }
  // The loader would search the working folder, too.
  for (const char* const folder : {"/usr/local/lib", "/usr/lib/" TESSEL_LIBRARY_ARCHITECTURE, "/usr/lib"}) {
    path.folders.emplace_back(folder);
  }
  for (const fs::path& folder : path.folders) {
    std::error_code error;
    if (fs::is_regular_file(folder / name, error)) return load(folder / name, reason);
  }
  return nullptr;
}

void* lsl_file::find(void* library, const char* function)
{
  return ::dlsym(library, function);
}
