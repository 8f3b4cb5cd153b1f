#include "host/doctor/SystemFacts.h"

#include <windows.h>

#include <fmt/format.h>

#include <thread>

#include "host/base/System.h"
#include "host/base/Text.h"

namespace {

// GetVersionEx() returns what the program was made for.
std::string systemName()
{
  using GetVersion = LONG WINAPI(OSVERSIONINFOW*);
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  const HMODULE library = GetModuleHandleW(L"ntdll.dll");
  const FARPROC function = library == nullptr ? nullptr : GetProcAddress(library, "RtlGetVersion");
  if (function == nullptr) return "Windows";
  reinterpret_cast<GetVersion*>(reinterpret_cast<void*>(function))(&version);
  return fmt::format("Windows {}.{}.{}", version.dwMajorVersion, version.dwMinorVersion,
                     version.dwBuildNumber);
}

const char* architectureName()
{
  SYSTEM_INFO info{};
  GetNativeSystemInfo(&info);
  switch (info.wProcessorArchitecture) {
    case PROCESSOR_ARCHITECTURE_AMD64:
      return "x86_64";
    case PROCESSOR_ARCHITECTURE_ARM64:
      return "aarch64";
    case PROCESSOR_ARCHITECTURE_INTEL:
      return "x86";
    default:
      return "";
  }
}

Memory memoryNow()
{
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof status;
  if (GlobalMemoryStatusEx(&status) == 0) return {};
  return {.totalKiB = status.ullTotalPhys / 1024, .availableKiB = status.ullAvailPhys / 1024};
}

}  // namespace

SystemFacts::SystemFacts(const std::filesystem::path&, std::optional<std::string> variable)
    : portsVariable(std::move(variable))
{
  system = systemName();
  architecture = architectureName();
  processors = std::thread::hardware_concurrency();
  memory = memoryNow();
  user.home = host::environmentPath("USERPROFILE");
  user.name = utf8(host::environmentPath("USERNAME"));
  ports = listPorts();
}
