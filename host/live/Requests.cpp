#include "host/live/Requests.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "host/live/Assets.h"

namespace {

constexpr std::string_view jsonType = "application/json";
constexpr std::string_view pageType = "text/html; charset=utf-8";
constexpr std::string_view plainType = "text/plain; charset=utf-8";

// Of every answer. A page of ours loads and fetches only what is served here, no other page may frame or
// read it, and nothing is kept.
constexpr std::string_view commonHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "X-Frame-Options: DENY\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

struct Status {
  unsigned code;
  std::string_view name;
};
constexpr std::array statuses{
    Status{200, "OK"},
    Status{303, "See Other"},
    Status{400, "Bad Request"},
    Status{401, "Unauthorized"},
    Status{403, "Forbidden"},
    Status{404, "Not Found"},
    Status{405, "Method Not Allowed"},
    Status{409, "Conflict"},
    Status{413, "Content Too Large"},
    Status{414, "URI Too Long"},
    Status{415, "Unsupported Media Type"},
    Status{429, "Too Many Requests"},
    Status{431, "Request Header Fields Too Large"},
    Status{503, "Service Unavailable"},
    Status{505, "HTTP Version Not Supported"},
};

std::string head(unsigned code, bool isKeptAlive, std::string_view headers)
{
  const auto status =
      std::find_if(statuses.begin(), statuses.end(), [code](const Status& row) { return row.code == code; });
  return fmt::format("HTTP/1.1 {} {}\r\n{}{}{}\r\n", code, status->name, commonHeaders, headers,
                     isKeptAlive ? "" : "Connection: close\r\n");
}

Reply reply(const Request& request, unsigned code, std::string_view type, std::string_view content,
            LiveTexts::Text keeper, std::string_view headers = "")
{
  Reply made;
  made.head =
      head(code, request.isKeptAlive,
           fmt::format("Content-Type: {}\r\nContent-Length: {}\r\n{}", type, content.size(), headers));
  if (request.method != "HEAD") made.content = content;
  made.keeper = std::move(keeper);
  made.isKeptAlive = request.isKeptAlive;
  return made;
}

Reply shared(const Request& request, LiveTexts::Text text)
{
  const std::string_view content = *text;
  return reply(request, 200, jsonType, content, std::move(text));
}

Reply made(const Request& request, unsigned code, std::string_view type, std::string content,
           std::string_view headers = "")
{
  const auto keeper = std::make_shared<const std::string>(std::move(content));
  return reply(request, code, type, *keeper, keeper, headers);
}

// The words contain nothing of the request, so nothing in them needs escaping.
Reply error(const Request& request, unsigned code, std::string_view words, std::string_view headers = "")
{
  return made(request, code, jsonType, fmt::format(R"({{"error":"{}"}})", words), headers);
}

Reply lastError(unsigned code, std::string_view words, std::string_view headers = "")
{
  Request request;
  request.isKeptAlive = false;
  return error(request, code, words, headers);
}

// What a person sees who opens an incomplete address.
Reply noToken(const Request& request)
{
  return made(request, 401, plainType,
              "This page is shown only to those who have its complete address.\n\n"
              "Open the address that tessel printed when it began to serve; it ends in \"?token=\" and 32 "
              "characters,\nand is different each time.\n",
              "WWW-Authenticate: Bearer\r\n");
}

// Takes the token out of the address. The browser does not send the cookie with what follows from a link on
// another page, but with what our own page leads to.
Reply withoutToken(const Request& request, const std::string& cookie)
{
  const std::string headers = fmt::format("Set-Cookie: {}\r\n", cookie);
  const auto site = request.header("Sec-Fetch-Site").value_or("none");
  if (site == "none" || site == "same-origin") {
    return made(request, 303, plainType, "The page is at /.\n", headers + "Location: /\r\n");
  }
  return made(request, 200, pageType,
              "<!DOCTYPE html>\n<html lang=\"en\">\n<title>tessel</title>\n"
              "<meta http-equiv=\"refresh\" content=\"0; url=/\">\n<p><a href=\"/\">Open the page.</a></p>\n",
              headers);
}

bool isJson(const Request& request)
{
  const std::string_view type = request.header("Content-Type").value_or("");
  const std::string_view essence = type.substr(0, type.find_first_of("; "));
  return equalIgnoringCase(essence, jsonType);
}

// The marker's text; nothing if the request has none, or not in one line.
std::optional<std::string> markerText(std::string_view body)
{
  const auto json = nlohmann::json::parse(body, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  std::string text;
  for (const auto& [name, value] : json.items()) {
    if (name != "text" || !value.is_string()) return std::nullopt;
    text = value.get<std::string>();
  }
  if (text.size() > maxMarkerBytes || text.find_first_of("\r\n") != std::string::npos) return std::nullopt;
  return text;
}

}  // namespace

const std::array<Requests::Route, 4> Requests::routes{{
    {"/api/state", "GET, HEAD", &Requests::state},
    {"/api/history", "GET, HEAD", &Requests::history},
    {"/api/stream", "GET, HEAD", &Requests::stream},
    {"/api/marker", "POST", &Requests::mark},
}};

Requests::Requests(Access access, LiveTexts& texts, MarkerQueue* markers, const Limits& limits)
    : access_(std::move(access)),
      texts_(texts),
      markers_(markers),
      limits_(limits),
      markerRate_(limits.markersPerSecond)
{
}

Reply Requests::answer(const Request& request, Time now, std::size_t viewers)
{
  switch (access_.verdict(request)) {
    case Access::Verdict::ambiguous:
      return error(request, 400, "A request needs exactly one Host header, and at most one of each other.");
    case Access::Verdict::foreignHost:
      return error(request, 403,
                   "The server is not known by this name. Use the address that tessel printed.");
    case Access::Verdict::foreignOrigin:
      return error(request, 403,
                   "Requests from other pages are refused. Use the address that tessel printed.");
    case Access::Verdict::noToken:
      return noToken(request);
    case Access::Verdict::noPageToken:
      return error(request, 403,
                   "Changes need the header X-Tessel-Token with the token that /api/state has. Load the page "
                   "again.");
    case Access::Verdict::allowed:
      break;
  }
  return answerAllowed(request, now, viewers);
}

Reply Requests::answerAllowed(const Request& request, Time now, std::size_t viewers)
{
  const std::string_view path = request.path();
  const auto isAllowed = [&request](std::string_view methods) {
    return methods == "POST" ? request.method == "POST" : request.method == "GET" || request.method == "HEAD";
  };
  const auto wrongMethod = [&request](std::string_view methods) {
    return error(request, 405, fmt::format("Use the method {}.", methods),
                 fmt::format("Allow: {}\r\n", methods));
  };
  const auto route =
      std::find_if(routes.begin(), routes.end(), [path](const Route& row) { return row.path == path; });
  if (route != routes.end()) {
    if (!isAllowed(route->methods)) return wrongMethod(route->methods);
    return (this->*route->answer)(request, now, viewers);
  }
  const auto files = assets();
  const auto file =
      std::find_if(files.begin(), files.end(), [path](const Asset& asset) { return asset.path == path; });
  if (file == files.end()) return error(request, 404, "There is nothing at this address. The page is at /.");
  if (!isAllowed("GET, HEAD")) return wrongMethod("GET, HEAD");
  if (path == "/" && access_.hasTokenInTarget(request)) return withoutToken(request, access_.cookie());
  return reply(request, 200, file->type, file->content, nullptr);
}

Reply Requests::state(const Request& request, Time now, std::size_t viewers)
{
  return shared(request, texts_.everything(now, viewers));
}

Reply Requests::history(const Request& request, Time now, std::size_t)
{
  return shared(request, texts_.history(now));
}

Reply Requests::stream(const Request& request, Time, std::size_t viewers)
{
  if (viewers >= limits_.maxViewers) {
    return error(request, 503, "There are too many viewers. Close the page elsewhere and try again.",
                 "Retry-After: 5\r\n");
  }
  Reply stream;
  // Its end is the end of the connection, so that an event is one piece, without the sizes of a transfer in
  // chunks.
  stream.head = head(200, false, "Content-Type: text/event-stream\r\n");
  stream.isStream = request.method != "HEAD";
  return stream;
}

Reply Requests::mark(const Request& request, Time now, std::size_t)
{
  if (!isJson(request)) {
    return error(request, 415, "The marker must be JSON. Send it with Content-Type: application/json.");
  }
  const auto text = markerText(request.body);
  if (!text) {
    return error(
        request, 400,
        fmt::format("The marker can't be read. Send one object in JSON and UTF-8 that has nothing but "
                    "its text, in one line of at most {} bytes.",
                    maxMarkerBytes));
  }
  if (markers_ == nullptr) return error(request, 409, "Markers are not taken here.");
  if (!markerRate_.take(now)) {
    return error(request, 429,
                 fmt::format("There are more than {} markers a second. Try again.", limits_.markersPerSecond),
                 "Retry-After: 1\r\n");
  }
  const std::string name = markers_->add(now, *text);
  if (name.empty()) {
    return error(request, 503, "Too many markers are waiting to be recorded. Try again.",
                 "Retry-After: 1\r\n");
  }
  return made(request, 200, jsonType, nlohmann::json{{"text", name}}.dump());
}

Reply refusal(Malformed reason)
{
  switch (reason) {
    case Malformed::request:
      break;
    case Malformed::version:
      return lastError(505, "Only HTTP/1.1 is known.");
    case Malformed::target:
      return lastError(414, "The address is too long. The page is at /.");
    case Malformed::headers:
      return lastError(431,
                       "The headers are too long. Send at most 8 KiB; a browser's cookies may be deleted.");
    case Malformed::body:
      return lastError(413, "The content is too long. Send at most 4 KiB.");
    case Malformed::tooMany:
      return lastError(429, "There are too many requests. Send fewer in a second.", "Retry-After: 1\r\n");
  }
  return lastError(400, "This is no request of HTTP/1.1.");
}
