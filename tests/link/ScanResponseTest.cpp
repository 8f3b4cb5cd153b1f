// Which advertisements add a module, and what is stored of them.

#include "link/Messages.h"
#include "tests/link/LinkFixture.h"

namespace {

using enum DiscoveryState;

// A scan response with this advertising data. `claimed`: the data length in the event, if wrong.
Bytes scanResponse(std::uint8_t address, const Bytes& data, std::optional<std::size_t> claimed = {})
{
  Bytes message = hex("80 00 06 00 C8 00 00 02 03 04 05 06 00 FF");
  message[6] = address;
  message.push_back(static_cast<std::uint8_t>(claimed.value_or(data.size())));
  message.insert(message.end(), data.begin(), data.end());
  message[1] = static_cast<std::uint8_t>(message.size() - 4);
  return message;
}

// An AD structure with a name. `length`: the length in the structure, if wrong.
Bytes nameStructure(const std::string& name, std::uint8_t type = 9, std::optional<std::size_t> length = {})
{
  Bytes structure(2 + name.size());
  structure[0] = static_cast<std::uint8_t>(length.value_or(name.size() + 1));
  structure[1] = type;
  std::ranges::copy(name, structure.begin() + 2);
  return structure;
}

Bytes operator+(Bytes left, const Bytes& right)
{
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class ScanResponseTest : public LinkTest {
 protected:
  ScanResponseTest()
  {
    openPort();
    discoveryState = discovery_running;
    wantedCount = 2;
  }

  void receive(const Bytes& message)
  {
    arrive(message);
    std::ignore = ble_receive_message(100);
  }

  static std::string nameOf(const BleModule& module)
  {
    return {module.name.data(), static_cast<std::size_t>(module.nameLength)};
  }
};

TEST_F(ScanResponseTest, AGloveIsRecognisedByItsCompleteName)
{
  const Bytes flags = hex("02 01 06");
  const std::string longName = "KVXGL00017" + std::string(200, '.');
  const struct {
    const char* what;
    Bytes message;
    std::optional<std::string> name;
    std::uint8_t isLeft = 0;
  } cases[] = {
      {"left", scanResponse(1, flags + nameStructure("KVXGL00017")), "KVXGL00017", 1},
      {"right", scanResponse(1, flags + nameStructure("KVXGR00017")), "KVXGR00017"},
      {"single", scanResponse(1, nameStructure("KVXSS00017")), "KVXSS00017"},
      {"letters alone", scanResponse(1, nameStructure("KVXGL")), "KVXGL", 1},
      {"after another device's name", scanResponse(1, nameStructure("LAMP") + nameStructure("KVXGR1")),
       "KVXGR1"},
      {"other prefix", scanResponse(1, nameStructure("KVXGX00017")), std::nullopt},
      {"shortened name", scanResponse(1, nameStructure("KVXGL00017", 8)), std::nullopt},
      {"no name", scanResponse(1, flags), std::nullopt},
      {"no data", scanResponse(1, {}), std::nullopt},
      {"an AD structure without a type is skipped", scanResponse(1, hex("00 00") + nameStructure("KVXGR1")),
       "KVXGR1"},
      {"letters compared beyond the structure", scanResponse(1, nameStructure("KVXGL00017", 9, 3)), "KV", 1},
      {"a structure with only its type", scanResponse(1, nameStructure("KVXGL00017", 9, 1)), "", 1},
      {"a structure longer than the data", scanResponse(1, nameStructure("KVXGL00017", 9, 255)), "KVXGL00017",
       1},
      {"a name longer than the record", scanResponse(1, nameStructure(longName)), longName.substr(0, 32), 1},
      {"data that end before a type", scanResponse(1, flags + nameStructure("KVXGL00017"), 4), std::nullopt},
      {"a length of 0 before a name's type", scanResponse(1, hex("00 09 4B 56 58 47 4C")), std::nullopt},
      {"a name cut by the data's end", scanResponse(1, nameStructure("KVXGL00017"), 9), "KVXGL00", 1},
      {"data that claim to continue after the message",
       scanResponse(1, nameStructure("KVXGL00017", 9, 40), 255), "KVXGL00017" + std::string(22, '\0'), 1},
      {"a name at the buffer's very end", scanResponse(1, Bytes(240, 0) + nameStructure("KV"), 255),
       std::nullopt},
  };
  for (const auto& [what, message, name, isLeft] : cases) {
    modules = {};
    foundCount = 0;
    discoveryState = discovery_running;
    receive(hex("80 FF 00 01") + Bytes(255, 0));  // fills the payload buffer with zeros
    receive(message);
    ASSERT_EQ(foundCount, name ? 1 : 0) << what;
    if (!name) continue;
    EXPECT_EQ(nameOf(modules[0]), *name) << what;
    EXPECT_EQ(modules[0].isLeft, isLeft) << what;
    EXPECT_EQ(toHex(modules[0].address), "01 02 03 04 05 06") << what;
  }
}

TEST_F(ScanResponseTest, AThirdModuleFailsTheAssertionOfTheTable)
{
  receive(scanResponse(1, nameStructure("KVXGL00001")));
  receive(scanResponse(2, nameStructure("KVXGL00002")));
  discoveryState = discovery_running;
  std::wstring report;
  try {
    receive(scanResponse(3, nameStructure("KVXGL00003")));
  } catch (const wchar_t* text) {
    report = text;
  }
  EXPECT_EQ(
      report,
      L"Assertion failed: g < MAX_DEVICES, function: ble_evt_gap_scan_response, file: BleDevice, line 1071");
  EXPECT_EQ(foundCount, 2);
}

TEST_F(ScanResponseTest, TheSerialFilterComparesTheFiveCharactersAfterTheLetters)
{
  const struct {
    std::array<std::uint16_t, 2> filter;
    const char* name;
    bool passes;
  } cases[] = {{{noSerialFilter, 17}, "KVXGL00018", true},  // only the first entry turns the filter on
               {{17, noSerialFilter}, "KVXGL00017", true},
               {{17, noSerialFilter}, "KVXGL00018", false},
               {{4, 17}, "KVXGL00017", true},
               {{17, 4}, "KVXGL000179", true},
               {{17, 4}, "KVXGL17x99", true},
               {{0, 4}, "KVXGLxxxxx", true},
               {{17, 4}, "KVXGLxxxxx", false},
               {{17, 4}, "KVXGL   17", true}};
  for (const auto& [filter, name, passes] : cases) {
    serialFilter = filter;
    modules = {};
    foundCount = 0;
    receive(scanResponse(1, nameStructure(name)));
    EXPECT_EQ(foundCount, passes ? 1 : 0) << name << " by " << filter[0] << ", " << filter[1];
  }
}

}  // namespace
