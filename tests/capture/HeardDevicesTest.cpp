// The scan responses of a capture, from their bytes to the devices heard.

#include "host/capture/HeardDevices.h"
#include "host/capture/LinkDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/Hex.h"

namespace {

class Heard : public testing::Test, private LinkListener {
 protected:
  void receive(const Bytes& bytes) { decoder_.add({.kind = CaptureBlock::Kind::received, .bytes = bytes}); }
  // A scan response with this data of the device with this number, -56 dBm.
  static Bytes scanResponse(std::size_t device, const Bytes& data)
  {
    Bytes message = hex("80 00 06 00  C8 00  00 00 33 44 55 66  00 FF");
    message[6] = static_cast<std::uint8_t>(device);
    message[7] = static_cast<std::uint8_t>(device >> 8);
    message.push_back(static_cast<std::uint8_t>(data.size()));
    message.insert(message.end(), data.begin(), data.end());
    message[1] = static_cast<std::uint8_t>(message.size() - 4);
    return message;
  }
  std::string heard() const
  {
    std::string text;
    for (const HeardGlove& glove : devices_.gloves()) {
      text += glove.name + " " + std::to_string(glove.rssi) + ", ";
    }
    return text + std::to_string(devices_.others());
  }

  HeardDevices devices_;

 private:
  void begin() override {}
  void message(Time) override {}
  void advertisement(const Advertisement& advertisement) override { devices_.add(advertisement); }
  void notificationsBegin(std::size_t, Time) override {}
  void notificationsEnd(std::size_t, Time) override {}
  void packet(std::size_t, Packet, Time) override {}

  LinkDecoder decoder_{*this};
};

TEST_F(Heard, AGloveIsKnownByItsCompleteName)
{
  struct Row {
    const char *name, *data, *result;
  };
  for (const auto& [name, data, result] : {
           Row{"left", "02 01 06  0B 09 4B 56 58 47 4C 30 30 30 31 37", "KVXGL00017 -56, 0"},
           Row{"right, behind another name", "03 09 41 42  06 09 4B 56 58 47 52", "KVXGR -56, 0"},
           Row{"neither left nor right", "07 09 4B 56 58 53 53 31", "KVXSS1 -56, 0"},
           Row{"any bytes", "08 09 4B 56 58 47 4C 1B FF", "KVXGL\x1B\xFF -56, 0"},
           Row{"shortened name", "06 08 4B 56 58 47 4C", "1"},
           Row{"name that ends early", "05 09 4B 56 58 47", "1"},
           Row{"empty structures first", "00 00 06 09 4B 56 58 47 4C", "KVXGL -56, 0"},
           Row{"nothing", "", "1"},
       }) {
    devices_.clear();
    receive(scanResponse(1, hex(data)));
    EXPECT_EQ(heard(), result) << name;
  }
}

TEST_F(Heard, EachDeviceCountsOnceAndIsAGloveOnceItsNameWasHeard)
{
  const Bytes name = hex("0B 09 4B 56 58 47 4C 30 30 30 31 37");
  receive(scanResponse(1, {}));
  receive(scanResponse(2, {}));
  receive(scanResponse(1, {}));
  EXPECT_EQ(heard(), "2");
  receive(scanResponse(2, name));
  Bytes stronger = scanResponse(2, {});
  stronger[4] = 0xD8;
  receive(stronger);
  receive(scanResponse(2, name));
  EXPECT_EQ(heard(), "KVXGL00017 -40, 1");
  const HeardDevices snapshot = devices_;
  receive(scanResponse(3, name));
  EXPECT_EQ(heard(), "KVXGL00017 -40, KVXGL00017 -56, 1") << "another glove with the same name";
  EXPECT_EQ(snapshot.gloves().size(), 1U);
}

TEST_F(Heard, MemoryIsBounded)
{
  Bytes name(60, 'X');
  const Bytes begin = hex("3B 09 4B 56 58 47 4C");
  std::ranges::copy(begin, name.begin());
  for (std::size_t device = 0; device < 3000; ++device) {
    receive(scanResponse(device, device % 2 == 0 ? name : Bytes{}));
  }
  ASSERT_EQ(devices_.gloves().size(), 64U);
  EXPECT_EQ(devices_.gloves()[63].name.size(), 32U);
  EXPECT_EQ(devices_.others(), 1024U);
}

}  // namespace
