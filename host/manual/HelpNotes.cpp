#include "host/manual/HelpNotes.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

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
  const std::regex listBegin("([A-Z][a-z ]*):($|  +)(.*)");
  std::istringstream input{std::string(text)};
  bool isNewParagraph = true;
  for (std::string line; std::getline(input, line);) {
    std::smatch match;
    const bool isIndented = line.starts_with(' ');
    if (std::regex_match(line, match, listBegin)) {
      lists.push_back({match.str(1), {}});
      const auto column = static_cast<std::size_t>(match.position(3));
      if (match.length(3) > 0) lists.back().lines.push_back(std::string(column, ' ') + match.str(3));
    } else if (isIndented && !lists.empty()) {
      lists.back().lines.push_back(line);
    } else if (!line.empty() && isNewParagraph) {
      paragraphs.push_back(line);
    } else if (!line.empty()) {
      paragraphs.back() += "\n" + line;
    }
    isNewParagraph = line.empty() || isIndented || !match.empty();
  }
  for (List& list : lists) {
    removeIndentation(list.lines);
  }
}
