// Where the elements of a left and of a right glove are: a JSON file, which docs/layout.md documents. Where
// it describes one hand only, the other one is its mirror image.
// Errors: a Failure with ExitCode::usage that names the region or element and says what is wrong with it.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <optional>
#include <string>

#include "host/recording/Layout.h"

class HandLayout {
 public:
  static HandLayout read(const std::filesystem::path& file);
  // `source`: where it comes from, for messages.
  static HandLayout parse(nlohmann::ordered_json json, std::string source);

  const Hand& left() const { return left_; }
  const Hand& right() const { return right_; }
  const std::string& source() const { return source_; }
  // Whole, as it was read.
  const nlohmann::ordered_json& json() const { return json_; }

  // Adds regions and positions to the gloves of a record. Fails if one has another number of elements. A
  // glove of unknown side is taken for a left one.
  void describe(Layout& layout) const;

 private:
  HandLayout() = default;

  Hand left_, right_;
  std::string source_;
  nlohmann::ordered_json json_;
};
