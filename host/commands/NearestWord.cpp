#include "host/commands/NearestWord.h"

#include <algorithm>
#include <cstddef>

namespace {

char lowered(char letter)
{
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Edit distance: the insertions, deletions, replacements and swaps of neighbouring letters between two words.
std::size_t editDistance(std::string_view left, std::string_view right)
{
  std::vector<std::vector<std::size_t>> edits(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
  for (std::size_t i = 0; i <= left.size(); ++i) {
    for (std::size_t j = 0; j <= right.size(); ++j) {
      if (i == 0 || j == 0) {
        edits[i][j] = i + j;
        continue;
      }
      const bool isSame = lowered(left[i - 1]) == lowered(right[j - 1]);
      edits[i][j] =
          std::min({edits[i - 1][j] + 1, edits[i][j - 1] + 1, edits[i - 1][j - 1] + (isSame ? 0 : 1)});
      const bool isSwapped = i > 1 && j > 1 && lowered(left[i - 1]) == lowered(right[j - 2]) &&
                             lowered(left[i - 2]) == lowered(right[j - 1]);
      if (isSwapped) edits[i][j] = std::min(edits[i][j], edits[i - 2][j - 2] + 1);
    }
  }
  return edits.back().back();
}

}  // namespace

std::string nearestWord(std::string_view word, const std::vector<std::string>& words)
{
  constexpr std::size_t maxLength = 40;  // longer words are no typing errors
  constexpr std::size_t lettersPerEdit = 3;
  constexpr std::size_t minBeginning = 3;
  std::string nearest;
  if (word.size() > maxLength) return nearest;
  const std::size_t letters = word.size() - std::min(word.find_first_not_of('-'), word.size());
  std::size_t fewest = std::max<std::size_t>(word.size() / lettersPerEdit, 1) + 1;
  for (const std::string& candidate : words) {
    const bool isBeginning = letters >= minBeginning && candidate.starts_with(word);
    const std::size_t edits = isBeginning ? 1 : editDistance(word, candidate);
    if (edits >= fewest || edits >= letters) continue;
    fewest = edits;
    nearest = candidate;
  }
  return nearest;
}
