#include "host/gloves/SettingsFile.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <sstream>

#include "host/base/Failure.h"
#include "host/base/Limits.h"
#include "host/base/Text.h"
#include "shared/Parameter.h"
#include "shared/TextFile.h"

namespace fs = std::filesystem;

namespace {

// Reads a text character by character and counts its lines.
class LineCounter final : public std::wstreambuf {
 public:
  explicit LineCounter(const std::wstring& text) : source_(text) {}

  int line() const { return line_; }

 private:
  int_type underflow() override { return source_.sgetc(); }
  int_type uflow() override
  {
    const int_type character = source_.sbumpc();
    if (character == traits_type::to_int_type(L'\n')) ++line_;
    return character;
  }

  std::wstringbuf source_;
  int line_ = 1;
};

// Collects the errors that the plug-in's reader finds.
class ErrorFinder final : public parameter::ReadingObserver {
 public:
  ErrorFinder(const LineCounter& position, const parameter::Registry& registry, SettingsReport& report)
      : position_(position), registry_(registry), report_(report)
  {
  }

  void name(const std::wstring& name) override
  {
    name_ = name;
    line_ = position_.line();
  }

  void value(bool isGood) override
  {
    if (!isGood) {
      const std::wstring kept = registry_.at(name_)->toString();
      add(line_,
          fmt::format(
              "`{}` has no valid value. It stays {}, and the text in place of the value is read as the next "
              "name.",
              narrow(name_), narrow(kept)));
      return;
    }
    int& known = report_.lines[name_];
    if (known != 0)
      add(line_, fmt::format("`{}` is set a second time; line {} has no effect.", narrow(name_), known));
    known = line_;
    if (position_.line() != line_) {
      add(line_, fmt::format("the value of `{}` ends in line {}.", narrow(name_), position_.line()));
    }
  }

  void unknownName(const std::wstring& word) override
  {
    const std::string name = narrow(word);
    const auto sameLetters = std::ranges::find_if(registry_, [&](const auto& entry) {
      return std::ranges::equal(entry.first, word, {}, towlower, towlower);
    });
    add(position_.line(), sameLetters == registry_.end()
                              ? fmt::format("\"{}\" is not a setting and is skipped.", excerpt(name))
                              : fmt::format("\"{}\" is not a setting and is skipped. Did you mean `{}`?",
                                            name, narrow(sameLetters->first)));
  }

 private:
  void add(int line, std::string what) { report_.errors.push_back({line, std::move(what)}); }

  const LineCounter& position_;
  const parameter::Registry& registry_;
  SettingsReport& report_;
  std::wstring name_;
  int line_ = 0;
};

// Collects the bytes of the file that are invalid in the user's character set.
class ForeignBytesFinder {
 public:
  explicit ForeignBytesFinder(SettingsReport& report) : report_(report) {}

  void operator()(const textfile::ForeignBytes& foreign)
  {
    // A binary file may have millions of them.
    constexpr std::size_t maxReported = 1000;
    if (++count_ > maxReported) return;
    std::string bytes;
    for (const char byte : foreign.bytes) {
      bytes += fmt::format(" {:02X}", static_cast<unsigned char>(byte));
    }
    report_.errors.push_back(
        {static_cast<int>(foreign.line),
         fmt::format("column {}:{} is not text in this character set; it was read as {}.", foreign.column,
                     bytes, foreign.isUtf8 ? "UTF-8" : "Latin-1")});
    if (count_ == maxReported)
      report_.errors.push_back({0, "More such bytes follow: is it a settings file?"});
  }

