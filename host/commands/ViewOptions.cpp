#include "host/commands/ViewOptions.h"

#include <optional>
#include <utility>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/commands/CommandLine.h"

void addViewOptions(CLI::App& command, ViewOptions& options, bool isChosen)
{
  using namespace command_line;
  std::optional<Option> view;
  if (isChosen)
    view = addFlag(command, "--view", options.isShown, "Show it on a live page; see docs/view.md");
  std::vector<Option> own;
  own.push_back(addFlag(command, "--open", options.opensBrowser, "Open the live page in the browser"));
  own.push_back(addWholeNumber(
      command, "--port", "N", {.lowest = 0, .highest = 65535},
      [&options](std::uint64_t port) { options.server.port = static_cast<std::uint16_t>(port); },
      "Port of the live page (8484, or the next one that is free); 0: any"));
  own.push_back(addText(
      command, "--listen", "ADDRESS",
      [&options](const std::string& address) { options.server.address = address; },
      "Show the live page to other computers, too: to those that reach this address of this computer, and "
      "know the token that is printed"));
  for (const Option& option : own) {
    if (view) option.needs(*view);
  }
}

LiveView::LiveView(const ViewOptions& options, LiveFacts facts, MarkerQueue& markers)
{
  if (!options.isShown) return;
  board_.emplace(std::move(facts));
  server_.emplace(options.server, *board_, &markers);
  console::report("Live page: {}\n", server_->address());
  if (options.opensBrowser && !host::openInBrowser(server_->address())) {
    console::report("No browser could be started; open the address yourself.\n");
  }
}
