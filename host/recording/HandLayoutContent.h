// The content of a layout, from its JSON. Throws only std::bad_alloc.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording/Layout.h"

inline constexpr std::string_view layoutFormat = "tessel-layout";

struct HandLayoutContent {
  std::string name;
  std::size_t elements = 0;  // of each glove
  // Empty: not described.
  std::optional<Hand> left;
  std::optional<Hand> right;
};

// Appends all errors that it finds to `errors`, which may come from untrusted text. The content is complete
// only without errors.
HandLayoutContent readHandLayout(const nlohmann::ordered_json& json, std::vector<std::string>& errors);

// "element 3", "elements 3, 7-9": on one line, however many they are.
std::string listOfNumbers(std::vector<std::size_t> numbers);
