#include "host/plot/MarkerLabels.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/plot/TextFit.h"

namespace {

constexpr std::size_t maxRows = 3;
constexpr double lineAndSpace = 10;  // what a label needs in addition to its text
constexpr double maxTextWidth = 260;
constexpr double minShortenedWidth = 60;

// From right to left, so that the space of each is known: at its row, up to the next label's line that
// reaches this row.
class Placement {
 public:
  Placement(double right, double fontSize) : fontSize_(fontSize) { limits_.fill(right); }

  // True if it was placed in one of the lowest rows, by the text or its beginning.
  bool add(double x, const std::string& text, std::size_t rows)
  {
    const auto highest = limits_.begin() + static_cast<std::ptrdiff_t>(rows - 1);
    const double begin = x + lineAndSpace;
    const double wanted = std::min(textWidth(text, fontSize_), maxTextWidth);
    const double width = std::min(wanted, *highest - begin);
    if (width < std::min(wanted, minShortenedWidth)) return false;
    const auto row = std::lower_bound(limits_.begin(), highest, begin + width);
    labels_.push_back(
        {x, static_cast<std::size_t>(row - limits_.begin()), shortened(text, width, fontSize_)});
    std::fill(limits_.begin(), row + 1, x);
    return true;
  }

  std::vector<MarkerLabel> labels() && { return std::move(labels_); }

 private:
  double fontSize_;
  std::array<double, maxRows> limits_{};  // of each row; higher rows have more space
  std::vector<MarkerLabel> labels_;
};

}  // namespace

std::vector<MarkerLabel> placeLabels(const std::vector<MarkedPosition>& markers, double right,
                                     double fontSize)
{
  Placement texts(right, fontSize);
  Placement numbers(right, fontSize);
  std::size_t placed = 0;
  for (auto marker = markers.rbegin(); marker != markers.rend(); ++marker) {
    if (texts.add(marker->x, marker->text, maxRows)) ++placed;
    numbers.add(marker->x, std::to_string(marker->number), 1);
  }
  const bool areTextsMost = 2 * placed >= markers.size();
  return std::move(areTextsMost ? texts : numbers).labels();
}
