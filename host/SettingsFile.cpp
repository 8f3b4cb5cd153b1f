#include "host/SettingsFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>
#include <sstream>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/Failure.h"
#include "host/Text.h"
#include "shared/Parameter.h"
#include "shared/TextFile.h"

namespace fs = std::filesystem;

namespace {

// Hands on the characters of a text one by one, and counts its lines.
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

// Collects what the plug-in's reader stumbles over.
class FaultFinder final : public parameter::ReadingObserver {
 public:
  FaultFinder(const LineCounter& position, SettingsReport& report) : position_(position), report_(report) {}

  void name(const std::wstring& name) override
  {
    name_ = name;
    line_ = position_.line();
  }

  void value(bool isGood) override
  {
    if (!isGood) {
      const std::wstring kept = parameter::find(name_)->toString();
      add(line_,
          fmt::format(
              "`{}` has no value that it can take. It is {} then, and what stands there is read as the "
              "next name.",
              narrow(name_), narrow(kept)));
      return;
    }
    int& known = report_.lines[name_];
    if (known != 0)
      add(line_, fmt::format("`{}` is given a second time; line {} is lost.", narrow(name_), known));
    known = line_;
    if (position_.line() != line_) {
      add(line_, fmt::format("the value of `{}` ends in line {}.", narrow(name_), position_.line()));
    }
  }

  void unknownName(const std::wstring& word) override
  {
    const std::string name = narrow(word);
    const auto sameLetters = std::ranges::find_if(parameter::satelites(), [&](const auto& entry) {
      return std::ranges::equal(entry.first, word, {}, towlower, towlower);
    });
    add(position_.line(), sameLetters == parameter::satelites().end()
                              ? fmt::format("\"{}\" is no setting; it is passed over.", excerpt(name))
                              : fmt::format("\"{}\" is no setting; it is passed over. `{}` is one.", name,
                                            narrow(sameLetters->first)));
  }

 private:
  void add(int line, std::string what) { report_.faults.push_back({line, std::move(what)}); }

  const LineCounter& position_;
  SettingsReport& report_;
  std::wstring name_;
  int line_ = 0;
};

// Collects the bytes of the file that are no text in the character set of the user.
class ForeignBytesFinder {
 public:
  explicit ForeignBytesFinder(SettingsReport& report) : report_(report) {}

  void operator()(const textfile::ForeignBytes& foreign)
  {
    // A file that is no text at all has millions of them.
    constexpr std::size_t maxReported = 1000;
    if (++count_ > maxReported) return;
    std::string bytes;
    for (const char byte : foreign.bytes) {
      bytes += fmt::format(" {:02X}", static_cast<unsigned char>(byte));
    }
    report_.faults.push_back(
        {static_cast<int>(foreign.line),
         fmt::format("column {}:{} is not text in this character set; it was read as {}.", foreign.column,
                     bytes, foreign.isUtf8 ? "UTF-8" : "Latin-1")});
    if (count_ == maxReported)
      report_.faults.push_back({0, "More such bytes follow: is it a settings file?"});
  }

