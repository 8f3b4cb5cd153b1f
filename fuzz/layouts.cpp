// A layout file: it is refused in words, or describes each element of both hands once, fits into the gloves
// of a record, and is the same again after it was written.

#include <set>

#include "fuzz/Fuzz.h"
#include "host/base/Failure.h"
#include "host/recording/HandLayout.h"

using fuzz::require;

namespace {

void check(const Hand& hand, std::size_t elements)
{
  if (!hand.isKnown()) return;
  std::set<std::size_t> described;
  for (const Region& region : hand.regions) {
    require(fuzz::isOneLine(region.name) && !region.name.empty(), "a region has a name");
    for (const std::size_t element : region.elements) {
      require(element < elements && described.insert(element).second, "an element is in one region");
    }
  }
  require(described.size() == elements, "each element is in a region");
  require(hand.positions.empty() || hand.positions.size() == elements,
          "each element has a position, or none");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::filesystem::path file =
      fuzz::writeFile("layout.json", {reinterpret_cast<const char*>(data), size});
  try {
    const HandLayout layout = HandLayout::read(file);
    require(HandLayout::isLayout(file), "a layout seems to be one");
    require(layout.elements() > 0, "a layout has elements");
    check(layout.left(), layout.elements());
    check(layout.right(), layout.elements());
    Layout record{
        .elements = 2 * layout.elements(),
        .groups = {{"left", "", 0, layout.elements()}, {"right", "", layout.elements(), layout.elements()}}};
    layout.describe(record);
    for (const ElementGroup& group : record.groups) {
      const auto names = elementNames(group);
      require(std::set(names.begin(), names.end()).size() == layout.elements(),
              "each element has its own name");
    }
    const HandLayout again = HandLayout::parse(nlohmann::ordered_json::parse(layout.json().dump()), "again");
    require(again.left() == layout.left() && again.right() == layout.right(),
            "what is written is read again");
  } catch (const Failure& failure) {
    require(failure.code() == ExitCode::usage && failure.details().size() <= 26,
            "errors are listed up to a limit");
  }
  return 0;
}
