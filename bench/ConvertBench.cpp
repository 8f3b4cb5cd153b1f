// How fast `tessel convert` is, and that its memory does not grow with the recording: converts recordings of
// two gloves, of a minute and of an hour, from each format to each other and to the tables. The baseline
// copies the bytes that are read and writes those that are written.

#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/recording/OutputName.h"
#include "host/recording/RecordingFiles.h"
#include "host/recording/RegionChoice.h"
#include "tests/support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t gloveElements = 125;
constexpr unsigned regionElements = 25;
constexpr double intervalMs = 25;

Layout twoGloves()
{
  Hand hand;
  for (const char* name : {"thumb", "index", "middle", "ring", "palm"}) {
    Region& region = hand.regions.emplace_back();
    region.name = name;
    for (unsigned number = 0; number < regionElements; ++number) {
      region.elements.push_back((hand.regions.size() - 1) * regionElements + number);
    }
  }
  return {.elements = 2 * gloveElements,
          .groups = {{"left", "KVXGL00017", 0, gloveElements, hand},
                     {"right", "KVXGR00018", gloveElements, gloveElements, hand}}};
}

void generate(const fs::path& path, RecordFormat format, unsigned records)
{
  RecordingMetadata metadata;
  metadata.layout = twoGloves();
  metadata.hands = handLayoutJson(metadata.layout);
  metadata.zero = std::chrono::seconds(1000);
  metadata.records = records;
  RecordingFiles files({path, format}, false);
  RecordWriter& writer = files.begin(std::move(metadata));
  std::vector<std::uint16_t> elements(2 * gloveElements);
  for (unsigned row = 0; row < records; ++row) {
    // With hundredths only, so that each format has the same numbers.
    const double ms = intervalMs * row;
    for (std::size_t element = 0; element < elements.size(); ++element) {
      const double touch = 2000 * std::sin(0.01 * row + 0.1 * static_cast<double>(element));
      elements[element] = static_cast<std::uint16_t>(touch > 0 ? touch : 0);
    }
    const GloveFrame frame{.number = row, .ticks = 250 * std::int64_t{row}, .sampledMs = ms};
    const std::vector<GloveFrame> frames(2, frame);
    writer.add({.timeMs = ms,
                .arrivalMs = ms + 10.25,
                .pluginMs = 60'000 + 25 * row,
                .frames = frames,
                .elements = elements});
  }
  files.complete();
}

std::uintmax_t sizeOf(const fs::path& path)
{
  if (!fs::is_directory(path)) return fs::file_size(path);
  std::uintmax_t size = 0;
  for (const auto& entry : fs::directory_iterator(path)) {
    size += entry.file_size();
  }
  return size;
}

struct Run {
  double seconds = 0;
  double peakMiB = 0;
};

// In a process of its own. `messages`: a file for what it reports.
Run convertByProgram(const fs::path& from, const fs::path& to, const std::string& format,
                     const fs::path& messages)
{
  const std::string program = (host::programFolder() / "tessel").string();
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = ::fork();
  if (child == 0) {
    if (std::freopen(messages.c_str(), "w", stderr) == nullptr || ::dup2(2, 1) < 0) ::_exit(1);
    ::execl(program.c_str(), "tessel", "convert", from.c_str(), to.c_str(), "--format", format.c_str(),
            static_cast<char*>(nullptr));
    ::_exit(1);
  }
  int status = 0;
  rusage usage{};
  if (child < 0 || ::wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
      WEXITSTATUS(status) != 0) {
    std::ifstream file(messages);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    throw Failure(ExitCode::internal, fmt::format("can't convert {} to {}: {}", from.string(), format, text),
                  "");
  }
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  return {time.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

// Reads all files of one recording and writes as many bytes as the other one has.
double copySeconds(const fs::path& from, const fs::path& scratch, std::uintmax_t written)
{
  const auto begin = std::chrono::steady_clock::now();
  std::vector<char> block(1 << 20);
  const auto readAll = [&block](const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
    }
  };
  if (fs::is_directory(from)) {
    for (const auto& entry : fs::directory_iterator(from)) {
      readAll(entry.path());
    }
  } else {
    readAll(from);
  }
  std::ofstream file(scratch, std::ios::binary);
  for (std::uintmax_t rest = written; rest > 0;) {
    const auto size = std::min<std::uintmax_t>(rest, block.size());
    file.write(block.data(), static_cast<std::streamsize>(size));
    rest -= size;
  }
  file.close();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  fs::remove(scratch);
  return time.count();
}

void measure(const std::string& from, const std::string& to, unsigned records, const TemporaryFolder& folder)
{
  const fs::path source = folder / ("source-" + std::to_string(records) + "." + from);
  if (!fs::exists(source)) generate(source, formatNamed(from), records);
  const fs::path outputs = folder / "outputs";
  fs::create_directory(outputs);
  // The extension of a table is free.
  const fs::path output = outputs / ("output." + to);
  const Run run = convertByProgram(source, output, to, folder / "messages");
  const auto bytes = sizeOf(source) + sizeOf(output);
  const double copy = copySeconds(source, folder / "copy", sizeOf(output));
  fmt::print(
      "{:>4} -> {:<8}{:>8} records {:8.2f} s {:8.1f} MB/s {:7.0f} records/s  peak {:5.1f} MiB  copy {:.2f} "
      "s\n",
      from, to, records, run.seconds, static_cast<double>(bytes) / 1e6 / run.seconds, records / run.seconds,
      run.peakMiB, copy);
  std::fflush(stdout);
  fs::remove_all(outputs);
}

}  // namespace

int main(int count, char** arguments)
{
  // The minutes of the two recordings.
  const unsigned minutes = count > 1 ? static_cast<unsigned>(std::atoi(arguments[1])) : 60;
  constexpr unsigned recordsPerMinute = 60'000 / static_cast<unsigned>(intervalMs);
  try {
    const TemporaryFolder folder;
    std::vector<std::string> outputs = formatNames();
    outputs.insert(outputs.end(), {"tidy", "regions"});
    for (const std::string& from : formatNames()) {
      for (const std::string& to : outputs) {
        if (to == from) continue;
        measure(from, to, recordsPerMinute, folder);
        if (minutes > 1) measure(from, to, minutes * recordsPerMinute, folder);
      }
    }
  } catch (const Failure& failure) {
    fmt::print(stderr, "{}\n", failure.what());
    return 1;
  }
}
