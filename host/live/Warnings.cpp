#include "host/live/Warnings.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/base/Text.h"
#include "host/capture/GloveSigns.h"
#include "host/session/BooksText.h"

namespace {

using namespace std::chrono_literals;
using Time = Situation::Time;
using Warnings = std::vector<Warning>;

constexpr double noticedLoss = 0.05;
constexpr double alarmingLoss = 0.20;
constexpr double noticedDiskSeconds = 3600;
constexpr double alarmingDiskSeconds = 600;
constexpr std::uint64_t minFreeBytes = 200'000'000;
constexpr auto maxDiskSilence = 5s;
constexpr auto stallMemory = 30s;
// A read of the plug-in takes two seconds at most.
constexpr double maxUnread = 3;

double secondsBetween(Time begin, Time end)
{
  return std::chrono::duration<double>(end - begin).count();
}

void addGlove(Warnings& warnings, const Situation& situation, std::size_t index, Time now)
{
  const GloveSituation& glove = situation.gloves[index];
  const GloveView view = viewOf(situation, index, now);
  if (view.state == GloveState::silent) {
    warnings.push_back({"silent-" + glove.label, true,
                        fmt::format("The {} glove is silent: nothing {} for {:.1f} s.", glove.label,
                                    situation.captured ? "heard" : "received", *view.silentSeconds)});
  }
  if (view.state == GloveState::lost) {
    warnings.push_back(
        {"lost-" + glove.label, true,
         fmt::format(
             "The connection to the {} glove is lost. Check that it is switched on, charged and in range.",
             glove.label)});
  }
  if (glove.faultySensors > 0) {
    warnings.push_back({"sensor-" + glove.label, true,
                        fmt::format("The {} glove reports {} faulty sensor{}.", glove.label,
                                    glove.faultySensors, glove.faultySensors == 1 ? "" : "s")});
  }
  if (glove.battery && *glove.battery < lowBattery) {
    const std::string level =
        *glove.battery > 0 ? fmt::format("at {:.0f} %", 100 * *glove.battery) : std::string("empty");
    warnings.push_back({"battery-" + glove.label, false,
                        fmt::format("The battery of the {} glove is {}: charge it.", glove.label, level)});
  }
  if (const double share = view.lostShare.value_or(0); share > noticedLoss) {
    warnings.push_back({"loss-" + glove.label, share > alarmingLoss,
                        fmt::format("{:.0f} % of the frames of the {} glove were lost in the last 10 s.",
                                    100 * share, glove.label)});
  }
}

void addAway(Warnings& warnings, const Situation& situation, Time now)
{
  const double left = situation.givenUp ? secondsBetween(now, *situation.givenUp) : 0;
  warnings.push_back(
      {"away", true,
       fmt::format("No records for {:.0f} s: the gloves are being opened again, {}.",
                   secondsBetween(situation.lost, now),
                   left > 0 ? fmt::format("for another {:.0f} s", left) : "for the last time")});
}

void addOpening(Warnings& warnings, const Situation::Problem& problem)
{
  const std::string glove = gloveWithFaultySensors(problem.text);
  if (glove.empty()) {
    warnings.push_back({"opening", problem.isSerious, problem.text});
    return;
  }
  const std::string id = "sensor-" + glove;
  std::erase_if(warnings, [&](const Warning& each) { return each.id == id; });
  warnings.push_back({id, true, problem.text});
}

void addDisk(Warnings& warnings, const DiskFigures& disk, Time now)
{
  const double seconds = disk.secondsLeft().value_or(2 * noticedDiskSeconds);
  if (disk.freeBytes && *disk.freeBytes < minFreeBytes) {
    warnings.push_back({"disk", true,
                        fmt::format("The disk of the recording has only {:.0f} MB left.",
                                    static_cast<double>(*disk.freeBytes) / 1e6)});
  } else if (seconds < noticedDiskSeconds) {
    warnings.push_back({"disk", seconds < alarmingDiskSeconds,
                        fmt::format("The disk of the recording will be full in {}.", durationText(seconds))});
  } else if (now - disk.answered > maxDiskSilence) {
    warnings.push_back({"disk", false,
                        fmt::format("The disk of the recording has not answered for {:.0f} s.",
                                    secondsBetween(disk.answered, now))});
  }
}

void addStall(Warnings& warnings, const Situation& situation, Time now)
{
  const double unread = secondsBetween(situation.read, now);
  if (situation.phase == Situation::Phase::reading && unread > maxUnread) {
    warnings.push_back(
        {"stall", true,
         fmt::format("The gloves have not been read for {:.1f} s: this computer pauses, or the "
                     "output is blocked.",
                     unread)});
  } else if (situation.stalled && now - *situation.stalled <= stallMemory) {
    warnings.push_back(
        {"stall", false,
         fmt::format("tessel was stalled for {:.1f} s: this computer paused, or the output was "
                     "blocked.",
                     situation.latestStall)});
  }
}

void addBooks(Warnings& warnings, const Situation& situation)
{
  if (!situation.books) return;
  const BooksView books = booksOf(situation);
  if (!books.text.empty()) warnings.push_back({"books", books.isBalanced == false, books.text});
}

}  // namespace

std::vector<Warning> warningsOf(const Situation& situation, const std::optional<DiskFigures>& disk, Time now)
{
  Warnings warnings;
  if (situation.ending) {
    const ExitCode code = situation.ending->code;
    if (code != ExitCode::done)
      warnings.push_back({"ended", code != ExitCode::interrupted, situation.ending->text});
  } else if (!situation.isClosing) {
    for (std::size_t glove = 0; glove < situation.gloves.size(); ++glove)
      addGlove(warnings, situation, glove, now);
    if (situation.isAway) addAway(warnings, situation, now);
    if (situation.opening) addOpening(warnings, *situation.opening);
    addStall(warnings, situation, now);
    if (disk) addDisk(warnings, *disk, now);
  }
  if (situation.notStored && !situation.ending) {
    warnings.push_back({"stored", true,
                        fmt::format("NOT STORED: {} The recording goes on, but will not be complete.",
                                    *situation.notStored)});
  }
  addBooks(warnings, situation);
  std::ranges::stable_sort(warnings, std::greater<>(), &Warning::isAlarm);
  return warnings;
}

BooksView booksOf(const Situation& situation)
{
  if (!situation.books) return {};
  const Books& books = *situation.books;
  if (const std::string text = contradictionsText(books, situation.labels()); !text.empty())
    return {false, fmt::format("The books do not balance: {}.", text)};
  return {books.balanced(), incompleteText(books)};
}

std::string gloveWithFaultySensors(const std::string& message)
{
  if (!message.starts_with("Faulty sensor(s)")) return "";
  if (message.find(" on Left Glove") != std::string::npos) return "left";
  return message.find(" on Right Glove") != std::string::npos ? "right" : "glove";
}
