#include "host/gloves/GloveFirmware.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <regex>

std::vector<GloveFirmware> parseFirmware(const std::string& answer)
{
  static const std::regex form(
      R"(PN([0-9a-f]+)R([0-9a-f]+)(?:  \( ([0-9-]+) \)  )?:Build ([0-9a-f]+) from commit ([0-9a-f]+))");
  std::vector<GloveFirmware> gloves;
  for (std::sregex_iterator found(answer.begin(), answer.end(), form), end; found != end; ++found) {
    // The plug-in prints the numbers of all gloves but the first in hexadecimal.
    const int base = gloves.empty() ? 10 : 16;
    const auto number = [&](std::size_t group, int groupBase) {
      return static_cast<std::uint32_t>(std::strtoul((*found)[group].str().c_str(), nullptr, groupBase));
    };
    gloves.push_back({number(1, base), number(2, base), (*found)[3].str(), number(4, base), number(5, 16)});
  }
  return gloves;
}

nlohmann::ordered_json firmwareJson(const GloveFirmware& firmware)
{
  return {{"partNumber", firmware.partNumber},
          {"revision", firmware.revision},
          {"build", firmware.build},
          {"commit", fmt::format("{:x}", firmware.commit)},
          {"date", firmware.date}};
}
