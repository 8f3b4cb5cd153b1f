#include "host/recording/RecordTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "host/base/OutputFile.h"
#include "host/recording/CsvCells.h"
#include "host/recording/Names.h"

namespace {

class TidyTable final : public RecordTable {
 public:
  TidyTable(const std::filesystem::path& path, const Layout& layout) : file_(path), cells_(layout.elements)
  {
    for (const ElementGroup& group : layout.groups) {
      for (std::size_t element = 0; element < group.count; ++element) {
        cells_[group.first + element] = fmt::format(",{},,{},", group.label, element);
      }
      for (const Region& region : group.hand.regions) {
        for (std::size_t number = 0; number < region.elements.size(); ++number) {
          cells_[group.first + region.elements[number]] =
              fmt::format(",{},{},{},", group.label, region.name, number);
        }
      }
    }
    file_.append(fmt::format("{},side,region,element,value\n", names::timeColumn));
  }

  void add(const Record& record) override
  {
    std::string time;
    appendTime(time, record.timeMs);
    rows_.clear();
    for (std::size_t element = 0; element < record.elements.size(); ++element) {
      const fmt::format_int value(record.elements[element]);
      rows_.append(time).append(cells_[element]).append(value.data(), value.size());
      rows_ += '\n';
    }
    file_.append(rows_);
  }

  void close() override { file_.close(); }

 private:
  OutputFile file_;
  std::vector<std::string> cells_;  // of each element, between its time and its value
  std::string rows_;                // a member to reuse its memory
};

class RegionTable final : public RecordTable {
 public:
  RegionTable(const std::filesystem::path& path, const Layout& layout) : file_(path)
  {
    line_ = names::timeColumn;
    for (const ElementGroup& group : layout.groups) {
      if (!group.isGlove()) continue;
      auto& whole = addSeries(group.label);
      for (std::size_t element = 0; element < group.count; ++element) {
        whole.push_back(group.first + element);
      }
      for (const Region& region : group.hand.regions) {
        auto& elements = addSeries(fmt::format("{}_{}", group.label, region.name));
        for (const std::size_t element : region.elements) {
          elements.push_back(group.first + element);
        }
      }
    }
    file_.append(line_ + '\n');
  }

  void add(const Record& record) override
  {
    line_.clear();
    appendTime(line_, record.timeMs);
    for (const auto& elements : series_) {
      std::uint64_t sum = 0;
      std::uint16_t highest = 0;
      for (const std::size_t element : elements) {
        sum += record.elements[element];
        highest = std::max(highest, record.elements[element]);
      }
      const double mean = static_cast<double>(sum) / static_cast<double>(elements.size());
      fmt::format_to(std::back_inserter(line_), ",{:.3f},{},{}", mean, highest, sum);
    }
    line_ += '\n';
    file_.append(line_);
  }

  void close() override { file_.close(); }

 private:
  std::vector<std::size_t>& addSeries(const std::string& name)
  {
    fmt::format_to(std::back_inserter(line_), ",{0}_mean,{0}_max,{0}_sum", name);
    return series_.emplace_back();
  }

  OutputFile file_;
  std::vector<std::vector<std::size_t>> series_;  // the elements of each
  std::string line_;                              // a member to reuse its memory
};

}  // namespace

std::unique_ptr<RecordTable> makeRecordTable(TableKind kind, const std::filesystem::path& file,
                                             const Layout& layout)
{
  if (kind == TableKind::tidy) return std::make_unique<TidyTable>(file, layout);
  return std::make_unique<RegionTable>(file, layout);
}
