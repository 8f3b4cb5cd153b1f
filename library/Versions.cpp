// The functions that need no gloves and no recording.

#include <nlohmann/json.hpp>

#include <string_view>

#include "host/base/Version.h"
#include "host/gloves/Ports.h"
#include "library/Boundary.h"
#include "library/JsonText.h"
#include "library/include/tessel.h"

// What follows "tessel ".
const char* tessel_version() noexcept
{
  return programVersion + std::string_view("tessel ").size();
}

uint32_t tessel_interface() noexcept
{
  return TESSEL_INTERFACE;
}

const char* tessel_error_text() noexcept
{
  return library::latestText();
}

const char* tessel_error_advice() noexcept
{
  return library::latestAdvice();
}

tessel_status tessel_ports(char* text, size_t size, size_t* needed) noexcept
{
  return library::guarded(
      [&] { return library::copyText(library::jsonText(portsJson(listPorts())), text, size, needed); });
}
