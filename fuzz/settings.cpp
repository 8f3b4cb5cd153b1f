// A settings file: the plug-in and the program read the same values, errors are for one line each, and what
// is written from these values is read as the same again.

#include <cmath>
#include <sstream>

#include "fuzz/Fuzz.h"
#include "host/base/Characters.h"
#include "host/base/Failure.h"
#include "host/gloves/SettingsFile.h"
#include "shared/Parameter.h"
#include "shared/TextFile.h"

#include <nlohmann/json.hpp>

using fuzz::require;

namespace {

bool canBeWritten(const settings::Values& values)
{
  // A quotation mark ends a text, control characters are for no file, and a number is rounded.
  const auto isPlain = [](wchar_t character) {
    return character != L'"' && character >= L' ' && character < 0x7F;
  };
  return std::ranges::all_of(values.fileVersion, isPlain) && std::ranges::all_of(values.metaData, isPlain);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::wstring text = textfile::decode(bytes);
  require(text.size() <= bytes.size(), "a character has a byte or more");
  require(textfile::decode(textfile::encode(text)) == text, "a text is read as it was written");
  require(parameter::expand(text).size() <= 2'000'000 + 2 * text.size(), "no reference grows without end");

  const std::filesystem::path file = fuzz::writeFile("settings", bytes);
  const SettingsReport report = readSettings(file);
  for (const std::string& line : errorLines(report, 100)) {
    require(!printable(line).empty() && fuzz::isOneLine(printable(line)), "an error is shown in one line");
  }
  settings::current = {};
  parameter::readFile(file.wstring());
  const nlohmann::ordered_json json = settingsJson(settings::current);
  require(json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) ==
              settingsJson(report.values).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace),
          "the program reads what the plug-in does");

  if (!canBeWritten(report.values)) return 0;
  const SettingsReport again = readSettings(fuzz::writeFile("again", settingsText(report.values)));
  require(again.errors.empty(), "what is written has no error");
  require(again.values.metaData == report.values.metaData &&
              again.values.serialNumber == report.values.serialNumber &&
              again.values.elementCount == report.values.elementCount,
          "what is written is read again");
  return 0;
}
