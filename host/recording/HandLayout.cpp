#include "host/recording/HandLayout.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/InputFile.h"
#include "host/base/Text.h"
#include "host/recording/HandLayoutContent.h"

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t maxFileSize = 1 << 20;

[[noreturn]] void fail(const std::string& source, std::vector<std::string> errors)
{
  constexpr std::size_t maxShown = 25;
  const std::string advice = "docs/layout.md describes layouts; `tessel layout FILE` checks and draws one.";
  const std::string what = fmt::format("the layout {} can't be used: ", source);
  if (errors.size() == 1) throw Failure(ExitCode::usage, what + errors.front() + '.', advice);
  const std::size_t count = errors.size();
  if (count > maxShown) {
    errors.resize(maxShown);
    errors.push_back(fmt::format("and {} more", count - maxShown));
  }
  throw Failure(ExitCode::usage, what + fmt::format("it has {} errors.", count), advice, std::move(errors));
}

// At most one byte more than a layout may have.
std::string readText(const fs::path& file)
{
  host::InputFile input(file);
  std::string text;
  std::array<std::uint8_t, 4096> buffer;
  while (text.size() <= maxFileSize) {
    const std::size_t count = input.read(buffer);
    if (count == 0) break;
    text.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
  }
  const std::error_code error = input.error();
  if (!error) return text;
  throw Failure(ExitCode::usage,
                error == std::errc::no_such_file_or_directory
                    ? fmt::format("there is no layout {}.", utf8(file))
                    : fmt::format("the layout {} can't be read: {}.", utf8(file), error.message()),
                "Choose a file as docs/layout.md describes it; `tessel layout FILE --write` writes one.");
}

// Also finds keys that an object has twice, of which the parser would keep one silently.
Json parseText(const std::string& text, std::vector<std::string>& errors)
{
  std::vector<std::set<std::string>> keys;  // of each open object
  const auto checkKey = [&](int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) {
      keys.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      keys.pop_back();
    } else if (event == Json::parse_event_t::key) {
      const std::string& key = parsed.get_ref<const std::string&>();
      if (!keys.back().insert(key).second) {
        errors.push_back(fmt::format("an object has the key \"{}\" twice", excerpt(key)));
      }
    }
    return true;
  };
  try {
    return Json::parse(text, checkKey);
  } catch (const Json::exception& error) {
    // "[json.exception.parse_error.101] parse error at line 3, column 5: ..."; its end may quote much.
    constexpr std::size_t maxLength = 200;
    std::string_view what = error.what();
    what.remove_prefix(std::min(what.find("] ") + 2, what.size()));
    constexpr std::string_view beginning = "parse error at ";
    if (what.starts_with(beginning)) what.remove_prefix(beginning.size());
    errors = {fmt::format("it is not JSON: {}", what.substr(0, maxLength))};
    return {};
  }
}

Hand mirrorImage(Hand hand)
{
  for (Position& position : hand.positions) {
    position.x = -position.x;
  }
  return hand;
}

}  // namespace

HandLayout HandLayout::read(const fs::path& file)
{
  const std::string source = utf8(file);
  const std::string text = readText(file);
  if (text.size() > maxFileSize) {
    fail(source, {fmt::format("it is larger than {} KiB, which no layout is", maxFileSize / 1024)});
  }
  std::vector<std::string> errors;
  Json json = parseText(text, errors);
  if (!errors.empty()) fail(source, std::move(errors));
  return parse(std::move(json), source);
}

HandLayout HandLayout::parse(Json json, std::string source)
{
  std::vector<std::string> errors;
  HandLayoutContent content = readHandLayout(json, errors);
  if (!errors.empty()) fail(source, std::move(errors));
  HandLayout layout;
  if (!content.left) layout.mirrored_ = "left";
  if (!content.right) layout.mirrored_ = "right";
  layout.left_ = content.left ? *content.left : mirrorImage(*content.right);
  layout.right_ = content.right ? *content.right : mirrorImage(*content.left);
  layout.elements_ = content.elements;
  layout.name_ = std::move(content.name);
  layout.source_ = std::move(source);
  layout.json_ = std::move(json);
  return layout;
}

bool HandLayout::isLayout(const fs::path& file)
{
  return readText(file).find(layoutFormat) != std::string::npos;
}

void HandLayout::describe(std::vector<ElementGroup>& groups) const
{
  for (ElementGroup& group : groups) {
    if (!group.isGlove()) continue;
    const bool isRight = group.label == "right";
    if (group.count != elements_) {
      throw Failure(ExitCode::usage,
                    fmt::format("the layout {} describes {} elements of a {} glove, but the gloves have {}.",
                                source_, elements_, isRight ? "right" : "left", group.count),
                    fmt::format("Use a layout of {} elements, or correct TesselElementCount in the settings, "
                                "which counts those of all gloves together.",
                                group.count));
    }
    group.hand = isRight ? right_ : left_;
  }
}
