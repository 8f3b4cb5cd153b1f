// Simulated gloves behind the C interface, opened for a test and closed at its end.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "library/include/tessel.h"
#include "tests/library/RecordBlock.h"

inline std::string errorWords()
{
  return std::string(tessel_error_text()) + ' ' + tessel_error_advice();
}

// A text that the function of this handle returns, called as often as it takes.
template <class Function, class... Arguments>
std::string textOf(Function function, Arguments... arguments)
{
  std::size_t needed = 0;
  EXPECT_EQ(function(arguments..., nullptr, 0, &needed), TESSEL_ERROR_TOO_SMALL);
  std::string text(needed, '\0');
  EXPECT_EQ(function(arguments..., text.data(), text.size(), &needed), TESSEL_OK) << errorWords();
  text.resize(needed - 1);
  return text;
}

struct OpenGloves {
  explicit OpenGloves(const std::string& options = R"({"simulated": true})")
  {
    EXPECT_EQ(tessel_create(options.c_str(), &handle), TESSEL_OK) << errorWords();
    EXPECT_EQ(tessel_open(handle, -1), TESSEL_OK) << errorWords();
  }
  ~OpenGloves() { tessel_close(handle); }
  OpenGloves(const OpenGloves&) = delete;
  OpenGloves& operator=(const OpenGloves&) = delete;

  tessel_statistics statistics() const
  {
    tessel_statistics statistics{};
    statistics.size = sizeof(statistics);
    EXPECT_EQ(tessel_get_statistics(handle, &statistics), TESSEL_OK);
    return statistics;
  }

  std::string simulate(const char* command) const
  {
    std::string reply(4096, '\0');
    std::size_t needed = 0;
    EXPECT_EQ(tessel_simulate(handle, command, reply.data(), reply.size(), &needed), TESSEL_OK)
        << errorWords();
    return reply.substr(0, needed - 1);
  }

  std::vector<nlohmann::json> takeEvents() const
  {
    std::vector<nlohmann::json> events;
    std::string text(4096, '\0');
    while (tessel_next_event(handle, text.data(), text.size(), nullptr) == TESSEL_OK) {
      events.push_back(nlohmann::json::parse(text.c_str()));
    }
    return events;
  }

  tessel_gloves handle = 0;
};

// Arrays for records of two simulated gloves.
struct Rows : RecordBlock {
  explicit Rows(std::size_t capacity, std::size_t elements = 250) : RecordBlock(capacity, 2, elements) {}
};
