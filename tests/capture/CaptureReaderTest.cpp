#include "host/capture/CaptureReader.h"

#include <gtest/gtest.h>

#include "tests/support/Hex.h"

namespace {

constexpr const char* section =
    "0A 0D 0D 0A 64 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 01 00 3F 00 "
    // tessel-capture 1 wall=1700000005000000000ns uptime=5000000000ns
    "74 65 73 73 65 6C 2D 63 61 70 74 75 72 65 20 31 20 77 61 6C 6C 3D 31 37 30 30 30 30 30 30 30 35 30 30 "
    "30 30 "
    "30 30 30 30 30 6E 73 20 75 70 74 69 6D 65 3D 35 30 30 30 30 30 30 30 30 30 6E 73 00 00 00 00 00 64 00 "
    "00 00 ";
constexpr const char* interface =
    "01 00 00 00 2C 00 00 00 93 00 00 00 00 00 00 00 02 00 06 00 64 6F 6E 67 6C 65 00 00 09 00 01 00 09 00 "
    "00 00 00 00 00 00 2C 00 00 00 ";
constexpr const char* openNote =
    "06 00 00 00 34 00 00 00 00 00 00 00 FF 9C 97 17 01 F2 2F 60 00 00 00 00 00 00 00 00 "
    "01 00 09 00 6F 70 65 6E 20 43 4F 4D 37 00 00 00 00 00 00 00 34 00 00 00 ";
// 20 ms after the beginning
constexpr const char* received =
    "06 00 00 00 34 00 00 00 00 00 00 00 FF 9C 97 17 00 1F 61 61 05 00 00 00 05 00 00 00 "
    "80 19 04 05 00 00 00 00 02 00 04 00 01 00 00 00 00 00 00 00 34 00 00 00 ";
constexpr const char* sent =
    "06 00 00 00 30 00 00 00 00 00 00 00 FF 9C 97 17 01 1F 61 61 04 00 00 00 04 00 00 00 "
    "00 01 09 00 02 00 04 00 02 00 00 00 00 00 00 00 30 00 00 00 ";
constexpr const char* incomplete =
    "06 00 00 00 40 00 00 00 00 00 00 00 FF 9C 97 17 00 B4 1B 6C 03 00 00 00 03 00 00 00 "
    "01 02 03 00 02 00 04 00 01 00 00 00 01 00 0A 00 69 6E 63 6F 6D 70 6C 65 74 65 00 00 00 00 00 00 40 00 "
    "00 00 ";

std::string join(std::initializer_list<const char*> pieces)
{
  std::string text;
  for (const char* piece : pieces)
    text += piece;
  return text;
}

// "kind time bytes text"
std::string describe(const CaptureBlock& block)
{
  constexpr const char* kinds[] = {"section", "<", ">", "note"};
  std::string text = kinds[static_cast<int>(block.kind)];
  text.append(" ").append(std::to_string(block.time.count()));
  if (!block.bytes.empty()) text.append(" ").append(toHex(block.bytes));
  if (block.kind == CaptureBlock::Kind::section) return text;
  if (!block.text.empty()) text.append(" ").append(block.text);
  return text;
}

std::vector<std::string> drain(CaptureReader& reader)
{
  std::vector<std::string> blocks;
  while (const auto block = reader.next())
    blocks.push_back(describe(*block));
  return blocks;
}

const std::string whole = join({section, interface, openNote, received, sent, incomplete});
const std::vector<std::string> wholeBlocks{"section 5000000000", "note 5000000001 open COM7",
                                           "< 5020000000 80 19 04 05 00", "> 5020000001 00 01 09 00",
                                           "< 5200000000 01 02 03 incomplete"};

TEST(CaptureReader, ReadsUpToACutAnywhereAndGoesOnWhenTheRestComes)
{
  const Bytes bytes = hex(whole);
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    CaptureReader reader;
    reader.add(std::span(bytes).first(cut));
    std::vector<std::string> blocks = drain(reader);
    EXPECT_TRUE(std::equal(blocks.begin(), blocks.end(), wholeBlocks.begin())) << cut;
    EXPECT_EQ(reader.skippedBytes(), 0U) << cut;
    EXPECT_LT(reader.unfinishedBytes(), 100U) << cut;
    reader.add(std::span(bytes).subspan(cut));
    for (std::string& block : drain(reader))
      blocks.push_back(std::move(block));
    EXPECT_EQ(blocks, wholeBlocks) << cut;
    EXPECT_EQ(reader.unfinishedBytes(), 0U) << cut;
  }
}

