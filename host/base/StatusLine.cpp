#include "host/base/StatusLine.h"

#include <algorithm>
#include <cstdio>

#include "host/base/Console.h"
#include "host/base/System.h"

namespace {

constexpr unsigned anyWidth = ~0U;

}  // namespace

StatusLine::StatusLine(std::chrono::seconds interval)
    : interval_(interval), isTerminal_(host::isTerminal(stderr)), next_(host::uptime())
{
}

void StatusLine::end()
{
  if (hasLine_) console::report("\n");
  hasLine_ = false;
}

bool StatusLine::isDue() const
{
  return host::takesText(stderr) && (isTerminal_ || host::uptime() >= next_);
}

unsigned StatusLine::width() const
{
  return isTerminal_ ? host::terminalWidth(stderr) - 1 : anyWidth;
}

void StatusLine::show(std::string text)
{
  if (!isTerminal_) {
    next_ = host::uptime() + interval_;
    console::report("{}\n", text);
    return;
  }
  // Overwrites the previous text. What a user types then appears behind the new one.
  std::string blanked = text;
  blanked.resize(width(), ' ');
  text.resize(std::min<std::size_t>(text.size(), width()));
  console::report("\r{}\r{}", blanked, text);
  std::fflush(stderr);
  hasLine_ = true;
}

void StatusLine::clear()
{
  if (!hasLine_) return;
  console::report("\r{}\r", std::string(width(), ' '));
  hasLine_ = false;
}

void StatusLine::say(const std::string& line, bool rings)
{
  if (!host::takesText(stderr)) return;
  clear();
  if (rings && isTerminal_) console::report("\a");
  console::report("{}\n", line);
}
