// A board of two gloves in virtual time, and what a session reports to it.
#pragma once

#include <atomic>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/live/LiveBoard.h"

class BoardFixture {
 public:
  using Time = std::chrono::nanoseconds;
  using Json = nlohmann::json;

  static constexpr Time start = std::chrono::hours(1000);

 private:
  std::atomic<Time> now_{start};  // the server's thread reads it

 public:
  explicit BoardFixture(const std::string& leftModule = "KVXGL00017") : leftModule_(leftModule) {}

  void open()
  {
    RecordingMetadata metadata;
    metadata.layout = {
        .elements = 7,
        .groups = {
            {"left", leftModule_, 0, 4, {.regions = {{"thumb", {3, 0}}, {"palm", {1, 2}}}, .positions = {}}},
            {"right", "KVXGR00018", 4, 2},
            {"aux", "", 6, 1}}};
    board.opened(metadata);
    if (figures.accounts) captured(now());
  }

  // A record whose elements all have this value.
  void arrive(std::uint16_t value) { board.arrived(now(), std::vector<std::uint16_t>(7, value)); }
  void add(std::int64_t left, std::int64_t right)
  {
    const double ms = std::chrono::duration<double, std::milli>(now() - start).count();
    const std::vector<GloveFrame> frames{{left, left * 200, ms - 5}, {right, right * 200, ms - 7}};
    board.add({.timeMs = ms - 5, .arrivalMs = ms, .frames = frames, .elements = {}});
  }
  // The capture has bytes of both gloves until this time.
  void captured(Time time)
  {
    figures.accounts.emplace();
    figures.accounts->time = time;
    figures.accounts->books.isFinal = false;
    figures.accounts->books.gloves.resize(2);
    for (GloveSigns& signs : figures.accounts->signs)
      signs.beginConnection(time);
  }

  Json state() { return Json::parse(board.state()); }
  Json glove(std::size_t index) { return state()["gloves"].at(index); }
  std::string warnings()
  {
    std::string ids;
    const Json all = state()["warnings"];
    for (const Json& warning : all)
      ids += warning["id"].get<std::string>() + ' ';
    return ids;
  }

  Time now() const { return now_; }
  void pass(Time time) { now_ = now_.load() + time; }

  LiveBoard board{{.command = "record", .file = {}, .limits = {}, .reconnectSeconds = 60},
                  [this] { return now(); }};
  RecordingFigures figures;

 private:
  const std::string leftModule_;
};