TEST(CaptureReader, ReadsWhatOtherToolsAndAccidentsMakeOfACapture)
{
  const std::string plain =
      "0A 0D 0D 0A 1C 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 1C 00 00 00 ";
  const std::string microseconds = "01 00 00 00 14 00 00 00 93 00 00 00 00 00 00 00 14 00 00 00 ";
  const std::string inbound = "02 00 04 00 01 00 00 00 00 00 00 00 ";
  const auto packet = [&](const std::string& interfaceTimeAndSizes) {
    std::string text = "06 00 00 00 30 00 00 00 ";
    return text.append(interfaceTimeAndSizes).append("AA BB 00 00 ").append(inbound).append("30 00 00 00 ");
  };
  const std::string sizes = "02 00 00 00 02 00 00 00 ";
  const struct {
    const char* name;
    std::string bytes;
    std::string blocks;  // each before a semicolon
    std::uint64_t skipped = 0;
  } cases[] = {
      {"garbage only", "01 02 03 04 05 06 07 08 09 0A 0B 0C", "", 1},
      {"packets without a section", join({received, sent}), "", 0x34 + 0x30 - 11},
      {"garbage between blocks",
       join({section, interface, "01 02 03 ", received, "06 00 00 00 10 00 ", sent}),
       wholeBlocks[0] + ";" + wholeBlocks[2] + ";" + wholeBlocks[3] + ";", 9},
      {"a torn block, then another section",
       join({section, interface, "06 00 00 00 34 00 00 00 00 00 00 00 FF 9C 97 17 ", section, interface,
             sent}),
       wholeBlocks[0] + ";" + wholeBlocks[0] + ";" + wholeBlocks[3] + ";", 16},
      {"a length of 4 GB", join({section, interface, "06 00 00 00 FC FF FF FF ", sent}),
       wholeBlocks[0] + ";" + wholeBlocks[3] + ";", 8},
      {"blocks of other tools",
       join({section, "0A 00 00 00 10 00 00 00 01 02 03 04 10 00 00 00 ", interface, sent}),
       wholeBlocks[0] + ";" + wholeBlocks[3] + ";"},
      {"no clocks: times as they are", plain + interface + received,
       "section 0;< 1700000005020000000 80 19 04 05 00;"},
      {"microseconds", plain + microseconds + packet("00 00 00 00 01 00 00 00 02 00 00 00 " + sizes),
       "section 0;< 4294967298000 AA BB;"},
      {"units of 1/1024 s and an offset of 3 s",
       plain +
           "01 00 00 00 2C 00 00 00 93 00 00 00 00 00 00 00 09 00 01 00 8A 00 00 00 "
           "0E 00 08 00 03 00 00 00 00 00 00 00 00 00 00 00 2C 00 00 00 " +
           packet("00 00 00 00 00 00 00 00 00 02 00 00 " + sizes),
       "section 0;< 3500000000 AA BB;"},
      {"an interface that was not described",
       plain + microseconds + packet("01 00 00 00 00 00 00 00 00 00 00 00 " + sizes), "section 0;"},
      {"another link type",
       plain + "01 00 00 00 14 00 00 00 01 00 00 00 00 00 00 00 14 00 00 00 " +
           packet("00 00 00 00 00 00 00 00 00 00 00 00 " + sizes),
       "section 0;"},
      {"a packet that was cut",
       plain + microseconds + packet("00 00 00 00 00 00 00 00 07 00 00 00 02 00 00 00 03 00 00 00 "),
       "section 0;note 7000 lost 1 blocks;"},
      {"data longer than its block",
       plain + microseconds + packet("00 00 00 00 00 00 00 00 07 00 00 00 FF 00 00 00 FF 00 00 00 ") + plain,
       "section 0;section 0;", 0x30},
      {"an option longer than its block",
       plain + microseconds +
           "06 00 00 00 28 00 00 00 00 00 00 00 00 00 00 00 07 00 00 00 00 00 00 00 00 00 00 00 01 00 FF 00 "
           "61 62 63 64 28 00 00 00",
       "section 0;"},
      {"big-endian",
       "0A 0D 0D 0A 00 00 00 1C 1A 2B 3C 4D 00 01 00 00 FF FF FF FF FF FF FF FF 00 00 00 1C "
       "00 00 00 01 00 00 00 20 00 93 00 00 00 00 00 00 00 09 00 01 09 00 00 00 00 00 00 00 00 00 00 20 "
       "00 00 00 06 00 00 00 30 00 00 00 00 00 00 00 01 00 00 00 02 00 00 00 02 00 00 00 02 AA BB 00 00 00 "
       "02 00 04 00 00 00 02 00 00 00 00 00 00 00 30",
       "section 0;> 4294967298 AA BB;"},
  };
  for (const auto& [name, bytes, blocks, skipped] : cases) {
    CaptureReader reader;
    reader.add(hex(bytes));
    std::string read;
    for (const std::string& block : drain(reader))
      read += block + ';';
    EXPECT_EQ(read, blocks) << name;
    EXPECT_EQ(reader.skippedBytes(), skipped) << name;
  }
}

}  // namespace
