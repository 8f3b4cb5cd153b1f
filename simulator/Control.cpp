#include "simulator/Control.h"

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace simulator {

const std::vector<Control::Row>& Control::rows()
{
  static const std::vector<Row> all{
      {"drop", "GLOVE [REASON]", "its connection ends, by BGAPI reason 0x0208 or another", &Control::drop},
      {"silent", "GLOVE", "stops sampling and answering; its connection stays", &Control::silent},
      {"leave", "GLOVE", "goes out of range; its connection times out", &Control::leave},
      {"back", "GLOVE", "ends `silent` and `leave`", &Control::back},
      {"restart", "GLOVE", "its power goes off and on: its connection ends, its counters begin again",
       &Control::restart},
      {"hide", "GLOVE", "no longer advertises, can't be connected to", &Control::hide},
      {"show", "GLOVE", "ends `hide`", &Control::show},
      {"refuse", "GLOVE on|off", "advertises, but doesn't answer requests to connect", &Control::refuse},
      {"name", "GLOVE TEXT", "advertises this name; a host looks at the first 32 bytes", &Control::rename},
      {"rssi", "[GLOVE] DBM", "signal strength at the dongle, -127 to 20; nothing is lost when it is weak",
       &Control::rssi},
      {"battery", "[GLOVE] CODE", "0 to 31; 19 is full, each less an eighth less, 11 and below empty",
       &Control::battery},
      {"rate", "[GLOVE] HZ", "frames sampled per second", &Control::rate},
      {"drift", "[GLOVE] PPM", "its crystal, of clock and frame rate, runs fast by this", &Control::drift},
      {"packets", "[GLOVE] N", "packets per frame, 2 to 15; 14 hold 125 samples", &Control::packets},
      {"loss", "[GLOVE] PERCENT", "of the packets are lost, by chance", &Control::loss},
      {"double", "[GLOVE] PERCENT", "of the packets come twice", &Control::doubled},
      {"swap", "[GLOVE] PERCENT", "of the packets come after the next one", &Control::swap},
      {"sensor", "GLOVE POSITION CODE", "status of a sensor, 0 is OK; read when a host connects",
       &Control::sensor},
      {"unplug", "", "the dongle is unplugged", &Control::unplug},
      {"plug", "", "the dongle is plugged in again", &Control::plug},
      {"busy", "on|off", "another program holds the port", &Control::busy},
      {"restart-time", "SECONDS", "of the dongle after a reset or being plugged in", &Control::restartTime},
      {"stay-away", "on|off", "the dongle does not come back after a reset until it is plugged in again",
       &Control::stayAway},
      {"mute", "on|off", "the dongle answers nothing and sends nothing", &Control::mute},
      {"noise", "BYTES", "this number of random bytes is sent to the host", &Control::noise},
      {"firmware", "A.B.C.D", "version of the dongle's firmware", &Control::firmware},
      {"neighbours", "N [PER-SECOND]", "other Bluetooth devices, each heard this often by a scan",
       &Control::neighbours},
      {"status", "", "state of the dongle and the gloves", &Control::status},
      {"help", "", "this list", &Control::showHelp},
      {"quit", "", "ends the simulation", &Control::end},
  };
  return all;
}

std::string Control::Row::usage() const
{
  return parameters.empty() ? std::string(name) : toText(name, ' ', parameters);
}

Control::Control(Dongle& dongle, std::uint64_t seed)
    : dongle_(dongle), seed_(seed), random_(static_cast<std::mt19937::result_type>(seed))
{
}

void Control::addGlove(std::string_view name, Glove& glove)
{
  gloves_.push_back({name, glove, std::make_shared<RandomFaults>(seed_ + 1 + gloves_.size())});
}

Control::Action Control::understand(std::string_view line)
{
  WordReader words(line);
  const std::string_view name = words.word("the command");
  const auto row =
      std::ranges::find_if(rows(), [name](const Row& candidate) { return isSameWord(candidate.name, name); });
  if (row == rows().end()) {
    std::vector<std::string_view> names;
    std::ranges::transform(rows(), std::back_inserter(names), &Row::name);
    throw std::invalid_argument(toText("there is no command '", name, "'; use ", listOf(names)));
  }
  try {
    Action action = (this->*row->read)(words);
    words.end();
    return action;
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(toText(error.what(), "; usage: ", row->usage()));
  }
}

std::string Control::help()
{
  std::ostringstream text;
  text << std::left;
  for (const Row& row : rows()) {
    text << std::setw(29) << row.usage() << row.effect << '\n';
  }
  text << "GLOVE: left, right or both.  POSITION: palm, thumb, index, middle, ring or pinky.";
  return text.str();
}

std::string_view Control::linkOf(const Glove& glove)
{
  if (glove.isNotifying()) return "streaming";
  return glove.isConnected() ? "connected" : "not connected";
}

Control::Selection Control::gloves(WordReader& words)
{
  std::vector<std::string_view> names;
  for (const NamedGlove& each : gloves_) {
    names.push_back(each.name);
  }
  names.insert(names.end(), {"both", "all"});
  const std::size_t chosen = words.choice("GLOVE", names);
  Selection selection;
  for (std::size_t index = 0; index < gloves_.size(); ++index) {
    if (chosen == index || chosen >= gloves_.size()) selection.push_back(&gloves_[index]);
  }
  return selection;
}

Control::Selection Control::glovesOrAll(WordReader& words)
{
  const std::string_view next = words.peek();
  if (!next.empty() && std::string_view("0123456789.+-").find(next[0]) == std::string_view::npos) {
    return gloves(words);
  }
  WordReader all("all");
  return gloves(all);
}

Control::Action Control::forEach(Selection selection, std::function<std::string(NamedGlove&)> act)
{
  return [selection = std::move(selection), act = std::move(act)] {
    std::string reply;
    for (NamedGlove* each : selection) {
      reply += toText(reply.empty() ? "" : "; ", each->name, ": ", act(*each));
    }
    return reply;
  };
}

std::string Control::dongleStatus() const
{
  const Firmware& firmware = dongle_.firmware;
  const char* const place = dongle_.isUnplugged() ? "unplugged"
                            : dongle_.isPresent() ? "present"
                                                  : "restarting";
  return toText("dongle: ", place, dongle_.faults.mute ? ", mute" : "",
                dongle_.faults.staysAway ? ", stays away after a reset" : "", ", firmware ", firmware.major,
                '.', firmware.minor, '.', firmware.patch, '.', firmware.build,
                dongle_.neighbours.count() > 0 ? ", " + neighbourStatus() : "");
}

std::string Control::neighbourStatus() const
{
  const Neighbours& neighbours = dongle_.neighbours;
  const std::size_t count = neighbours.count();
  return toText(count, count == 1 ? " neighbour" : " neighbours", " at ", neighbours.perSecond(), "/s each");
}

std::string Control::gloveStatus(const Glove& glove)
{
  const GloveConfig& config = glove.config;
  return toText(linkOf(glove), glove.isInRange() ? "" : ", out of range", glove.isSilent() ? ", silent" : "",
                glove.faults.hidden ? ", hidden" : "",
                glove.refusesConnections() ? ", refuses connections" : "", ", ", int{config.rssi}, " dBm, ",
                config.framesPerSecond, " frames/s of ", unsigned{config.packetsPerFrame}, " packets, ",
                glove.frames(), " frames sampled, ", glove.droppedFrames(), " dropped, ",
                glove.waitingPackets(), " packets waiting, battery ", unsigned{config.batteryCode});
}

}  // namespace simulator
