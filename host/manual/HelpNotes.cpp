#include "host/manual/HelpNotes.h"

#include <algorithm>
#include <sstream>

namespace {

// "Examples:  tessel record" and "Examples:" begin lists, "Note: this" does not. Returns the length of the
// title, or 0.
std::size_t titleLength(std::string_view line)
{
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || line.front() < 'A' || line.front() > 'Z') return 0;
  const std::string_view title = line.substr(1, colon - 1);
  const std::string_view rest = line.substr(colon + 1);
  const bool isTitle = title.find_first_not_of("abcdefghijklmnopqrstuvwxyz ") == std::string_view::npos;
  return isTitle && (rest.empty() || rest.starts_with("  ")) ? colon : 0;
}

void removeIndentation(std::vector<std::string>& lines)
{
  std::size_t indentation = std::string::npos;
  for (const std::string& line : lines) {
    indentation = std::min(indentation, line.find_first_not_of(' '));
  }
  for (std::string& line : lines) {
    line.erase(0, indentation);
  }
}

}  // namespace

HelpNotes::HelpNotes(std::string_view text)
{
  std::istringstream input{std::string(text)};
  bool isNewParagraph = true;
  for (std::string line; std::getline(input, line);) {
    const std::size_t title = titleLength(line);
    const bool isInList = title > 0 || (line.starts_with(' ') && !lists.empty());
    if (title > 0) {
      lists.push_back({line.substr(0, title), {}});
      line.replace(0, title + 1, title + 1, ' ');
    }
    const bool isEmpty = line.find_first_not_of(' ') == std::string::npos;
    if (isInList && !isEmpty) {
      lists.back().lines.push_back(line);
    } else if (!isEmpty && isNewParagraph) {
      paragraphs.push_back(line);
    } else if (!isEmpty) {
      paragraphs.back() += "\n" + line;
    }
    isNewParagraph = isEmpty || isInList;
  }
  for (List& list : lists) {
    removeIndentation(list.lines);
  }
}
