#include "library/Process.h"

#include <windows.h>

#include <string>

namespace library::process {

namespace {

HMODULE ownModule(DWORD flags)
{
  static const char here = 0;
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags, reinterpret_cast<LPCWSTR>(&here),
                     &module);
  return module;
}

}  // namespace

bool isForked() noexcept
{
  return false;
}

std::filesystem::path ownFolder()
{
  const HMODULE module = ownModule(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
  if (module == nullptr) return {};
  std::wstring path(32768, L'\0');  // the maximum length of a path
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return std::filesystem::path(path).parent_path();
}

void pin()
{
  ownModule(GET_MODULE_HANDLE_EX_FLAG_PIN);
}

void atExit(void (*)()) {}

struct SignalsBlocked::Mask {};

SignalsBlocked::SignalsBlocked() = default;
SignalsBlocked::~SignalsBlocked() = default;

}  // namespace library::process
