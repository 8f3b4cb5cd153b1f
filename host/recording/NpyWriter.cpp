#include "host/recording/NpyWriter.h"

#include <fmt/format.h>

#include <bit>
#include <string>

#include "host/recording/Names.h"

namespace fs = std::filesystem;

namespace {

// The arrays are little-endian, and values are written as they are in memory.
static_assert(std::endian::native == std::endian::little);

// NumPy's format 1.0: magic, version, length of the text, and the text padded with spaces to a fixed size, a
// multiple of 64, so that the header can be rewritten.
constexpr std::size_t headerSize = 128;
constexpr std::size_t textAt = 10;

// Up to the number of records.
std::string headerStart(std::string_view type)
{
  std::string start("\x93NUMPY\x01\x00", 8);
  start += static_cast<char>(headerSize - textAt);
  start += '\0';
  return start + fmt::format("{{'descr': '{}', 'fortran_order': False, 'shape': (", type);
}

// After the number of records.
std::string headerEnd(std::optional<std::size_t> columns)
{
  return columns ? fmt::format(", {}), }}", *columns) : ",), }";
}

template <class Value>
std::string_view bytesOf(const Value* values, std::size_t count)
{
  return {reinterpret_cast<const char*>(values), count * sizeof(Value)};
}

}  // namespace

NpyWriter::Array::Array(const fs::path& folder, std::string_view name, std::string_view type,
                        std::optional<std::size_t> columns)
    : file(folder / names::arrayFile(name)), start(headerStart(type)), end(headerEnd(columns))
{
  file.append(header(0));
}

std::string_view NpyWriter::Array::header(std::uint64_t records)
{
  const fmt::format_int count(records);
  text = start;
  text.append(count.data(), count.size()).append(end).resize(headerSize - 1, ' ');
  return text += '\n';
}

NpyWriter::NpyWriter(const fs::path& folder, const Layout& layout)
{
  arrays_.emplace_back(folder, names::samplesArray, "<u2", layout.elements);
  arrays_.emplace_back(folder, names::timeArray, "<f8");
  arrays_.emplace_back(folder, names::arrivalArray, "<f8");
  arrays_.emplace_back(folder, names::pluginArray, "<u4");
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    arrays_.emplace_back(folder, group.label + std::string(names::frameSuffix), "<i8");
    arrays_.emplace_back(folder, group.label + std::string(names::ticksSuffix), "<i8");
    arrays_.emplace_back(folder, group.label + std::string(names::sampledSuffix), "<f8");
  }
}

void NpyWriter::add(const Record& record)
{
  auto array = arrays_.begin();
  const auto append = [&]<class Value>(const Value* values, std::size_t count) {
    (array++)->file.append(bytesOf(values, count));
  };
  append(record.elements.data(), record.elements.size());
  append(&record.timeMs, 1);
  append(&record.arrivalMs, 1);
  append(&record.pluginMs, 1);
  for (const GloveFrame& frame : record.frames) {
    append(&frame.number, 1);
    append(&frame.ticks, 1);
    append(&frame.sampledMs, 1);
  }
  ++records_;
  // After each row, so that the arrays of a killed program show exactly the complete rows.
  for (Array& each : arrays_) {
    each.file.replaceBeginning(each.header(records_));
  }
}

void NpyWriter::close(bool /*isComplete*/)
{
  for (Array& array : arrays_) {
    array.file.close();
  }
}
