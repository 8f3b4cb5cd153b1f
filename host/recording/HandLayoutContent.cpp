#include "host/recording/HandLayoutContent.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <utility>

#include "host/base/Limits.h"
#include "host/base/Text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr double maxCoordinate = 1000;  // mm
constexpr std::size_t maxRegionName = 32;

struct Errors {
  std::vector<std::string>& list;

  void add(const std::string& where, const std::string& what)
  {
    // Far more than anybody reads; a file can have hundreds of thousands.
    constexpr std::size_t maxErrors = 1000;
    if (list.size() < maxErrors) list.push_back(where + what);
  }
};

bool isLetter(char character)
{
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isRegionName(std::string_view name)
{
  const auto fits = [](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '-'; };
  return !name.empty() && name.size() <= maxRegionName && isLetter(name.front()) &&
         std::ranges::all_of(name, fits);
}

// A scalar as it stands in the file; of anything else only the kind, because it may be of any size and depth.
std::string shown(const Json& json)
{
  if (json.is_string()) return '"' + excerpt(json.get_ref<const std::string&>()) + '"';
  return json.is_structured() ? json.is_array() ? "a list" : "an object" : json.dump();
}

bool isComment(const Json& json)
{
  return json.is_string() ||
         (json.is_array() && std::ranges::all_of(json, [](const Json& line) { return line.is_string(); }));
}

// Also that a comment is text.
void checkKeys(const Json& object, const std::string& where, std::initializer_list<std::string_view> known,
               Errors& errors)
{
  for (const auto& [key, value] : object.items()) {
    if (key == "comment") {
      if (!isComment(value)) errors.add(where, "\"comment\" is neither a text nor a list of texts");
    } else if (std::ranges::find(known, key) == known.end()) {
      errors.add(where, fmt::format("unknown key \"{}\"; known are \"{}\" and \"comment\"", excerpt(key),
                                    fmt::join(known, "\", \"")));
    }
  }
}

const Json* find(const Json& object, std::string_view key)
{
  const auto found = object.find(key);
  return found == object.end() ? nullptr : &*found;
}

struct ReadRegion {
  std::string label;  // for messages
  Region region;
  std::vector<Position> positions;  // by entry of the region; empty: none
};

class HandReader {
 public:
  HandReader(std::string side, Errors& errors) : where_(std::move(side) + ": "), errors_(errors) {}

  void read(const Json& json);
  // One more than the highest number; 0 without elements.
  std::size_t elements() const { return highest_; }
  // Checks that `count` elements are there, each of them once.
  Hand finish(std::size_t count);

 private:
  void readRegion(const Json& json, std::size_t number);
  std::string readName(const Json& json, const std::string& where);
  void readElement(const Json& json, const std::string& where, std::vector<std::size_t>& elements);
  Position readPosition(const Json& json, const std::string& where, std::size_t number);
  void checkElements(std::size_t count);

  std::string where_;
  Errors& errors_;
  std::vector<ReadRegion> regions_;
  std::size_t highest_ = 0;
  bool isComplete_ = true;  // all elements could be read
};

void HandReader::read(const Json& json)
{
  if (!json.is_object()) {
    isComplete_ = false;
    return errors_.add(where_, "it is not an object with \"regions\"");
  }
  checkKeys(json, where_, {"regions"}, errors_);
  const Json* const regions = find(json, "regions");
  if (!regions || !regions->is_array() || regions->empty()) {
    isComplete_ = false;
    return errors_.add(where_, "there is no list of \"regions\"");
  }
  if (regions->size() > maxElements) {
    isComplete_ = false;
    return errors_.add(where_,
                       fmt::format("it has {} regions; {} is the most", regions->size(), maxElements));
  }
  for (const Json& region : *regions) {
    readRegion(region, regions_.size() + 1);
  }
  const auto isPlaced = [](const ReadRegion& each) { return !each.positions.empty(); };
  if (std::ranges::none_of(regions_, isPlaced)) return;
  for (const ReadRegion& each : regions_) {
    if (!isPlaced(each)) errors_.add(each.label, "it has no \"positions\", but other regions have");
  }
}

void HandReader::readRegion(const Json& json, std::size_t number)
{
  ReadRegion& read = regions_.emplace_back();
  read.label = fmt::format("{}region {}: ", where_, number);
  if (!json.is_object()) {
    isComplete_ = false;
    return errors_.add(read.label, "it is not an object with \"name\" and \"elements\"");
  }
  read.region.name = readName(json, read.label);
  if (isRegionName(read.region.name)) read.label = fmt::format("{}region {}: ", where_, read.region.name);
  checkKeys(json, read.label, {"name", "elements", "positions"}, errors_);
  const Json* const elements = find(json, "elements");
  if (!elements || !elements->is_array() || elements->empty()) {
    isComplete_ = false;
    return errors_.add(read.label, "there is no list of \"elements\"");
  }
  for (const Json& element : *elements) {
    readElement(element, read.label, read.region.elements);
  }
  const Json* const positions = find(json, "positions");
  if (!positions) return;
  if (!positions->is_array()) {
    read.positions.resize(read.region.elements.size());
    return errors_.add(read.label, "\"positions\" is not a list");
  }
  for (const Json& position : *positions) {
    read.positions.push_back(readPosition(position, read.label, read.positions.size() + 1));
  }
  if (isComplete_ && read.positions.size() != read.region.elements.size()) {
    errors_.add(read.label, fmt::format("it has {} positions for {} elements", read.positions.size(),
                                        read.region.elements.size()));
  }
}

std::string HandReader::readName(const Json& json, const std::string& where)
{
  const Json* const name = find(json, "name");
  if (!name) {
    errors_.add(where, "it has no \"name\"");
    return "";
  }
  if (!name->is_string() || !isRegionName(name->get_ref<const std::string&>())) {
    errors_.add(where, fmt::format("its name {} is not usable: it takes an ASCII letter, then letters, "
                                   "digits and '-', {} characters at most",
                                   shown(*name), maxRegionName));
    return "";
  }
  for (std::size_t other = 0; other + 1 < regions_.size(); ++other) {
    if (regions_[other].region.name == *name) {
      errors_.add(where, fmt::format("its name \"{}\" is also that of region {}",
                                     name->get_ref<const std::string&>(), other + 1));
    }
  }
  return *name;
}

// A number, or a range "A-B".
void HandReader::readElement(const Json& json, const std::string& where, std::vector<std::size_t>& elements)
{
  std::size_t first = 0;
  std::size_t last = 0;
  bool isUnderstood = false;
  if (json.is_number_unsigned()) {
    first = last = json.get<std::size_t>();
    isUnderstood = true;
  } else if (json.is_string()) {
    const std::string& text = json.get_ref<const std::string&>();
    const char* const end = text.data() + text.size();
    const auto [dash, error] = std::from_chars(text.data(), end, first);
    if (error == std::errc() && dash != end && *dash == '-') {
      const auto [rest, secondError] = std::from_chars(dash + 1, end, last);
      isUnderstood = secondError == std::errc() && rest == end;
    }
  }
  isComplete_ = isComplete_ && isUnderstood;
  if (!isUnderstood) {
    return errors_.add(where, fmt::format("{} is neither the number of an element nor a range such as "
                                          "\"0-14\"",
                                          shown(json)));
  }
  if (std::max(first, last) >= maxElements) {
    isComplete_ = false;
    return errors_.add(where, fmt::format("element {} is out of range: {} is the highest possible one",
                                          std::max(first, last), maxElements - 1));
  }
  highest_ = std::max({highest_, first + 1, last + 1});
  // A list with many ranges would take more memory than any valid one.
  if (elements.size() > maxElements) return;
  for (std::size_t element = first;; first < last ? ++element : --element) {
    elements.push_back(element);
    if (element == last) return;
  }
}

Position HandReader::readPosition(const Json& json, const std::string& where, std::size_t number)
{
  const auto isCoordinate = [](const Json& value) {
    return value.is_number() && std::abs(value.get<double>()) <= maxCoordinate;
  };
  if (!json.is_array() || json.size() < 2 || json.size() > 3 || !std::ranges::all_of(json, isCoordinate)) {
    errors_.add(where, fmt::format("position {} is not [x, y] or [x, y, z] in mm, from {} to {}", number,
                                   -maxCoordinate, maxCoordinate));
    return {};
  }
  return {json[0].get<double>(), json[1].get<double>(), json.size() == 3 ? json[2].get<double>() : 0};
}

void HandReader::checkElements(std::size_t count)
{
  std::vector<const ReadRegion*> regionOf(count, nullptr);
  std::map<std::pair<const ReadRegion*, const ReadRegion*>, std::vector<std::size_t>> repeated;
  for (const ReadRegion& each : regions_) {
    std::vector<std::size_t> tooHigh;
    for (const std::size_t element : each.region.elements) {
      if (element >= count) {
        tooHigh.push_back(element);
      } else if (regionOf[element]) {
        repeated[{regionOf[element], &each}].push_back(element);
      } else {
        regionOf[element] = &each;
      }
    }
    if (!tooHigh.empty()) {
      errors_.add(each.label, fmt::format("out of range with {} elements, which are numbered from 0: {}",
                                          count, listOfNumbers(std::move(tooHigh))));
    }
  }
  for (auto& [regions, elements] : repeated) {
    const std::string& first = regions.first->region.name;
    errors_.add(regions.second->label,
                regions.first == regions.second
                    ? fmt::format("more than once in it: {}", listOfNumbers(std::move(elements)))
                    : fmt::format("it has what is also in region {}: {}", first.empty() ? "?" : first,
                                  listOfNumbers(std::move(elements))));
  }
  std::vector<std::size_t> missing;
  for (std::size_t element = 0; element < count; ++element) {
    if (!regionOf[element]) missing.push_back(element);
  }
  if (!missing.empty() && isComplete_) {
    errors_.add(where_, fmt::format("in no region: {}", listOfNumbers(std::move(missing))));
  }
}

Hand HandReader::finish(std::size_t count)
{
  checkElements(count);
  if (!errors_.list.empty()) return {};
  Hand hand;
  if (!regions_.front().positions.empty()) hand.positions.resize(count);
  for (ReadRegion& each : regions_) {
    for (std::size_t entry = 0; entry < each.positions.size(); ++entry) {
      hand.positions[each.region.elements[entry]] = each.positions[entry];
    }
    hand.regions.push_back(std::move(each.region));
  }
  return hand;
}

// Whether the rest of the file can be expected to have the known form.
bool isKnownFormat(const Json& json, Errors& errors)
{
  const Json* const format = json.is_object() ? find(json, "format") : nullptr;
  if (!format || *format != layoutFormat) {
    errors.add("", fmt::format("it is no layout: \"format\" is {}, not \"{}\"",
                               format ? shown(*format) : "missing", layoutFormat));
    return false;
  }
  const Json* const version = find(json, "version");
  if (version && *version == 1) return true;
  errors.add("", fmt::format("\"version\" is {}; this program reads version 1",
                             version ? shown(*version) : "missing"));
  return false;
}

}  // namespace

