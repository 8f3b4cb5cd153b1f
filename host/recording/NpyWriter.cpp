#include "host/recording/NpyWriter.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <ctime>
#include <optional>

#include "host/base/PartFile.h"
#include "host/base/Version.h"

namespace fs = std::filesystem;

namespace {

// The arrays are little-endian, and values are written as they are in memory.
static_assert(std::endian::native == std::endian::little);

// NumPy's format 1.0: magic, version, length of the text, and the text padded with spaces to a fixed size, a
// multiple of 64, so that the header can be rewritten.
std::string npyHeader(const char* type, std::uint64_t records, std::optional<std::size_t> columns)
{
  constexpr std::size_t size = 128;
  constexpr std::size_t textAt = 10;
  const std::string shape =
      columns ? fmt::format("({}, {})", records, *columns) : fmt::format("({},)", records);
  const std::string text =
      fmt::format("{{'descr': '{}', 'fortran_order': False, 'shape': {}, }}", type, shape);
  std::string header("\x93NUMPY\x01\x00", 8);
  header += static_cast<char>(size - textAt);
  header += '\0';
  return header + fmt::format("{:<{}}\n", text, size - textAt - 1);
}

std::string samplesHeader(std::uint64_t records, const Layout& layout)
{
  return npyHeader("<u2", records, layout.elements);
}

std::string timestampsHeader(std::uint64_t records)
{
  return npyHeader("<u4", records, std::nullopt);
}

template <class Value>
std::string_view bytesOf(const Value* values, std::size_t count)
{
  return {reinterpret_cast<const char*>(values), count * sizeof(Value)};
}

}  // namespace

NpyWriter::NpyWriter(fs::path folder, const Layout& layout)
    : folder_(std::move(folder)),
      layout_(layout),
      started_(fmt::format("{:%Y-%m-%dT%H:%M:%S%z}", fmt::localtime(std::time(nullptr)))),
      samples_(folder_ / "samples.npy"),
      timestamps_(folder_ / "stamps.npy")
{
  samples_.append(samplesHeader(0, layout_));
  timestamps_.append(timestampsHeader(0));
  writeMeta(nullptr);
}

void NpyWriter::add(std::uint32_t timestampMs, std::span<const std::uint16_t> elements)
{
  samples_.append(bytesOf(elements.data(), elements.size()));
  timestamps_.append(bytesOf(&timestampMs, 1));
  ++records_;
  // After each row, so that the arrays of a killed program show exactly the complete rows.
  samples_.replaceBeginning(samplesHeader(records_, layout_));
  timestamps_.replaceBeginning(timestampsHeader(records_));
}

void NpyWriter::finish(const RecordingEnd& end)
{
  samples_.close();
  timestamps_.close();
  writeMeta(&end);
}

void NpyWriter::writeMeta(const RecordingEnd* end) const
{
  nlohmann::ordered_json meta{
      {"format", "tessel-recording"}, {"version", 1}, {"program", programVersion}, {"started", started_}};
  meta["elements"] = layout_.elements;
  for (const ElementGroup& group : layout_.groups) {
    meta["groups"].push_back(
        {{"label", group.label}, {"module", group.module}, {"first", group.first}, {"count", group.count}});
  }
  if (end != nullptr) {
    meta["frames"] = records_;
    meta["backwardSteps"] = end->backwardSteps;
    meta["ended"] = end->words;
  }
  // The previous file stays until the new one is complete.
  PartFile output(folder_ / "meta.json", PartFile::Kind::file, true);
  OutputFile file(output.growing());
  file.append(meta.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + '\n');
  file.close();
  output.settle();
}
