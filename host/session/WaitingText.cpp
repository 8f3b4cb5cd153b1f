#include "host/session/WaitingText.h"

#include <fmt/format.h>

#include <algorithm>

std::string waitingText(const Waiting& waiting, const Layout& layout)
{
  if (!waiting.failure) return "opening the gloves";
  if (!waiting.heard || waiting.failure->code() != ExitCode::noGloves) return waiting.failure->what();
  std::string state;
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    const auto& gloves = waiting.heard->gloves();
    const auto found = std::ranges::find(gloves, group.module, &HeardGlove::name);
    state += fmt::format("{} glove {}, ", group.label,
                         found == gloves.end() ? "not heard" : fmt::format("heard ({} dBm)", found->rssi));
  }
  return state + fmt::format("{} other devices", waiting.heard->others());
}
