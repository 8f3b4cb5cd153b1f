// Where the elements of a left and of a right glove are: a JSON file, which docs/layout.md documents. Where
// it describes one hand only, the other one is its mirror image.
// Errors: a Failure with ExitCode::usage that names all errors of the layout, up to a few dozen.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "host/recording/Layout.h"

class HandLayout {
 public:
  static HandLayout read(const std::filesystem::path& file);
  // `source`: where it comes from, for messages.
  static HandLayout parse(nlohmann::ordered_json json, std::string source);
  // Whether the file seems to be a layout, valid or not.
  static bool isLayout(const std::filesystem::path& file);

  const Hand& left() const { return left_; }
  const Hand& right() const { return right_; }
  // Of each glove.
  std::size_t elements() const { return elements_; }
  // As stated in the file; may be empty.
  const std::string& name() const { return name_; }
  // "left" or "right": the hand that the file does not describe; empty if it describes both.
  const std::string& mirrored() const { return mirrored_; }
  const std::string& source() const { return source_; }
  // Whole, as it was read.
  const nlohmann::ordered_json& json() const { return json_; }

  // Adds regions and positions to the gloves of a record. Fails if one has another number of elements. A
  // glove of unknown side is taken for a left one.
  void describe(std::vector<ElementGroup>& groups) const;
  void describe(Layout& layout) const { describe(layout.groups); }

 private:
  HandLayout() = default;

  Hand left_, right_;
  std::size_t elements_ = 0;
  std::string name_;
  std::string mirrored_;
  std::string source_;
  nlohmann::ordered_json json_;
};
