// A client of the published protocol that knows nothing of gloves: it finds attributes by their UUIDs, and
// has its own reading of the messages.

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <set>

#include "simulator/Dongle.h"
#include "tests/support/Hex.h"

namespace {

using namespace std::chrono_literals;

std::string hex16(unsigned value)
{
  return toHex(Bytes{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
}

class Client : public testing::Test {
 protected:
  Client()
  {
    dongle_.onSend = [this](std::span<const std::uint8_t> bytes) {
      received_.emplace_back(bytes.begin(), bytes.end());
    };
    glove_.config.name = "KVXGL00017 of the second room";
    glove_.config.rssi = -60;
  }

  void send(const std::string& command) { dongle_.receive(hex(command)); }

  // The payload of the next message with this beginning, but for its length; those before it are discarded.
  Bytes await(std::uint8_t type, std::uint8_t group, std::uint8_t id)
  {
    Bytes message;
    const bool came = clock_.advanceUntil(clock_.now() + 5s, [&] {
      while (message.empty() && !received_.empty()) {
        const Bytes next = received_.front();
        received_.pop_front();
        if (next[0] == type && next[2] == group && next[3] == id) message = next;
      }
      return !message.empty();
    });
    if (!came) {
      ADD_FAILURE() << "no message " << toHex(Bytes{type, group, id});
      return Bytes(32);
    }
    EXPECT_EQ(message.size(), 4U + message[1]);
    return {message.begin() + 4, message.end()};
  }

  // Sends a discovery, and returns the payloads of its events up to the end of the procedure.
  std::vector<Bytes> discover(std::uint8_t id, std::uint8_t eventId, const std::string& range,
                              const std::string& uuid = "")
  {
    Bytes command = hex("00 00 04 00 00 " + range + uuid);
    command[1] = static_cast<std::uint8_t>(command.size() - 4);
    command[3] = id;
    dongle_.receive(command);
    EXPECT_EQ(toHex(await(0, 4, id)), "00 00 00");
    std::vector<Bytes> found;
    const bool hasEnded = clock_.advanceUntil(clock_.now() + 5s, [this] {
      return !received_.empty() && received_.back()[0] == 0x80 && received_.back()[3] == 1;
    });
    EXPECT_TRUE(hasEnded);
    while (received_.size() > 1) {
      found.push_back(await(0x80, 4, eventId));
    }
    EXPECT_EQ(toHex(await(0x80, 4, 1)), found.empty() ? "00 0A 04 00 00" : "00 00 00 00 00");
    return found;
  }

  void connect()
  {
    send("00 0F 06 03 " + toHex(glove_.config.address) + " 00 08 00 10 00 E8 03 00 00");
    EXPECT_EQ(toHex(await(0, 6, 3)), "00 00 00");
    EXPECT_EQ(await(0x80, 3, 0)[1], 5) << "connected, completed";
  }

  // All messages that a command leads to within two seconds.
  std::string dialogue(const std::string& command)
  {
    received_.clear();
    send(command);
    clock_.advance(2s);
    std::string text;
    for (const Bytes& message : received_) {
      text += (text.empty() ? "" : ", ") + toHex(message);
    }
    return text;
  }

  VirtualClock clock_;
  simulator::Dongle dongle_{clock_};
  simulator::Glove& glove_ = dongle_.addGlove({});
  std::deque<Bytes> received_;
};

TEST_F(Client, FindsAGloveByUuidsAndReceivesItsNotifications)
{
  for (const auto& [command, response] : std::map<std::string, std::string>{
           {"00 00 00 01", "00 00 00 01"},              // hello
           {"00 02 06 01 00 00", "00 02 06 01 00 00"},  // gap_set_mode
           {"00 01 05 01 01", "00 00 05 01"},           // sm_set_bondable_mode
           {"00 00 00 02", "00 06 00 02 01 43 65 80 07 00"},
       }) {
    EXPECT_EQ(dialogue(command), response);
  }
  send("00 01 06 02 02");
  const Bytes report = await(0x80, 6, 0);
  EXPECT_EQ(toHex(report), "C4 00 " + toHex(glove_.config.address) + " 00 FF 22 02 01 06 1E 09 " +
                               toHex(Bytes(glove_.config.name.begin(), glove_.config.name.end())));
  send("00 00 06 04");
  EXPECT_EQ(toHex(await(0, 6, 4)), "00 00");
  connect();

  std::vector<std::string> layout;
  std::string notifying, configuration;  // handles
  for (const Bytes& service : discover(1, 2, "01 00 FF FF", " 02 00 28")) {
    layout.push_back("service " + toHex(std::span(service).subspan(1)));
    const std::string range = toHex(std::span(service).subspan(1, 4));
    for (const Bytes& declared : discover(2, 5, range, " 02 03 28")) {
      EXPECT_EQ(declared[3], 3) << "type: read by type";
      layout.push_back(toHex(std::span(declared).subspan(5)));
      if (declared[5] & 0x10) notifying = toHex(std::span(declared).subspan(6, 2));
    }
    for (const Bytes& attribute : discover(3, 4, range)) {
      const std::string handle = toHex(std::span(attribute).subspan(1, 2));
      if (toHex(std::span(attribute).subspan(3)) == "02 02 29") configuration = handle;
    }
  }
  EXPECT_EQ(layout, (std::vector<std::string>{
                        "service 01 00 05 00 02 00 18", "02 03 00 00 2A", "02 05 00 01 2A",
                        "service 0C 00 1A 00 10 31 01 9B 5F 80 00 00 80 00 10 00 00 BA CB 03 00",
                        "0C 0E 00 00 00 10 F9 05 08 00 80 00 10 00 00 B3 BB 03 00",
                        "10 11 00 01 00 10 F9 05 08 00 80 00 10 00 00 B3 BB 03 00",
                        "02 16 00 03 00 10 F9 05 08 00 80 00 10 00 00 B3 BB 03 00",
                        "02 18 00 04 00 10 F9 05 08 00 80 00 10 00 00 B3 BB 03 00",
                        "02 1A 00 05 00 10 F9 05 08 00 80 00 10 00 00 B3 BB 03 00"}));

  send("00 06 04 05 00 " + configuration + " 02 01 00");
  EXPECT_EQ(toHex(await(0x80, 4, 1)), "00 00 00 " + configuration);
  for (int count = 0; count < 100; ++count) {
    const Bytes value = await(0x80, 4, 5);
    EXPECT_EQ(toHex(std::span(value).first(5)), "00 " + notifying + " 01 14");
    EXPECT_EQ(value.size(), 25U);
  }
  send("00 06 04 05 00 " + configuration + " 02 00 00");
  EXPECT_EQ(toHex(await(0x80, 4, 1)), "00 00 00 " + configuration);
  EXPECT_EQ(dialogue("00 01 03 00 00"), "00 03 03 00 00 00 00, 80 03 03 04 00 16 02");
  EXPECT_EQ(dialogue("00 00 00 06").find("80 10 03 00 00 00"), 16U) << "not connected";
}

TEST_F(Client, GetsTheAnswersOfARealDongle)
{
  connect();
  const std::string unused = " 00 00 00 00 00 00 00 00 00 00 00 00 00 FF";
  const std::string connections = "00 01 00 06 03, 80 10 03 00 00 01 " + toHex(glove_.config.address) +
                                  " 00 08 00 E8 03 00 00 FF, 80 10 03 00 01 00" + unused +
                                  ", 80 10 03 00 02 00" + unused;
  const auto completed = [](unsigned outcome, unsigned handle) {
    return ", 80 05 04 01 00 " + hex16(outcome) + " " + hex16(handle);
  };
  struct Row {
    const char* name;
    std::string command, answers;
  };
  for (const auto& [name, command, answers] : std::vector<Row>{
           {"connections", "00 00 00 06", connections},
           {"signal strength", "00 01 03 01 00", "00 02 03 01 00 C4"},
           {"signal strength of no connection", "00 01 03 01 01", "00 02 03 01 01 7F"},
           {"version", "00 01 03 03 00", "00 03 03 03 00 00 00, 80 06 03 01 00 06 FF FF 00 00"},
           {"unknown command", "00 00 09 00", "80 02 00 06 84 01"},
           {"parameter missing", "00 01 06 01 00", "80 02 00 06 80 01"},
           {"array longer than the command", "00 06 04 06 00 0E 00 03 01 02", "80 02 00 06 80 01"},

           {"set mode", "00 02 06 01 84 03", "00 02 06 01 00 00"},
           {"set mode, discoverable", "00 02 06 01 05 00", "00 02 06 01 80 01"},
           {"scan interval too long", "00 05 06 07 01 40 04 00 01", "00 02 06 07 80 01"},
           {"scan window longer than interval", "00 05 06 07 40 00 41 00 01", "00 02 06 07 80 01"},
           {"filtering", "00 03 06 06 00 04 00", "00 02 06 06 80 01"},
           {"white list", "00 03 06 06 01 00 00", "00 02 06 06 83 01"},
           {"discover mode", "00 01 06 02 03", "00 02 06 02 80 01"},

           {"find beyond the last attribute", "00 05 04 03 00 1B 00 FF FF",
            "00 03 04 03 00 00 00" + completed(0x040A, 0)},
           {"find from handle 0", "00 05 04 03 00 00 00 05 00",
            "00 03 04 03 00 00 00" + completed(0x0401, 0)},
           {"secondary services", "00 08 04 01 00 01 00 FF FF 02 01 28",
            "00 03 04 01 00 00 00" + completed(0x040A, 0)},
           {"services by 128 bits",
            "00 16 04 01 00 01 00 05 00 10 FB 34 9B 5F 80 00 00 80 00 10 00 00 00 28 00 00",
            "00 03 04 01 00 00 00, 80 08 04 02 00 01 00 05 00 02 00 18" + completed(0, 0)},
           {"groups of characteristics", "00 08 04 01 00 01 00 FF FF 02 03 28",
            "00 03 04 01 00 00 00" + completed(0x0410, 0)},
           {"UUID of 3 bytes", "00 09 04 02 00 01 00 FF FF 03 03 28 00", "00 03 04 02 00 80 01"},
           {"read by type", "00 08 04 02 00 01 00 FF FF 02 02 29",
            "00 03 04 02 00 00 00, 80 07 04 05 00 12 00 03 02 00 00" + completed(0, 0)},
           {"read by type, cut to 19 bytes", "00 08 04 02 00 01 00 FF FF 02 00 2A",
            "00 03 04 02 00 00 00, 80 18 04 05 00 03 00 03 13 4B 56 58 47 4C 30 30 30 31 37 20 6F 66 20 74 "
            "68 65 20 73" +
                completed(0, 0)},
           {"read by type of what can't be read",
            "00 16 04 02 00 01 00 FF FF 10 01 00 10 F9 05 08 00 80 00 10 00 00 B3 BB 03 00",
            "00 03 04 02 00 00 00" + completed(0x0402, 17)},

           {"read", "00 03 04 04 00 05 00", "00 03 04 04 00 00 00, 80 07 04 05 00 05 00 00 02 00 00"},
           {"read of what can't be read", "00 03 04 04 00 0E 00",
            "00 03 04 04 00 00 00" + completed(0x0402, 14)},
           {"read of a handle that does not exist", "00 03 04 04 00 0F 00",
            "00 03 04 04 00 00 00" + completed(0x0401, 15)},
           {"read long, in two parts", "00 03 04 08 00 03 00",
            "00 03 04 08 00 00 00, 80 1B 04 05 00 03 00 04 16 4B 56 58 47 4C 30 30 30 31 37 20 6F 66 20 74 "
            "68 65 "
            "20 73 65 63 6F, 80 0C 04 05 00 03 00 04 07 6E 64 20 72 6F 6F 6D" +
                completed(0, 3)},
           {"read of no connection", "00 03 04 04 01 05 00", "00 03 04 04 01 86 01"},
           {"read during a read", "00 03 04 04 00 05 00 00 05 04 03 00 01 00 05 00",
            "00 03 04 04 00 00 00, 00 03 04 03 00 81 01, 80 07 04 05 00 05 00 00 02 00 00"},

           {"write of what can't be written", "00 05 04 05 00 16 00 01 00",
            "00 03 04 05 00 00 00" + completed(0x0403, 22)},
           {"write to a handle that does not exist", "00 05 04 05 00 14 00 01 00",
            "00 03 04 05 00 00 00" + completed(0x0401, 20)},
           {"write of one byte to the CCCD", "00 05 04 05 00 12 00 01 01",
            "00 03 04 05 00 00 00" + completed(0x040D, 18)},
           {"write command", "00 06 04 06 00 0E 00 02 40 FE", "00 03 04 06 00 00 00"},
           {"write command to what can't be written so", "00 06 04 06 00 12 00 02 01 00",
            "00 03 04 06 00 00 00"},
       }) {
    EXPECT_EQ(dialogue(command), answers) << name;
  }
  EXPECT_EQ(glove_.commands(), std::vector<Bytes>{hex("40 FE")});
  EXPECT_FALSE(glove_.isNotifying());
}

TEST_F(Client, LosesItsProcedureWithTheConnection)
{
  connect();
  glove_.fallSilent();
  send("00 05 04 03 00 01 00 FF FF");
  clock_.advance(29s);
  EXPECT_EQ(received_.size(), 1U);
  clock_.advance(2s);
  EXPECT_EQ(toHex(received_.back()), "80 05 04 01 00 85 01 00 00");
  glove_.comeBack();
  send("00 05 04 03 00 01 00 FF FF 00 06 04 06 00 0E 00 02 40 FE");
  clock_.advance(10ms);
  dongle_.drop(glove_, 0x208);
  received_.clear();
  clock_.advance(60s);
  EXPECT_TRUE(received_.empty());
}

}  // namespace
