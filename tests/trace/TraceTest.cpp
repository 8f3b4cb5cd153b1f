// From the bytes of captures to the lines that are printed.

#include <gtest/gtest.h>

#include <sstream>

#include "host/trace/CaptureTrace.h"
#include "host/trace/FrameTrace.h"
#include "host/trace/MessageTrace.h"
#include "tests/support/Hex.h"

namespace {

using Strings = std::vector<std::string>;

void append(Bytes& bytes, std::uint64_t number, int size)
{
  for (int at = 0; at < size; ++at) {
    bytes.push_back(static_cast<std::uint8_t>(number >> (8 * at)));
  }
}

void appendOption(Bytes& bytes, std::uint16_t code, const std::string& value)
{
  append(bytes, code, 2);
  append(bytes, value.size(), 2);
  bytes.insert(bytes.end(), value.begin(), value.end());
  while (bytes.size() % 4 != 0)
    bytes.push_back(0);
}

void appendBlock(Bytes& file, std::uint32_t type, const Bytes& body)
{
  append(file, type, 4);
  append(file, body.size() + 12, 4);
  file.insert(file.end(), body.begin(), body.end());
  append(file, body.size() + 12, 4);
}

// A section that begins so many seconds after 2026 did, with a block a line: "< 80 05 04 01", "> ..." or
// "- note", a millisecond apart. A line of bytes that ends with "!" is incomplete.
Bytes capture(const Strings& lines, std::uint64_t second = 0)
{
  const std::uint64_t begin = (1'767'225'600 + second) * 1'000'000'000;
  Bytes file;
  Bytes section = hex("4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF");
  appendOption(section, 1, "tessel-capture 1 wall=" + std::to_string(begin) + "ns uptime=5000ns");
  append(section, 0, 4);
  appendBlock(file, 0x0A0D0D0A, section);
  appendBlock(file, 1, hex("93 00 00 00 00 00 00 00 09 00 01 00 09 00 00 00 00 00 00 00"));
  std::uint64_t time = begin;
  for (const std::string& line : lines) {
    time += 1'000'000;
    const Bytes data = line[0] == '-' ? Bytes() : hex(line.substr(2));
    Bytes packet = hex("00 00 00 00");
    append(packet, time >> 32, 4);
    append(packet, time, 4);
    append(packet, data.size(), 4);
    append(packet, data.size(), 4);
    packet.insert(packet.end(), data.begin(), data.end());
    while (packet.size() % 4 != 0)
      packet.push_back(0);
    if (line[0] == '-') appendOption(packet, 1, line.substr(2));
    if (line[0] != '-') appendOption(packet, 2, {line[0] == '<' ? '\1' : '\2', 0, 0, 0});
    if (line.back() == '!') appendOption(packet, 1, "incomplete");
    append(packet, 0, 4);
    appendBlock(file, 6, packet);
  }
  return file;
}

template <class Item>
std::vector<Item> operator+(std::vector<Item> items, const std::vector<Item>& more)
{
  items.insert(items.end(), more.begin(), more.end());
  return items;
}

struct Options {
  TraceFormat format{};
  GloveFilter filter{};
  std::optional<FrameTrace::Content> content{};
};

std::string printed(const Bytes& file, const Options& options = {})
{
  testing::internal::CaptureStdout();
  TraceOutput output(options.format);
  std::unique_ptr<TraceView> view = std::make_unique<MessageTrace>(output, options.filter, false);
  if (options.content) view = std::make_unique<FrameTrace>(output, options.filter, *options.content);
  CaptureTrace trace(*view);
  trace.add(file);
  trace.end();
  return testing::internal::GetCapturedStdout();
}

// The lines without their times, spaces at the end and that of the section.
Strings lines(const Bytes& file, const Options& options = {})
{
  constexpr std::size_t times = 24;
  Strings result;
  std::istringstream text(printed(file, options));
  for (std::string line; std::getline(text, line);) {
    line.erase(line.find_last_not_of(' ') + 1);
    if (line.find("- section") == std::string::npos)
      result.push_back(line.substr(std::min(times, line.size())));
  }
  return result;
}

TEST(Trace, ShowsEachMessageWithItsFields)
{
  const struct {
    std::string bytes, line;
  } rows[] = {
      {"> 00 01 00 00 00", "> cmd system_reset                   boot_in_dfu=0"},
      {"> 00 0F 06 03 21 43 65 80 07 00 00 08 00 10 00 E8 03 00 00",
       "> cmd gap_connect_direct             address=00:07:80:65:43:21  addr_type=0 public  "
       "conn_interval_min=10 "
       "ms  conn_interval_max=20 ms  timeout=10000 ms  latency=0"},
      {"> 00 05 06 07 C8 00 64 00 01",
       "> cmd gap_set_scan_parameters        scan_interval=125 ms  scan_window=62.5 ms  active=1"},
      {"> 00 09 04 05 00 0E 00 05 72 FE 34 12 99",
       "> cmd attclient_attribute_write      connection=0 left  atthandle=14 command  data=opcode 114 "
       "SetSerialNumber, target 254, payload 34 12 99"},
      {"> 00 06 04 05 01 12 00 02 01 00",
       "> cmd attclient_attribute_write      connection=1 right  atthandle=18 CCCD  data=notifications on"},
      {"< 00 03 04 04 07 86 01",
       "< rsp attclient_read_by_handle       connection=7  result=0x0186 not connected"},
      {"< 80 03 03 04 00 13 02",
       "< evt connection_disconnected        connection=0 left  reason=0x0213 remote user terminated"},
      {"< 80 10 03 00 00 05 21 43 65 80 07 00 01 08 00 E8 03 00 00 FF",
       "< evt connection_status              connection=0 left  flags=0x05 connected, completed  "
       "address=00:07:80:65:43:21  address_type=1 random  conn_interval=10 ms  timeout=10000 ms  latency=0  "
       "bonding=255 none"},
      {"< 80 08 04 02 00 01 00 05 00 02 00 28",
       "< evt attclient_group_found          connection=0 left  start=1  end=5  uuid=0x2800 primary service"},
      {"< 80 14 04 04 00 0E 00 10 00 00 10 F9 05 08 00 00 00 10 00 00 B3 BB 03 00",
       "< evt attclient_find_information_found  connection=0 left  chrhandle=14 command  "
       "uuid=0003bbb3-0000-1000-0000-0805f9100000"},
      {"< 80 15 04 05 00 18 00 00 10 85 2C 67 12 05 00 D4 00 BC 0A 00 00 00 00 00 00",
       "< evt attclient_attribute_value      connection=0 left  atthandle=24 version  type=0 read  "
       "value=part "
       "4711, revision 5, build 212, commit abc, of no date, INVALID: checksum 2C, not 18"},
      {"< 80 19 04 05 00 16 00 00 14 00 00 00 F9 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
       "< evt attclient_attribute_value      connection=0 left  atthandle=22 status  type=0 read  "
       "value=middle finger: absent or not ready (249)"},
      {"< 80 19 04 05 00 11 00 01 14 30 0E 00 FB 00 01 01 E8 03 CF 05 B6 07 9D 09 84 0B 6B 0D 52",
       "< evt attclient_attribute_value      connection=0 left  atthandle=17 measurement  type=1 "
       "notification  value=packet 0 of 14, counter 3, clock 251"},
      {"< 80 15 06 00 CE 00 01 02 03 04 05 06 00 FF 0A 09 09 4B 56 58 47 4C 0A 1B FF",
       "< evt gap_scan_response              rssi=-50 dBm  packet_type=0 connectable  "
       "sender=06:05:04:03:02:01 "
       "KVXGL\\n\\x1B\\xFF  address_type=0 public  bond=255 none  data=name \"KVXGL\\n\\x1B\\xFF\""},
      // Without a row in the table, and not of the protocol.
      {"< 80 02 05 02 AA BB", "< evt sm 2                           payload AA BB"},
      {"< 80 00 08 00", "< evt test 0                         no payload  NOT IN THE PROTOCOL"},
      {"< 00 01 0A 00 01", "< rsp class 10 number 0              payload 01  NOT IN THE PROTOCOL"},
      // Payloads that don't fit are shown as they are.
      {"< 80 03 04 01 00 00 00",
       "< evt attclient_procedure_completed  connection=0 left  result=0x0000 success  chrhandle MISSING"},
      {"< 80 04 04 01 00 00 00 12",
       "< evt attclient_procedure_completed  connection=0 left  result=0x0000 success  chrhandle MISSING  "
       "EXTRA BYTES 12"},
      {"< 00 03 06 02 00 00 AB",
       "< rsp gap_discover                   result=0x0000 success  EXTRA BYTES AB"},
      {"< 80 06 04 05 00 99 00 00 14 AB",
       "< evt attclient_attribute_value      connection=0 left  atthandle=153  type=0 read  value=AB (cut: 1 "
       "of 20 bytes)"},
      {"< 8B 02 06 01 01 02",
       "< evt gap_mode_changed               discover=1 limited  connect=2 undirected  LENGTH OVER 255: high "
       "bits 3, not read by the plug-in  RESERVED BITS 0x08"},
  };
  for (const auto& [bytes, line] : rows) {
    EXPECT_EQ(lines(capture({bytes})), Strings{line}) << bytes;
  }
}

TEST(Trace, ShowsBytesThatAreNoMessage)
{
  const Bytes event = capture({"< 80 05 04 01", "< 00 00 00 12 00"});
  const Strings eventLine{
      "< evt attclient_procedure_completed  connection=0 left  result=0x0000 success  chrhandle=18 CCCD"};
  const std::string rest = "< NO MESSAGE: 4 of 9 bytes of evt attclient_procedure_completed ";
  Bytes cut = event;
  cut.resize(cut.size() - 8);
  const struct {
    const char* name;
    Bytes file;
    Strings lines;
  } rows[] = {
      {"in two calls", event, eventLine},
      {"purged", capture({"< 80 05 04 01", "- purge"}), {rest + "(purge): 80 05 04 01", "- purge"}},
      {"in the middle of a header",
       capture({"< 80 05", "- close"}),
       {"< NO MESSAGE: 2 of 4 bytes of a header (close): 80 05", "- close"}},
      {"read in part",
       capture({"< 80 05 04 01", "< 00 00 !"}),
       {"< NO MESSAGE: 6 of 9 bytes of evt attclient_procedure_completed (the read ended early, and the "
        "plug-in dropped them): 80 05 04 01 00 00"}},
      {"of which the payload did not come in time",
       capture({"< 80 05 04 01", "< 80 00 08 00"}),
       {rest + "(nothing more came in time): 80 05 04 01",
        "< evt test 0                         no payload  NOT IN THE PROTOCOL"}},
      {"written in part",
       capture({"> 00 06 04 05 01 12 00 02", "> 01 !", "> 00 00 00 08"}),
       {"> NO MESSAGE: 9 of 10 bytes of cmd attclient_attribute_write (the write failed or was stopped; the "
        "dongle "
        "takes what follows for the rest): 00 06 04 05 01 12 00 02 01",
        "> cmd system_get_info"}},
      {"when another section begins",
       capture({"< 80 05 04 01"}) + capture({"- open COM7"}),
       {rest + "(the capture goes on with another section): 80 05 04 01", "- open COM7"}},
      {"damage",
       capture({"< 80 05 04 01"}) + hex("01 02 03 04") + capture({"- open COM7"}),
       {rest + "(bytes of the capture are missing): 80 05 04 01",
        "- DAMAGE: 4 bytes of the file are no capture, and were skipped", "- open COM7"}},
      {"a cut file",
       cut,
       {rest + "(the capture ends): 80 05 04 01",
        "- THE CAPTURE IS CUT: 44 bytes of an entry are left over"}},
      {"a block of which the length is damaged, behind it the end",
       capture({}) + hex("06 00 00 00 F0 FF 00 00") + event,
       Strings{"- DAMAGE: 8 bytes of the file are no capture, and were skipped"} + eventLine},
      {"nothing", capture({}), {"- the capture is empty: no bytes crossed the port"}},
  };
  for (const auto& [name, file, expected] : rows) {
    EXPECT_EQ(lines(file), expected) << name;
  }
}

TEST(Trace, SectionsFollowOneAnotherByTheirWallClocks)
{
  const Bytes file =
      capture({"- open COM7"}, 100) + capture({"- open COM7"}, 90'000) + capture({"- close"}, 50);
  EXPECT_EQ(printed(file, {.format = {.from = 0.0005, .to = 89'900.5}}),
            "    0.001000  +0.000000 - open COM7\n"
            "89900.000000 +89899.999000 - section: the plug-in was loaded at 2026-01-02T01:00:00.000000Z\n"
            "89900.001000  +0.001000 - open COM7\n"
            "89900.001000  +0.000000 - section: the plug-in was loaded at 2026-01-01T00:00:50.000000Z\n"
            "89900.002000  +0.001000 - close\n"
            "89900.002000  +0.000000 - the capture is empty: no bytes crossed the port\n")
      << "a wall clock that was set back doesn't turn the axis around";
}

TEST(Trace, ObjectsHoldNumbersAndTheirMeaning)
{
  EXPECT_EQ(
      printed(capture({"< 00 03 06 03 81 01 01"}),
              {.format = {.isJson = true, .showsWallClock = true, .from = 0.0005}}),
      "{\"t\":0.001,\"wall\":\"2026-01-01T00:00:00.001000Z\",\"dir\":\"in\",\"kind\":\"response\",\"name\":"
      "\"gap_connect_direct\",\"class\":6,\"id\":3,\"fields\":{\"result\":385,\"result_text\":\"wrong "
      "state\",\"connection\":1,\"connection_text\":\"right\"},\"bytes\":\"00 03 06 03 81 01 01\"}\n");
}

// Of the connection with this number: notifications of frames of two packets.
std::string packet(int connection, const char* head)
{
  return "< 80 19 04 05 0" + std::to_string(connection) + " 11 00 01 14 " + head +
         " 00 01 00 09 00 05 00 05 00 05 00 05 00 05 00 05";
}

const Strings frames{"> 00 06 04 05 00 12 00 02 01 00",  // notifications on, of a glove of an old revision
                     packet(0, "30 02 00 FA"),           //
                     packet(0, "01 00 00 05"),           //
                     packet(0, "40 02 01 F4"),           // without the last packet
                     packet(0, "60 02 03 E8"),           // another one was not heard at all
                     packet(0, "01 00 00 05"),           //
                     packet(0, "70 02 04 E2"),           // twice
                     packet(0, "70 02 04 E2"),           //
                     packet(0, "01 00 00 05"),           //
                     packet(0, "80 02 05 DC"),           //
                     "< 80 03 03 04 00 08 02"};

TEST(Trace, ShowsWhatWasHeardOfEachFrame)
{
  const Strings expected{
      "- left: notifications on",
      "left   frame=3      counter=3   ticks=250      clock=250    packets= 2/2   samples=17 min=1     max=9",
      "left   frame=4      counter=4   ticks=500      clock=500    packets= 1/2   MISSING packets 1",
      "left   frame=6      counter=6   ticks=1000     clock=1000   packets= 2/2   AFTER 1 UNHEARD  REFUSED: "
      "the frame before was not complete",
      "left   frame=7      counter=7   ticks=1250     clock=1250   packets= 2/2   REFUSED: packets came as 0 "
      "0-1",
      "left   frame=8      counter=8   ticks=1500     clock=1500   packets= 1/2   MISSING packets 1, and the "
      "connection ended in it",
      "- left: notifications off"};
  EXPECT_EQ(lines(capture(frames), {.content = FrameTrace::Content::frames}), expected);
  EXPECT_EQ(lines(capture(frames), {.filter = {.connection = 1}, .content = FrameTrace::Content::frames}),
            Strings());
  EXPECT_EQ(
      printed(capture(frames), {.content = FrameTrace::Content::books}),
      "1 section, 0.011 s\n"
      "left   name not heard: 5 frames sent, 1 complete, 4 lost (80.0 %): 1 unheard, 1 radio, 2 refused\n");
}

}  // namespace