HandLayoutContent readHandLayout(const Json& json, std::vector<std::string>& list)
{
  Errors errors{list};
  HandLayoutContent content;
  if (!isKnownFormat(json, errors)) return content;
  checkKeys(json, "", {"format", "version", "name", "elements", "left", "right"}, errors);
  if (const Json* const name = find(json, "name")) {
    if (name->is_string()) {
      content.name = *name;
    } else {
      errors.add("", fmt::format("\"name\" is {}, not a text", shown(*name)));
    }
  }
  if (const Json* const stated = find(json, "elements")) {
    const std::uint64_t count = stated->is_number_unsigned() ? stated->get<std::uint64_t>() : 0;
    if (count >= 1 && count <= maxElements) {
      content.elements = static_cast<std::size_t>(count);
    } else {
      errors.add("",
                 fmt::format("\"elements\" is {}, not a number from 1 to {}", shown(*stated), maxElements));
    }
  }
  const Json* const left = find(json, "left");
  const Json* const right = find(json, "right");
  if (!left && !right) {
    errors.add("", "it has neither \"left\" nor \"right\"");
    return content;
  }
  HandReader leftReader("left", errors);
  HandReader rightReader("right", errors);
  if (left) leftReader.read(*left);
  if (right) rightReader.read(*right);
  if (content.elements == 0) content.elements = std::max(leftReader.elements(), rightReader.elements());
  if (left) content.left = leftReader.finish(content.elements);
  if (right) content.right = rightReader.finish(content.elements);
  return content;
}

std::string listOfNumbers(std::vector<std::size_t> numbers)
{
  constexpr std::size_t maxPieces = 8;
  std::ranges::sort(numbers);
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  std::vector<std::string> pieces;
  for (auto first = numbers.begin(); first != numbers.end();) {
    if (pieces.size() == maxPieces) {
      pieces.push_back(fmt::format("and {} more", numbers.end() - first));
      break;
    }
    auto last = first;
    while (last + 1 != numbers.end() && *(last + 1) == *last + 1)
      ++last;
    pieces.push_back(first == last ? fmt::format("{}", *first) : fmt::format("{}-{}", *first, *last));
    first = last + 1;
  }
  return fmt::format("element{} {}", numbers.size() == 1 ? "" : "s", fmt::join(pieces, ", "));
}
