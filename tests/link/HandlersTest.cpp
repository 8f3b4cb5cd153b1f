// State changes by each message, from every state and for every connection.

#include "link/Handlers.h"

#include "link/Messages.h"
#include "tests/link/LinkFixture.h"

namespace {

using enum ConnectionState;
using enum DiscoveryState;

// The modules that a message applies to.
enum class Reach {
  anyModule,     // in the table
  countedModule  // connected and counted
};

using Moves = std::vector<std::pair<ConnectionState, ConnectionState>>;

struct Case {
  const char* name;
  std::string message;  // "cc" stands for the connection
  Moves moves = {};
  Reach reach = Reach::anyModule;
  void (*prepare)(BleModule&) = [](BleModule&) {};
};

std::vector<Case> cases()
{
  const auto hasService = [](BleModule& module) { module.serviceStart = 1; };
  const auto hasConfig = [](BleModule& module) { module.configHandle = 18; };
  const std::string value = "80 08 04 05 cc ";
  const auto withHandles = [](BleModule& module) {
    module.versionHandle = 24;
    module.statusHandle = 22;
    module.configHandle = 18;
  };
  // A completed procedure ends a running service discovery, whatever its handle.
  const std::pair noService{primary_responded, finish}, noConfig{info_responded, finish};
  const Moves answered{{state_version_request, state_version_response},
                       {state_status_request, state_status_response}};
  const Moves configured{noService,
                         noConfig,
                         {starting_notifications, listening_measurements},
                         {listening_measurements, not_listening}};
  const Reach any = Reach::anyModule, counted = Reach::countedModule;
  const std::string completed = "80 05 04 01 cc 00 00 ";
  return {
      {"connect accepted", "00 03 06 03 00 00 cc", {{connecting, connect_responded}}},
      {"connect refused", "00 03 06 03 81 01 cc"},
      {"link established",
       "80 10 03 00 cc 05 1 2 3 4 5 6 0 8 0 e8 3 0 0 ff",
       {{connect_responded, finding_services}}},
      {"link not established", "80 10 03 00 cc 04 1 2 3 4 5 6 0 8 0 e8 3 0 0 ff"},
      {"group search accepted", "00 03 04 01 cc 00 00", {{finding_services, primary_responded}}},
      {"group search refused", "00 03 04 01 cc 81 01"},
      {"information search accepted", "00 03 04 03 cc 00 00", {{finding_attributes, info_responded}}},
      {"information search refused", "00 03 04 03 cc 81 01"},
      {"read accepted", "00 03 04 04 cc 00 00", answered},
      {"read refused counts as accepted", "00 03 04 04 cc 81 01", answered},
      {"procedure completed, nothing found", completed + "00 00", {noService, noConfig}},
      {"procedure completed, service found",
       completed + "00 00",
       {{primary_responded, finding_attributes}, noConfig},
       any,
       hasService},
      {"procedure completed, CCCD found",
       completed + "00 00",
       {noService, {info_responded, connected}},
       any,
       hasConfig},
      {"write of the CCCD completed", completed + "12 00", configured},
      {"write of the CCCD failed", "80 05 04 01 cc 03 04 12 00"},
      {"version value",
       value + "18 00 00 03 1 2 3",
       {{state_version_response, state_version_received}},
       counted,
       withHandles},
      {"status value",
       value + "16 00 00 03 1 2 3",
       {{state_status_response, state_status_received}},
       counted,
       withHandles},
      {"follow-up value", value + "1a 00 00 03 1 2 3", {}, counted, withHandles},
      {"disconnect accepted", "00 03 03 00 cc 00 00", {{disconnecting, disconnected}}, counted},
      {"disconnect refused", "00 03 03 00 cc 86 01", {}, counted},
      {"disconnected; ignored while measuring", "80 03 03 04 cc 08 02", {{disconnecting, finish}}, counted},
  };
}

Bytes bytesOf(std::string message, int connection)
{
  message.replace(message.find("cc"), 2, toHex(std::array{static_cast<std::uint8_t>(connection)}));
  return hex(message);
}

TEST_F(LinkTest, EachMessageChangesOnlyItsOwnStates)
{
  openPort();
  for (const Case& row : cases()) {
    for (const int connection : {0, 1, 2, 255}) {
      for (connectedCount = 0; connectedCount <= 2; ++connectedCount) {
        const bool reaches = connection < (row.reach == Reach::anyModule ? 2 : connectedCount);
        for (std::uint32_t number = 0; number < connectionStateCount; ++number) {
          const auto before = static_cast<ConnectionState>(number);
          for (BleModule& module : modules) {
            module = {};
            row.prepare(module);
            module.state = before;
          }
          auto after = before;
          for (const auto& [from, to] : row.moves) {
            if (reaches && from == before) after = to;
          }
          arrive(bytesOf(row.message, connection));
          ASSERT_EQ(ble_receive_message(100), ReceiveResult::handled);
          for (int index = 0; index < 2; ++index) {
            const ConnectionState wanted = index == connection ? after : before;
            const ConnectionState got = modules[static_cast<std::size_t>(index)].state;
            ASSERT_EQ(got, wanted) << row.name << ", connection " << connection << " of " << connectedCount
                                   << ", from " << connectionStateNames[number] << " to "
                                   << connectionStateNames[static_cast<std::size_t>(got)];
          }
        }
      }
    }
  }
}

TEST_F(LinkTest, DiscoveryFollowsTheDonglesResponses)
{
  openPort();
  const struct {
    const char* message;
    std::optional<DiscoveryState> after;
  } answers[] = {{"00 02 06 02 00 00", discovery_running},
                 {"00 02 06 02 81 01", discovery_refused},
                 {"00 02 06 04 00 00", discovery_ended},
                 {"00 02 06 04 81 01", std::nullopt}};
  for (const auto& [message, after] : answers) {
    for (const auto before : {discovery_idle, discovery_requested, discovery_running, discovery_refused,
                              discovery_enough, discovery_ended}) {
      discoveryState = before;
      arrive(hex(message));
      std::ignore = ble_receive_message(100);
      EXPECT_EQ(discoveryState, after.value_or(before)) << message;
    }
  }
}

TEST_F(LinkTest, TheFirmwareIsComparedFieldByField)
{
  openPort();
  const struct {
    const char* versions;
    std::int32_t verdict;
  } firmwares[] = {{"01 00 04 00 02 00 82 00", 1},  {"01 00 04 00 02 00 81 00", -1},
                   {"01 00 05 00 00 00 00 00", 1},  {"01 00 04 00 01 00 FF FF", -1},
                   {"01 00 03 00 FF 00 FF 00", -1}, {"00 01 00 00 00 00 00 00", 1},
                   {"00 00 FF FF 00 00 00 00", -1}, {"01 00 04 00 02 00 00 01", 1}};
  for (const auto& [versions, verdict] : firmwares) {
    dongleVerdict = 0;
    arrive(hex(std::string("00 0C 00 08 ") + versions + " 00 00 00 00"));
    std::ignore = ble_receive_message(100);
    EXPECT_EQ(dongleVerdict, verdict) << versions;
  }
}

TEST_F(LinkTest, AVersionRecordNeedsMarkerAndChecksum)
{
  openPort();
  connectedCount = 1;
  const std::string event = "80 15 04 05 00 18 00 00 10 ";
  const struct {
    const char* record;
    std::uint16_t revision;
  } records[] = {{"85 19 01 00 05 00 03 00 04 00 00 00 05 00 01 06", 5},
                 {"85 1A 01 00 05 00 03 00 04 00 00 00 05 00 01 06", 0},
                 {"84 19 01 00 05 00 03 00 04 00 00 00 05 00 01 06", 0},
                 {"85 0F 01 00 05 00 FF FF 04 00 00 00 05 00 01 01", 5}};
  for (const auto& [record, revision] : records) {
    modules[0] = {};
    modules[0].versionHandle = 24;
    modules[0].state = state_version_response;
    arrive(hex(event + record));
    std::ignore = ble_receive_message(100);
    EXPECT_EQ(modules[0].version.revision(), revision) << record;
    EXPECT_EQ(modules[0].state, state_version_received) << record;
  }
}

TEST_F(LinkTest, OnlyACompleteNotificationWhileListeningReachesTheStore)
{
  openPort();
  const struct {
    const char* name;
    ConnectionState state;
    const char* handle;
    std::uint8_t length;
    std::size_t framelets;
  } cases[] = {{"taken", listening_measurements, "11 00", 20, 1},
               {"not listening yet", starting_notifications, "11 00", 20, 0},
               {"other handle", listening_measurements, "10 00", 20, 0},
               {"too short", listening_measurements, "11 00", 19, 0},
               {"too long", listening_measurements, "11 00", 21, 0}};
  connectedCount = 2;
  for (const auto& [name, state, handle, length, framelets] : cases) {
    stores = {};
    for (PacketStore& store : stores) {
      store.setPacketFormat(0);
    }
    modules[1].versionHandle = 24;
    modules[1].statusHandle = 22;
    modules[1].state = state;
    for (const std::string packet : {"00 02 00 01", "01 00 00 00"}) {  // a frame of two packets
      Bytes message = hex("80 00 04 05 01 " + std::string(handle) + " 01 00 " + packet);
      message.resize(9 + std::size_t{length});
      message[1] = static_cast<std::uint8_t>(5 + length);
      message[8] = length;
      arrive(message);
      std::ignore = ble_receive_message(100);
    }
    EXPECT_EQ(stores[1].frameletCount(), framelets) << name;
    EXPECT_EQ(stores[0].frameletCount(), 0U) << name;
  }
}

TEST_F(LinkTest, ACompletedCommandIsFollowedByAReadAndAPause)
{
  openPort();
  modules[1].state = listening_measurements;
  arrive(hex("80 05 04 01 01 00 00 0e 00"));
  std::ignore = ble_receive_message(100);
  EXPECT_EQ(toHex(port_.written), "00 03 04 04 01 1A 00");
  EXPECT_EQ(nowMs(), 50);
}

TEST_F(LinkTest, AReportedServiceIsAcceptedOnceAndOnlyByItsUuid)
{
  openPort();
  connectedCount = 1;
  modules[0].state = primary_responded;
  const std::string service = "31 01 9b 5f 80 00 00 80 00 10 00 00 ba cb 03 00";
  const std::string other = "31 01 9b 5f 80 00 00 80 00 10 00 00 ba cb 03 01";
  arrive(hex("80 16 04 02 00 03 00 04 00 10 " + other));
  arrive(hex("80 16 04 02 00 05 00 06 00 0f " + service));
  arrive(hex("80 16 04 02 00 0d 00 1a 00 10 " + service));
  arrive(hex("80 16 04 02 00 20 00 21 00 10 " + service));
  while (ble_receive_message(100) == ReceiveResult::handled) {
  }
  EXPECT_EQ(modules[0].serviceStart, 13);
  EXPECT_EQ(modules[0].serviceEnd, 26);
}

TEST_F(LinkTest, ReportedAttributesAreRecognisedByTheirUuids)
{
  openPort();
  modules[0].state = info_responded;
  const std::string found = "80 14 04 04 00 ";
  arrive(hex(found + "0e 00 10 00 00 10 f9 05 08 00 80 00 10 00 00 b3 bb 03 00"));
  arrive(hex(found + "18 00 10 04 00 10 f9 05 08 00 80 00 10 00 00 b3 bb 03 00"));
  arrive(hex("80 06 04 04 00 12 00 02 02 29"));
  arrive(hex("80 06 04 04 00 13 00 02 03 29"));
  while (ble_receive_message(100) == ReceiveResult::handled) {
  }
  EXPECT_EQ(modules[0].commandHandle, 14);
  EXPECT_EQ(modules[0].versionHandle, 24);
  EXPECT_EQ(modules[0].configHandle, 18);
}

}  // namespace