 private:
  SettingsReport& report_;
  std::size_t count_ = 0;
};

std::string join(const std::vector<std::int32_t>& numbers)
{
  return fmt::format("{}", fmt::join(numbers, ", "));
}

std::vector<std::string> findWarnings(const settings::Values& values)
{
  constexpr std::int32_t minTimeout = 200;
  std::vector<std::string> warnings;
  const auto warn = [&](bool holds, const std::string& text) {
    if (holds) warnings.push_back(text);
  };
  const bool isForOneGlove = values.numSensors == 1;
  warn(values.elementCount < 1, fmt::format("TesselElementCount is {}: a record has no elements. Set it to "
                                            "the elements of all gloves together.",
                                            values.elementCount));
  warn(values.elementCount > 0 && !isForOneGlove && values.elementCount % 2 != 0,
       fmt::format("TesselElementCount {} is divided between two gloves: the last element stays empty.",
                   values.elementCount));
  warn(values.numBleModules < 1 || values.numBleModules > 2,
       fmt::format("TesselNumBleModules is {}: it can be 1 or 2.", values.numBleModules));
  warn(values.numSensors != 1 && values.numSensors != 2,
       fmt::format("TesselNumSensors is {}: any value but 1 means two gloves.", values.numSensors));
  warn(!isForOneGlove && values.numBleModules == 1,
       "TesselNumSensors expects two gloves in a record, but TesselNumBleModules connects one: there will be "
       "no records.");
  warn(isForOneGlove && values.numBleModules == 2,
       "TesselNumSensors expects one glove in a record, but TesselNumBleModules connects two: the second is "
       "not recorded.");
  warn(!(values.timeDivisor > 0),
       fmt::format("TesselTimeDivisor is {}: timestamps follow the computer's clock alone.",
                   values.timeDivisor));
  const std::int64_t elements = std::int64_t{values.elementCount} + values.auxCount;
  warn(
      elements > static_cast<std::int64_t>(maxElements),
      fmt::format("A record would have {} elements: `tessel record` takes up to {}.", elements, maxElements));
  warn(
      values.auxCount < 0,
      fmt::format("TesselAuxCount is {}: a record is shorter than the data of its gloves.", values.auxCount));
  warn(values.readTimeout >= 0 && values.readTimeout < minTimeout,
       fmt::format("TesselReadTimeout is {}: such a short pause between two frames ends the recording.",
                   values.readTimeout));
  warn(values.readTimeout < 0,
       fmt::format("TesselReadTimeout is {}: reads never fail because frames are missing.",
                   values.readTimeout));
  std::vector<std::int32_t> dropped;
  std::ranges::copy_if(values.serialNumber, std::back_inserter(dropped),
                       [](std::int32_t number) { return number < 1 || number > 65534; });
  warn(!dropped.empty(),
       fmt::format("TesselSerialNumber has {}, which no glove can have: ignored.", join(dropped)));
  warn(!dropped.empty() && dropped.size() == values.serialNumber.size(),
       "No valid serial number remains: any glove is accepted.");
  return warnings;
}

}  // namespace

std::vector<std::string> errorLines(const SettingsReport& report, std::size_t maxErrors)
{
  std::vector<std::string> lines;
  for (std::size_t index = 0; index < std::min(report.errors.size(), maxErrors); ++index) {
    const SettingsError& error = report.errors[index];
    lines.push_back(
        fmt::format("  {}{}", error.line == 0 ? "" : fmt::format("line {}: ", error.line), error.what));
  }
  if (report.errors.size() > maxErrors)
    lines.push_back(fmt::format("  and {} more", report.errors.size() - maxErrors));
  for (const std::string& warning : report.warnings) {
    lines.push_back("  " + warning);
  }
  return lines;
}

SettingsReport readSettings(const fs::path& file)
{
  std::error_code error;
  if (!fs::exists(file, error) && !error) {
    throw Failure(ExitCode::settings, fmt::format("there is no settings file {}.", utf8(file)),
                  fmt::format("Write one with: tessel settings {} --write", utf8(file)));
  }
  SettingsReport report;
  ForeignBytesFinder findForeign(report);
  // A regular file, because the plug-in reads it a second time.
  const auto text =
      fs::is_regular_file(file, error) ? textfile::read(widen(file), std::ref(findForeign)) : std::nullopt;
  if (!text) {
    throw Failure(ExitCode::settings, fmt::format("the settings file {} can't be read.", utf8(file)),
                  "It must be a regular file that you have permission to read.");
  }
  const settings::Binding binding(report.values);
  LineCounter lines(*text);
  ErrorFinder finder(lines, binding.registry(), report);
  std::wistream stream(&lines);
  parameter::readStream(stream, binding.registry(), finder);
  std::ranges::stable_sort(report.errors, {}, &SettingsError::line);
  if (report.lines.empty()) {
    report.errors.push_back({0, "the file sets nothing: all settings keep their defaults."});
  }
  report.warnings = findWarnings(report.values);
  return report;
}

settings::Values valuesFor(int gloves)
{
  settings::Values values;
  values.elementCount = gloves * elementsOfGlove;
  values.numSensors = gloves;
  values.numBleModules = gloves;
  return values;
}

std::string settingsText(settings::Values values)
{
  const settings::Binding binding(values);
  std::string text = "// Settings of the Tessel plug-in: a name, a tab and a value. This is a comment.\n";
  for (const settings::Key& key : settings::keys) {
    text += fmt::format("\n// {}\n{}\t{}\n", key.meaning, narrow(key.name),
                        narrow(binding.registry().at(key.name)->toString()));
  }
  return text;
}

nlohmann::ordered_json settingsJson(const settings::Values& values)
{
  const auto json = [](const auto& value) -> nlohmann::ordered_json {
    if constexpr (std::is_same_v<decltype(value), const std::wstring&>) {
      return narrow(value);
    } else {
      return value;
    }
  };
  nlohmann::ordered_json all;
  for (const settings::Key& key : settings::keys) {
    all[narrow(key.name)] = std::visit([&](auto member) { return json(values.*member); }, key.member);
  }
  return all;
}
