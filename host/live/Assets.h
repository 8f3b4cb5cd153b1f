// The files of the page, which the build embeds. Threads: any.
#pragma once

#include <span>
#include <string_view>

struct Asset {
  std::string_view path;  // of the request: "/", "/view.css"
  std::string_view type;  // media type
  std::string_view content;
};

std::span<const Asset> assets();
