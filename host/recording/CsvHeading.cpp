#include "host/recording/CsvHeading.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>
#include <optional>

#include "host/base/Text.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingParts.h"

namespace {

// As the names of regions are in layouts.
bool isRegionName(std::string_view name)
{
  const auto fits = [](unsigned char character) { return std::isalnum(character) != 0 || character == '-'; };
  return !name.empty() && std::isalpha(static_cast<unsigned char>(name.front())) != 0 &&
         std::ranges::all_of(name, fits);
}

struct RegionElement {
  std::string_view region;
  std::size_t number;
};

// Of "_thumb_03".
std::optional<RegionElement> regionElementOf(std::string_view name)
{
  const std::size_t separator = name.rfind('_');
  if (!name.starts_with('_') || separator == 0) return std::nullopt;
  const std::string_view region = name.substr(1, separator - 1);
  const std::string_view digits = name.substr(separator + 1);
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = error == std::errc{} && end == digits.data() + digits.size();
  if (!isRegionName(region) || !isNumber) return std::nullopt;
  return RegionElement{region, number};
}

class HeadingParser {
 public:
  HeadingParser(std::string_view line, const std::filesystem::path& path) : path_(path)
  {
    for (std::size_t begin = 0; begin <= line.size(); begin += columns_.back().size() + 1) {
      columns_.push_back(line.substr(begin, line.find(',', begin) - begin));
    }
  }

  CsvHeading parse()
  {
    if (columns_[0] != names::timeColumn) {
      damagedRecording(path_, fmt::format("is not a recording: line 1 begins with '{}' instead of '{}'",
                                          excerpt(columns_[0]), names::timeColumn));
    }
    heading_.columns = columns_.size();
    heading_.hasTimes = columns_.size() > 1 && columns_[1] == names::arrivalColumn;
    next_ = 1;
    if (heading_.hasTimes) readTimes();
    if (next_ == columns_.size()) damagedRecording(path_, "has no elements in line 1");
    for (; next_ < columns_.size(); ++next_) {
      addElement(columns_[next_]);
    }
    finishGroup();
    return std::move(heading_);
  }

 private:
  // Of a region that is not complete yet: elements of the group by their number in the region.
  struct OpenRegion {
    std::string name;
    std::map<std::size_t, std::size_t> elements;
  };

  void readTimes()
  {
    ++next_;
    expect(next_++, names::pluginColumn);
    while (next_ < columns_.size() && columns_[next_].ends_with(names::frameSuffix)) {
      const std::string_view column = columns_[next_];
      const std::string label(column.substr(0, column.size() - names::frameSuffix.size()));
      if (std::ranges::find(heading_.frames, label, &CsvHeading::FrameColumns::label) !=
          heading_.frames.end())
        damagedRecording(path_, fmt::format("has the column '{}' twice", excerpt(column)));
      if (heading_.frames.size() == maxGroups)
        damagedRecording(path_, fmt::format("has more than {} gloves", maxGroups));
      expect(next_ + 1, fmt::format("{}{}", label, names::ticksSuffix));
      next_ += 2;
      const bool hasSampled =
          next_ < columns_.size() && columns_[next_] == fmt::format("{}{}", label, names::sampledSuffix);
      if (hasSampled) ++next_;
      heading_.frames.push_back({label, hasSampled});
    }
  }

  void expect(std::size_t index, std::string_view wanted) const
  {
    const std::string_view column = index < columns_.size() ? columns_[index] : "";
    if (column != wanted) damagedColumn(column, wanted);
  }

  [[noreturn]] void damagedColumn(std::string_view column, std::string_view wanted) const
  {
    damagedRecording(
        path_, fmt::format("is damaged in line 1: '{}' instead of '{}'", excerpt(column), excerpt(wanted)));
  }

  // That of a glove with columns of frames, or else what stands before the number.
  std::string_view labelOf(std::string_view column) const
  {
    std::size_t length = 0;
    for (const auto& [label, hasSampled] : heading_.frames) {
      const bool isIts = column.starts_with(label) && column.substr(label.size()).starts_with('_');
      if (isIts) length = std::max(length, label.size());
    }
    return column.substr(0, length > 0 ? length : std::min(column.rfind('_'), column.size()));
  }

  void addElement(std::string_view column)
  {
    const std::string_view label = labelOf(column);
    Layout& layout = heading_.layout;
    if (layout.groups.empty() || layout.groups.back().label != label) {
      finishGroup();
      addGroup(layout, path_, std::string(label));
    }
    ElementGroup& group = layout.groups.back();
    const std::string_view name = column.substr(label.size());
    const auto inRegion = regionElementOf(name);
    if (inRegion && (group.count == 0 || !regions_.empty())) {
      addToRegion(*inRegion, column, group.count);
    } else if (!regions_.empty()) {
      damagedRecording(path_, fmt::format("is damaged in line 1: '{}' is in no region, unlike '{}'",
                                          excerpt(column), excerpt(columns_[next_ - 1])));
    } else if (name != fmt::format("_{}", group.count)) {
      damagedColumn(column, fmt::format("{}_{}", label, group.count));
    }
    ++group.count;
    if (++layout.elements > maxElements) {
      damagedRecording(path_, fmt::format("has more than {} elements in a record", maxElements));
    }
  }

  void addToRegion(const RegionElement& element, std::string_view column, std::size_t index)
  {
    auto region = std::ranges::find(regions_, element.region, &OpenRegion::name);
    if (region == regions_.end()) {
      region = regions_.insert(region, {.name = std::string(element.region), .elements = {}});
    }
    if (!region->elements.emplace(element.number, index).second)
      damagedRecording(path_, fmt::format("has the column '{}' twice", excerpt(column)));
  }

  // Its regions are complete if their numbers are.
  void finishGroup()
  {
    for (const OpenRegion& open : regions_) {
      ElementGroup& group = heading_.layout.groups.back();
      Region& region = group.hand.regions.emplace_back();
      region.name = open.name;
      for (const auto& [number, element] : open.elements) {
        if (number != region.elements.size()) {
          damagedRecording(path_, fmt::format("lacks the column '{}_{}_{:02}'", excerpt(group.label),
                                              excerpt(open.name), region.elements.size()));
        }
        region.elements.push_back(element);
      }
    }
    regions_.clear();
  }

  const std::filesystem::path& path_;
  std::vector<std::string_view> columns_;
  std::size_t next_ = 0;
  std::vector<OpenRegion> regions_;  // of the last group
  CsvHeading heading_;
};

}  // namespace

CsvHeading parseCsvHeading(std::string_view line, const std::filesystem::path& path)
{
  return HeadingParser(line, path).parse();
}
