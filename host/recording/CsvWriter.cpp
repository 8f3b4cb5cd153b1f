#include "host/recording/CsvWriter.h"

#include <fmt/format.h>

#include <iterator>

#include "host/recording/CsvCells.h"
#include "host/recording/Names.h"

namespace {

template <class Number>
void appendNumber(std::string& line, Number number)
{
  const fmt::format_int digits(number);
  line += ',';
  line.append(digits.data(), digits.size());
}

// Empty if it is unknown.
void appendFrameCell(std::string& line, std::int64_t number)
{
  if (number >= 0) return appendNumber(line, number);
  line += ',';
}

}  // namespace

CsvWriter::CsvWriter(const std::filesystem::path& file, const Layout& layout) : file_(file)
{
  const auto out = std::back_inserter(line_);
  fmt::format_to(out, "{},{},{}", names::timeColumn, names::arrivalColumn, names::pluginColumn);
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    fmt::format_to(out, ",{0}{1},{0}{2},{0}{3}", group.label, names::frameSuffix, names::ticksSuffix,
                   names::sampledSuffix);
  }
  for (const ElementGroup& group : layout.groups) {
    fmt::format_to(out, ",{}", fmt::join(elementNames(group), ","));
  }
  line_ += '\n';
  file_.append(line_);
}

void CsvWriter::add(const Record& record)
{
  line_.clear();
  appendTime(line_, record.timeMs);
  line_ += ',';
  appendTime(line_, record.arrivalMs);
  appendNumber(line_, record.pluginMs);
  for (const GloveFrame& frame : record.frames) {
    appendFrameCell(line_, frame.number);
    appendFrameCell(line_, frame.ticks);
    line_ += ',';
    appendTime(line_, frame.sampledMs);
  }
  for (const std::uint16_t element : record.elements) {
    appendNumber(line_, unsigned{element});
  }
  line_ += '\n';
  file_.append(line_);
}
