#include "library/GlovesOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "host/base/Text.h"
#include "library/Boundary.h"

namespace library {

namespace {

using Json = nlohmann::json;

Error wrongValue(std::string_view name, std::string_view wanted, const Json& value)
{
  // Of an array or object only the kind, because it may be of any size and depth.
  const std::string given = value.is_structured() ? fmt::format("an {}", value.type_name())
                                                  : value.dump(-1, ' ', true, Json::error_handler_t::replace);
  return {TESSEL_ERROR_ARGUMENT,
          fmt::format("the option \"{}\" must be {}, not {}.", name, wanted, excerpt(given)),
          "tessel.h and docs/library.md describe the options."};
}

bool boolean(std::string_view name, const Json& value)
{
  if (!value.is_boolean()) throw wrongValue(name, "true or false", value);
  return value.get<bool>();
}

std::string text(std::string_view name, const Json& value)
{
  if (!value.is_string()) throw wrongValue(name, "a text", value);
  return value.get<std::string>();
}

std::filesystem::path file(std::string_view name, const Json& value)
{
  const std::string path = text(name, value);
  if (path.empty() || path.find('\0') != std::string::npos) throw wrongValue(name, "a file or folder", value);
  return pathArgument(path.c_str(), fmt::format("the option \"{}\"", name).c_str());
}

double seconds(std::string_view name, const Json& value)
{
  constexpr double highest = 1e9;
  const double number = value.is_number() ? value.get<double>() : -1;
  if (!(number >= 0 && number <= highest)) throw wrongValue(name, "a number of seconds from 0 to 1e9", value);
  return number;
}

SyncRules sync(std::string_view name, const Json& value)
{
  const std::chrono::duration<double> interval(seconds(name, value));
  return {.interval = std::chrono::round<std::chrono::nanoseconds>(interval)};
}

std::uint64_t whole(std::string_view name, const Json& value, std::uint64_t lowest, std::uint64_t highest)
{
  const bool isWhole = value.is_number_unsigned();
  const auto number = isWhole ? value.get<std::uint64_t>() : 0;
  if (!isWhole || number < lowest || number > highest) {
    throw wrongValue(name, fmt::format("a whole number from {} to {}", lowest, highest), value);
  }
  return number;
}

std::vector<std::string> texts(std::string_view name, const Json& value)
{
  std::vector<std::string> all;
  if (!value.is_array()) throw wrongValue(name, "an array of texts", value);
  for (const Json& each : value) {
    if (!each.is_string()) throw wrongValue(name, "an array of texts", value);
    all.push_back(each.get<std::string>());
  }
  return all;
}

Gloves gloves(std::string_view name, const Json& value)
{
  const std::pair<const char*, Gloves> choices[] = {
      {"both", Gloves::both}, {"one", Gloves::one}, {"left", Gloves::left}, {"right", Gloves::right}};
  for (const auto& [word, choice] : choices) {
    if (value == word) return choice;
  }
  throw wrongValue(name, "\"both\", \"one\", \"left\" or \"right\"", value);
}

template <class Options>
struct Option {
  const char* name;
  void (*set)(Options& options, const char* name, const Json& value);
};

const Option<GlovesOptions> glovesOptions[] = {
    {"gloves", [](auto& to, auto name, auto& value) { to.run.hardware.gloves = gloves(name, value); }},
    {"settings", [](auto& to, auto name, auto& value) { to.run.hardware.settings = file(name, value); }},
    {"simulated",
     [](auto& to, auto name, auto& value) { to.run.hardware.isSimulated = boolean(name, value); }},
    {"simulation", [](auto& to, auto name, auto& value) { to.run.hardware.simulation = texts(name, value); }},
    {"scenario", [](auto& to, auto name, auto& value) { to.run.hardware.scenario = file(name, value); }},
    {"seed",
     [](auto& to, auto name, auto& value) {
       to.run.hardware.seed = whole(name, value, 0, std::numeric_limits<std::uint64_t>::max());
     }},
    {"wait", [](auto& to, auto name, auto& value) { to.run.hardware.waitSeconds = seconds(name, value); }},
    {"reconnect",
     [](auto& to, auto name, auto& value) {
       to.run.rules.reconnectSeconds = seconds(name, value);
       to.run.rules.limits.isPatient = to.run.rules.reconnectSeconds > 0;
     }},
    {"anyGlove", [](auto& to, auto name, auto& value) { to.run.acceptsAnyGlove = boolean(name, value); }},
    {"follow", [](auto& to, auto name, auto& value) { to.run.isUncaptured = !boolean(name, value); }},
    {"capture", [](auto& to, auto name, auto& value) { to.run.capture = file(name, value); }},
    {"layout", [](auto& to, auto name, auto& value) { to.run.layout = file(name, value); }},
    {"log", [](auto& to, auto name, auto& value) { to.run.hardware.logFolder = file(name, value); }},
    {"plugin", [](auto& to, auto name, auto& value) { to.run.hardware.plugin = file(name, value); }},
    {"buffer", [](auto& to, auto name, auto& value) { to.buffer = whole(name, value, 1, 1'000'000); }},
};

struct FormatOptions {
  std::optional<RecordFormat> format;
  bool replaces = false;
  SyncRules sync = RecordOptions().sync;
};

const Option<FormatOptions> recordOptions[] = {
    {"format",
     [](auto& to, auto name, auto& value) {
       const auto names = formatNames();
       const auto found = std::ranges::find(names, text(name, value));
       if (found == names.end()) throw wrongValue(name, "\"csv\", \"npy\" or \"xdf\"", value);
       to.format = formatNamed(*found);
     }},
    {"replace", [](auto& to, auto name, auto& value) { to.replaces = boolean(name, value); }},
    {"sync", [](auto& to, auto name, auto& value) { to.sync = sync(name, value); }},
};

template <class Options, std::size_t count>
Options parse(const char* text, const Option<Options> (&known)[count])
{
  Options options;
  if (text == nullptr) return options;
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) {
    throw Error(TESSEL_ERROR_ARGUMENT, "the options are not a JSON object.",
                R"(Pass a text such as {"simulated": true}, or null.)");
  }
  for (const auto& [name, value] : json.items()) {
    const auto* const option = std::ranges::find(known, std::string_view(name), &Option<Options>::name);
    if (option == std::end(known)) {
      throw Error(TESSEL_ERROR_ARGUMENT, fmt::format("there is no option \"{}\".", name),
                  "tessel.h and docs/library.md describe the options.");
    }
    option->set(options, option->name, value);
  }
  return options;
}

}  // namespace

GlovesOptions parseGlovesOptions(const char* text)
{
  GlovesOptions options = parse(text, glovesOptions);
  const HardwareOptions& hardware = options.run.hardware;
  if (!hardware.isSimulated && (!hardware.simulation.empty() || !hardware.scenario.empty())) {
    throw Error(TESSEL_ERROR_ARGUMENT, "\"simulation\" and \"scenario\" are for simulated gloves only.",
                R"(Add "simulated": true, or omit them.)");
  }
  if (options.run.isUncaptured && !options.run.capture.empty()) {
    throw Error(TESSEL_ERROR_ARGUMENT, R"("capture" needs that the link is followed.)",
                R"(Omit "follow" or "capture".)");
  }
  return options;
}

RecordOptions parseRecordOptions(const char* path, const char* text)
{
  if (path == nullptr) throw nullArgument("path");
  if (*path == '\0' || std::string_view(path) == "-") {
    throw Error(TESSEL_ERROR_ARGUMENT, "the recording needs the name of a file or folder.",
                "Pass one such as \"session.csv\".");
  }
  const FormatOptions options = parse(text, recordOptions);
  return {chooseOutputName(path, options.format), options.replaces, options.sync};
}

}  // namespace library
