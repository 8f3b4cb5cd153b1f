// What the live view is sent by anybody: requests, each a head and a body, and lines of markers. Answers are
// well formed and have none of the request in their head; without a token nothing changes; markers are one
// printable line each, whichever pieces they come in.

#include <nlohmann/json.hpp>

#include "fuzz/Fuzz.h"
#include "host/base/Characters.h"
#include "host/live/Requests.h"
#include "tests/live/StubSource.h"

using fuzz::require;

namespace {

constexpr Requests::Time start = std::chrono::seconds(100);

bool isMarker(const std::string& text)
{
  return !text.empty() && text.size() <= maxMarkerBytes + 30 && printable(text) == text;
}

// METHOD TARGET, a header a line, an empty line, and the body.
void answer(std::string_view accessToken, std::string_view text)
{
  fuzz::Input lines(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  Request request;
  const std::string_view first = lines.part("\n");
  request.method = first.substr(0, first.find(' '));
  request.target = first.substr(std::min(first.size(), request.method.size() + 1));
  while (!lines.atEnd()) {
    const std::string_view line = lines.part("\n");
    if (line.empty()) break;
    const std::size_t colon = std::min(line.find(": "), line.size());
    request.headers.push_back({line.substr(0, colon), line.substr(std::min(line.size(), colon + 2))});
  }
  request.body = lines.rest();

  StubSource source;
  LiveTexts texts{source, "page"};
  MarkerQueue markers;
  Requests requests({{"", 8484, false}, {"page", std::string(accessToken)}}, texts, &markers, {2, 3});
  const Reply reply = requests.answer(request, start, 0);
  require(reply.head.starts_with("HTTP/1.1 ") && reply.head.ends_with("\r\n\r\n"), "an answer has a head");
  require(
      std::ranges::all_of(
          reply.head, [](char byte) { return (byte >= ' ' && byte < 0x7F) || byte == '\r' || byte == '\n'; }),
      "a head is text");
  const bool isDone = reply.head.starts_with("HTTP/1.1 200");
  for (const Marker& marker : markers.take(10)) {
    require(isDone && isMarker(marker.text), "a marker is a printable line");
    require(request.header("X-Tessel-Token") == "page" && request.method == "POST", "changes need the token");
  }
  if (!accessToken.empty() && isDone) {
    require(text.find(accessToken) != std::string_view::npos, "others need the access token");
  }
  if (request.method == "HEAD") require(reply.content.empty() && !reply.isStream, "a head is all");
  if (!isDone && !reply.content.empty() && reply.content.front() == '{') {
    require(nlohmann::json::parse(reply.content).contains("error"), "an error is in words");
  }
}

std::vector<std::string> markersOf(std::string_view bytes, std::size_t piece)
{
  MarkerQueue queue;
  MarkerLines lines(markersInto(queue));
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    lines.add(start, bytes.substr(at, piece));
  }
  lines.finish(start);
  std::vector<std::string> texts;
  for (Marker& marker : queue.take(10'000)) {
    require(isMarker(marker.text), "a marker is a printable line");
    texts.push_back(std::move(marker.text));
  }
  return texts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  fuzz::Input input(data, size);
  const std::size_t kind = input.below(4);
  if (kind < 2) {
    answer(kind == 0 ? "" : "0123456789abcdef", input.rest());
  } else {
    const std::size_t piece = 1 + input.below(64);
    const std::string_view bytes = input.rest();
    require(markersOf(bytes, piece) == markersOf(bytes, bytes.size() + 1), "pieces make no difference");
  }
  return 0;
}
