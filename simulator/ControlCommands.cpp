// Parsing and execution of each control command.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <stdexcept>
#include <utility>

#include "simulator/Control.h"
#include "simulator/Wire.h"

namespace simulator {

namespace {

const char* onOff(bool isOn)
{
  return isOn ? "on" : "off";
}

}  // namespace

Control::Action Control::drop(WordReader& words)
{
  Selection selection = gloves(words);
  const auto reason = words.atEnd() ? result::connectionTimeout
                                    : static_cast<std::uint16_t>(words.integer("REASON", 0, 0xFFFF));
  return forEach(std::move(selection), [this, reason](NamedGlove& each) -> std::string {
    if (!each.glove.isConnected()) return "is not connected";
    dongle_.drop(each.glove, reason);
    return toText("connection ended, reason 0x", std::hex, std::setfill('0'), std::setw(4), reason);
  });
}

Control::Action Control::silent(WordReader& words)
{
  return forEach(gloves(words), [](NamedGlove& each) {
    each.glove.fallSilent();
    return "silent";
  });
}

Control::Action Control::leave(WordReader& words)
{
  return forEach(gloves(words), [](NamedGlove& each) {
    each.glove.leaveRange();
    return "out of range";
  });
}

Control::Action Control::back(WordReader& words)
{
  return forEach(gloves(words), [](NamedGlove& each) {
    each.glove.comeBack();
    return "in range, answers";
  });
}

Control::Action Control::restart(WordReader& words)
{
  return forEach(gloves(words), [this](NamedGlove& each) {
    dongle_.drop(each.glove, result::connectionTimeout);
    each.glove.restart();
    return "restarted";
  });
}

Control::Action Control::hide(WordReader& words)
{
  return forEach(gloves(words), [](NamedGlove& each) {
    each.glove.faults.hidden = true;
    return "does not advertise";
  });
}

Control::Action Control::show(WordReader& words)
{
  return forEach(gloves(words), [](NamedGlove& each) {
    each.glove.faults.hidden = false;
    return "advertises while it is not connected";
  });
}

Control::Action Control::rename(WordReader& words)
{
  Selection selection = gloves(words);
  return forEach(std::move(selection), [name = std::string(words.text("TEXT"))](NamedGlove& each) {
    each.glove.config.name = name;
    return toText("advertises as ", name);
  });
}

Control::Action Control::refuse(WordReader& words)
{
  Selection selection = gloves(words);
  return forEach(std::move(selection), [isOn = words.onOrOff()](NamedGlove& each) {
    if (isOn) {
      each.glove.faults.silentAt.insert(Step::connection);
    } else {
      each.glove.faults.silentAt.erase(Step::connection);
    }
    return isOn ? "refuses connections" : "accepts connections";
  });
}

Control::Action Control::rssi(WordReader& words)
{
  Selection selection = glovesOrAll(words);
  const auto dBm = static_cast<std::int8_t>(std::lround(words.number("DBM", -127, 20)));
  return forEach(std::move(selection), [dBm](NamedGlove& each) {
    each.glove.config.rssi = dBm;
    return toText(int{dBm}, " dBm");
  });
}

Control::Action Control::battery(WordReader& words)
{
  Selection selection = glovesOrAll(words);
  const std::uint32_t code = words.integer("CODE", 0, 31);
  return forEach(std::move(selection), [code](NamedGlove& each) {
    each.glove.config.batteryCode = static_cast<std::uint8_t>(code);
    return toText("battery ", code);
  });
}

Control::Action Control::rate(WordReader& words)
{
  Selection selection = glovesOrAll(words);
  const double hertz = words.number("HZ", 0.1, 1000);
  return forEach(std::move(selection), [hertz](NamedGlove& each) {
    each.glove.config.framesPerSecond = hertz;
    return toText(hertz, " frames/s");
  });
}

Control::Action Control::drift(WordReader& words)
{
  Selection selection = glovesOrAll(words);
  const double partsPerMillion = words.number("PPM", -1000, 1000);
  return forEach(std::move(selection), [partsPerMillion](NamedGlove& each) {
    each.glove.config.clockError = partsPerMillion * 1e-6;
    return toText("drift ", partsPerMillion, " ppm");
  });
}

Control::Action Control::packets(WordReader& words)
{
  Selection selection = glovesOrAll(words);
  const std::uint32_t count = words.integer("N", 2, 15);
  return forEach(std::move(selection), [count](NamedGlove& each) {
    each.glove.config.packetsPerFrame = static_cast<std::uint8_t>(count);
    return toText(count, " packets per frame, ", each.glove.config.elements(), " samples");
  });
}

Control::Action Control::loss(WordReader& words)
{
  return chance(words, &RandomFaults::lossPercent);
}

Control::Action Control::doubled(WordReader& words)
{
  return chance(words, &RandomFaults::doublePercent);
}

Control::Action Control::swap(WordReader& words)
{
  return chance(words, &RandomFaults::swapPercent);
}

Control::Action Control::chance(WordReader& words, double RandomFaults::*percent)
{
  Selection selection = glovesOrAll(words);
  const double value = words.number("PERCENT", 0, 100);
  return forEach(std::move(selection), [percent, value](NamedGlove& each) {
    RandomFaults& faults = *each.faults;
    faults.*percent = value;
    each.glove.faults.packetFault = [shared = each.faults](std::uint64_t packet) {
      return (*shared)(packet);
    };
    return toText("loses ", faults.lossPercent, " %, doubles ", faults.doublePercent, " %, swaps ",
                  faults.swapPercent, " % of its packets");
  });
}

Control::Action Control::sensor(WordReader& words)
{
  static constexpr std::array<std::string_view, 6> positions{"palm",   "thumb", "index",
                                                             "middle", "ring",  "pinky"};
  Selection selection = gloves(words);
  const std::size_t position = words.choice("POSITION", positions);
  const std::uint32_t code = words.integer("CODE", 0, 255);
  return forEach(std::move(selection), [position, code](NamedGlove& each) {
    each.glove.config.sensorStatus[position] = static_cast<std::uint8_t>(code);
    return toText(positions[position], ' ', code, " on the next connection");
  });
}

Control::Action Control::unplug(WordReader&)
{
  return [this] {
    dongle_.unplug();
    return "dongle: unplugged";
  };
}

Control::Action Control::plug(WordReader&)
{
  return [this]() -> std::string {
    if (!dongle_.isUnplugged()) return "dongle: is plugged in already";
    dongle_.plugIn();
    const std::chrono::duration<double> wait = dongle_.restartTime;
    return toText("dongle: plugged in, ready in ", wait.count(), " s");
  };
}

Control::Action Control::busy(WordReader& words)
{
  return [this, isOn = words.onOrOff()] {
    if (holdPort) holdPort(isOn);
    return toText("port: busy ", onOff(isOn));
  };
}

Control::Action Control::restartTime(WordReader& words)
{
  return [this, value = words.number("SECONDS", 0, 3600)] {
    dongle_.restartTime = std::chrono::round<Duration>(std::chrono::duration<double>(value));
    return toText("dongle: restarts in ", value, " s");
  };
}

Control::Action Control::stayAway(WordReader& words)
{
  return [this, isOn = words.onOrOff()] {
    dongle_.faults.staysAway = isOn;
    return toText("dongle: stay-away ", onOff(isOn));
  };
}

Control::Action Control::mute(WordReader& words)
{
  return [this, isOn = words.onOrOff()] {
    dongle_.faults.mute = isOn;
    return toText("dongle: mute ", onOff(isOn));
  };
}

Control::Action Control::noise(WordReader& words)
{
  return [this, count = words.integer("BYTES", 1, 100'000)] {
    std::vector<std::uint8_t> bytes(count);
    std::ranges::generate(bytes, [this] { return static_cast<std::uint8_t>(random_()); });
    dongle_.inject(bytes);
    return toText("dongle: ", count, " random bytes", dongle_.isPresent() ? "" : " discarded, it is away");
  };
}

Control::Action Control::firmware(WordReader& words)
{
  std::string text(words.word("A.B.C.D"));
  std::array<std::uint16_t, 4> parts{};
  for (std::uint16_t& part : parts) {
    const std::size_t dot = &part == &parts.back() ? text.size() : text.find('.');
    if (dot == std::string::npos) throw std::invalid_argument("A.B.C.D are four numbers, such as 1.4.2.130");
    const std::string number = text.substr(0, dot);
    WordReader digits(number);
    part = static_cast<std::uint16_t>(digits.integer("each of A.B.C.D", 0, 0xFFFF));
    text.erase(0, dot + 1);
  }
  return [this, parts] {
    dongle_.firmware = {parts[0], parts[1], parts[2], parts[3]};
    return toText("dongle: firmware ", parts[0], '.', parts[1], '.', parts[2], '.', parts[3]);
  };
}

Control::Action Control::neighbours(WordReader& words)
{
  const std::uint32_t count = words.integer("N", 0, Neighbours::maxCount);
  const double perSecond =
      words.atEnd() ? Neighbours::usualPerSecond
                    : words.number("PER-SECOND", Neighbours::minPerSecond, Neighbours::maxPerSecond);
  return [this, count, perSecond] {
    dongle_.neighbours.replace(count, perSecond, seed_);
    return toText("dongle: ", neighbourStatus());
  };
}

Control::Action Control::status(WordReader&)
{
  return [this] {
    std::string text = dongleStatus();
    for (const NamedGlove& each : gloves_) {
      text += toText('\n', each.name, ": ", gloveStatus(each.glove));
    }
    return text;
  };
}

Control::Action Control::showHelp(WordReader&)
{
  return help;
}

Control::Action Control::end(WordReader&)
{
  return [this] {
    if (quit) quit();
    return "the simulation ends";
  };
}

}  // namespace simulator
