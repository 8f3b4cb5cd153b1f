#include "host/recording/CsvWriter.h"

#include <fmt/format.h>

#include <iterator>

CsvWriter::CsvWriter(const std::filesystem::path& file, const Layout& layout) : file_(file)
{
  line_ = "time_ms";
  for (const ElementGroup& group : layout.groups) {
    for (std::size_t element = 0; element < group.count; ++element) {
      fmt::format_to(std::back_inserter(line_), ",{}_{}", group.label, element);
    }
  }
  line_ += '\n';
  file_.append(line_);
}

void CsvWriter::add(std::uint32_t timestampMs, std::span<const std::uint16_t> elements)
{
  line_ = fmt::to_string(timestampMs);
  for (const std::uint16_t element : elements) {
    fmt::format_to(std::back_inserter(line_), ",{}", element);
  }
  line_ += '\n';
  file_.append(line_);
}

void CsvWriter::finish(const RecordingEnd&)
{
  file_.close();
}