 private:
  SettingsReport& report_;
  std::size_t count_ = 0;
};

std::string join(const std::vector<std::int32_t>& numbers)
{
  return fmt::format("{}", fmt::join(numbers, ", "));
}

std::vector<std::string> findDoubts()
{
  constexpr std::int32_t leastTimeout = 200;
  using namespace settings;
  std::vector<std::string> doubts;
  const auto doubt = [&](bool holds, const std::string& text) {
    if (holds) doubts.push_back(text);
  };
  const bool isForOneGlove = numSensors == 1;
  doubt(elementCount < 1,
        fmt::format(
            "TesselElementCount is {}: a record has no elements. Give the elements of all gloves together.",
            elementCount));
  doubt(elementCount > 0 && !isForOneGlove && elementCount % 2 != 0,
        fmt::format("TesselElementCount {} is shared by two gloves: the last element stays empty.",
                    elementCount));
  doubt(numBleModules < 1 || numBleModules > 2,
        fmt::format("TesselNumBleModules is {}: there are 1 and 2.", numBleModules));
  doubt(numSensors != 1 && numSensors != 2,
        fmt::format("TesselNumSensors is {}: anything but 1 means two gloves.", numSensors));
  doubt(!isForOneGlove && numBleModules == 1,
        "TesselNumSensors wants two gloves in a record, TesselNumBleModules connects one: no record will "
        "come.");
  doubt(isForOneGlove && numBleModules == 2,
        "TesselNumSensors wants one glove in a record, TesselNumBleModules connects two: the second is not "
        "recorded.");
  doubt(
      !(timeDivisor > 0),
      fmt::format("TesselTimeDivisor is {}: time stamps come from the computer's clock alone.", timeDivisor));
  doubt(auxCount < 0, fmt::format("TesselAuxCount is {}: a record is shorter than its gloves.", auxCount));
  doubt(readTimeout >= 0 && readTimeout < leastTimeout,
        fmt::format("TesselReadTimeout is {}: so short a pause between two frames ends the recording.",
                    readTimeout));
  doubt(readTimeout < 0, fmt::format("TesselReadTimeout is {}: no silence is too long.", readTimeout));
  std::vector<std::int32_t> dropped;
  std::ranges::copy_if(serialNumber, std::back_inserter(dropped),
                       [](std::int32_t number) { return number < 1 || number > 65534; });
  doubt(!dropped.empty(),
        fmt::format("TesselSerialNumber has {}, which no glove can have: left out.", join(dropped)));
  doubt(!dropped.empty() && dropped.size() == serialNumber.size(),
        "No serial number is left: any glove will be accepted.");
  return doubts;
}

struct SettingComment {
  const wchar_t* key;
  const char* comment;
};
constexpr std::array comments{
    SettingComment{L"FileVersion", "Tag of this file's version: a text."},
    SettingComment{L"TesselTimeDivisor", "Device clock ticks per millisecond."},
    SettingComment{L"TesselElementCount", "Sensor elements in a record, all gloves together."},
    SettingComment{L"TesselNumSensors", "Gloves in a record: 1 or 2."},
    SettingComment{L"TesselAuxCount", "Elements behind them that the host fills."},
    SettingComment{L"TesselReadTimeout", "Milliseconds without a frame that make a read fail."},
    SettingComment{L"TesselWriteTimeout", "Carried along, without effect."},
    SettingComment{L"TesselNumBleModules", "Gloves to connect to: 1 or 2."},
    SettingComment{L"TesselMetaData", "Free text in double quotes."},
    SettingComment{L"TesselExecDelay", "Delay of execution that the host is told."},
    SettingComment{L"TesselSerialNumber",
                   "The gloves that may be connected: their number, then a serial number each. "
                   "0 is any."},
    SettingComment{L"TesselSkipSensorStartupCheck", "1 leaves out the check of the sensors on connecting."}};

}  // namespace

std::vector<std::string> faultLines(const SettingsReport& report, std::size_t maxFaults)
{
  std::vector<std::string> lines;
  for (std::size_t index = 0; index < std::min(report.faults.size(), maxFaults); ++index) {
    const SettingsFault& fault = report.faults[index];
    lines.push_back(
        fmt::format("  {}{}", fault.line == 0 ? "" : fmt::format("line {}: ", fault.line), fault.what));
  }
  if (report.faults.size() > maxFaults)
    lines.push_back(fmt::format("  and {} more", report.faults.size() - maxFaults));
  for (const std::string& doubt : report.doubts) {
    lines.push_back("  " + doubt);
  }
  return lines;
}

SettingsReport readSettings(const fs::path& file)
{
  std::error_code error;
  if (!fs::exists(file, error)) {
    throw Failure(ExitCode::settings, fmt::format("there is no settings file {}.", utf8(file)),
                  fmt::format("Make one with: tessel settings {} --write", utf8(file)));
  }
  SettingsReport report;
  ForeignBytesFinder findForeign(report);
  // The plug-in reads it a second time, which a pipe does not bear.
  const auto text =
      fs::is_regular_file(file, error) ? textfile::read(widen(file), std::ref(findForeign)) : std::nullopt;
  if (!text) {
    throw Failure(ExitCode::settings, fmt::format("the settings file {} can't be read.", utf8(file)),
                  "It must be a file, and you need the right to read it.");
  }
  LineCounter lines(*text);
  FaultFinder finder(lines, report);
  std::wistream stream(&lines);
  parameter::readStream(stream, finder);
  std::ranges::stable_sort(report.faults, {}, &SettingsFault::line);
  if (report.lines.empty()) {
    report.faults.push_back({0, "the file sets nothing: all settings keep their defaults."});
  }
  report.doubts = findDoubts();
  return report;
}

std::string settingsText(int gloves)
{
  settings::elementCount = gloves * elementsOfGlove;
  settings::numSensors = gloves;
  settings::numBleModules = gloves;
  std::string text = "// Settings of the Tessel plug-in: a name, a tab and a value. This is a comment.\n";
  for (const SettingComment& setting : comments) {
    text += fmt::format("\n// {}\n{}\t{}\n", setting.comment, narrow(setting.key),
                        narrow(parameter::find(setting.key)->toString()));
  }
  return text;
}
