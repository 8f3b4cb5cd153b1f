// The notes below the options in a command's help, by their form:
//
//   Examples:  tessel record --sim          simulated gloves
//              tessel record --output -
//   A line that is not indented is prose, which goes on
//   on the next line. An empty line ends a paragraph.
//
// A line like the first begins a list, whose other lines are indented. Throws only std::bad_alloc.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct HelpNotes {
  struct List {
    std::string title;               // "Examples"
    std::vector<std::string> lines;  // without the indentation that all have
    bool isExamples() const { return title.starts_with("Example"); }
  };

  explicit HelpNotes(std::string_view text);

  std::vector<List> lists;
  std::vector<std::string> paragraphs;
};
