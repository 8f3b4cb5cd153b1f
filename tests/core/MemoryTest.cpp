// The plug-in without memory: in each of its operations each allocation fails in turn, alone or with all that
// follow. Nothing is lost that was promised, nothing leaks, and the next use works.

#include <optional>
#include <set>

#include "shared/PluginApi.h"
#include "tests/core/CoreFixture.h"
#include "tests/support/FailingMemory.h"

namespace {

using Rest = FailingMemory::Rest;

constexpr std::size_t perGlove = 125;
const std::string settingsText =
    "FileVersion\t\"of a day with rain\"\nTesselElementCount\t250\nTesselNumSensors\t2\n"
    "TesselNumBleModules\t2\nTesselMetaData\t\"left and right, both tight\"\nTesselExecDelay\t7\n"
    "TesselSerialNumber\t2 17 18\n";

// Enough for all records of a test, so that the host allocates nothing.
class Store final : public RecordBuffer {
 public:
  using Elements = std::array<std::uint16_t, 2 * perGlove>;

  Store()
  {
    map.data_ = row_.data();
    map.size_ = row_.size();
    map.buffer_ = this;
    records.reserve(1000);
  }
  void advance() override
  {
    if (records.size() < records.capacity()) records.push_back(row_);
  }
  unsigned short* writePointer() override { return row_.data(); }
  std::uint32_t* stampCell() override { return &timestamp_; }

  ReorderingMap<unsigned short> map;
  std::vector<Elements> records;

 private:
  Elements row_{};
  std::uint32_t timestamp_ = 0;
};

// A host with its plug-in and two gloves.
class Host : public CoreTest {
 public:
  explicit Host(std::int32_t logLevel)
  {
    log_.setLevel(logLevel);
    gloves_ = {&addGlove("KVXGL00017", 1), &addGlove("KVXGR00018", 2)};
    for (std::size_t glove = 0; glove < gloves_.size(); ++glove) {
      gloves_[glove]->onFrame = [this, glove](const simulator::SentFrame& frame) {
        sampled[glove].push_back(frame.samples);
      };
    }
  }
  ~Host() override
  {
    plugin::release(object);
    const FreshStatics emptied;
  }
  void TestBody() override {}

  void create()
  {
    object = plugin::create(file.c_str(), &CoreTest::clock, L"a host with a long name");
    object->mapping_ = &store.map;
  }
  void open()
  {
    if (object == nullptr) create();
    ASSERT_EQ(object->configure(), 0) << testing::PrintToString(object->lastError_);
  }
  void reopen()
  {
    EXPECT_TRUE(plugin::release(std::exchange(object, nullptr)));
    EXPECT_TRUE(platform_.open.empty());
    open();
  }
  // The gloves work.
  void expectRecords()
  {
    const std::size_t before = store.records.size();
    read(300);
    EXPECT_GT(store.records.size(), before + 7);
  }
  void read(std::int64_t ms)
  {
    for (const std::int64_t end = nowMs() + ms; nowMs() < end;) {
      try {
        ASSERT_EQ(object->readRecord(), 0);
      } catch (const std::bad_alloc&) {
        ++thrown;
      }
    }
  }
  bool isAnyConnected() const { return std::ranges::any_of(gloves_, &simulator::Glove::isConnected); }

  const std::wstring file = folder_.write("settings", settingsText);
  HwInterface* object = nullptr;
  std::array<std::vector<std::vector<std::uint16_t>>, 2> sampled;  // frames of each glove
  Store store;
  std::optional<std::int32_t> result;  // of what was run; none if it threw
  std::wstring reply;
  unsigned thrown = 0;
  Rest rest = Rest::succeeds;

 private:
  std::array<simulator::Glove*, 2> gloves_{};
};

// Of a run in which nothing failed.
struct Whole {
  std::uint64_t allocations = 0;
  std::optional<std::int32_t> result;
  std::wstring reply;
  std::size_t records = 0;
  std::string saved;
};

struct Operation {
  std::string name;
  std::function<void(Host&)> prepare;
  std::function<void(Host&)> run;                             // throws nothing but std::bad_alloc
  std::function<void(Host& host, const Whole& whole)> check;  // with memory again
};

void expectSettings(const HwInterface& object)
{
  EXPECT_EQ(object.metaData_, L"left and right, both tight");
  EXPECT_EQ(const_cast<HwInterface&>(object).getNativeSize(), 2 * perGlove);
  EXPECT_EQ(const_cast<HwInterface&>(object).getExecDelay(), 7);
}

void checkCreated(Host& host, const Whole&)
{
  if (host.object == nullptr) host.create();
  expectSettings(*host.object);
  host.open();
  host.expectRecords();
}

void checkConfigured(Host& host, const Whole&)
{
  if (!host.result && host.rest == Rest::succeeds) {
    host.open();  // thrown before there was a link: later errors are reported
  } else if (!host.result) {
    host.reopen();
  } else if (*host.result != 0) {
    EXPECT_EQ(host.object->lastError_, L"Unhandled exception trying to connect over BLE");
    host.reopen();
  }
  host.expectRecords();
}

// A read that fails costs the frame that it completed, like a frame that was lost on the way.
void checkRead(Host& host, const Whole& whole)
{
  for (std::size_t glove = 0; glove < host.sampled.size(); ++glove) {
    const auto& sampled = host.sampled[glove];
    auto next = sampled.begin();
    for (const auto& record : host.store.records) {
      const std::span own = std::span(record).subspan(glove * perGlove, perGlove);
      next =
          std::find_if(next, sampled.end(), [&](const auto& each) { return std::ranges::equal(each, own); });
      ASSERT_NE(next++, sampled.end()) << "a frame that the glove did not sample, or out of order";
    }
  }
  EXPECT_LE(whole.records, host.store.records.size() + host.thrown);
  host.expectRecords();
}

void checkSaved(Host& host, const Whole& whole)
{
  const std::string saved = whole.saved;
  const std::string text = host.folder_.read("settings");
  EXPECT_TRUE(text == (host.result == 1 ? saved : settingsText)) << text;
  expectSettings(*host.object);
  EXPECT_TRUE(host.object->saveParameters(nullptr));
  EXPECT_EQ(host.folder_.read("settings"), saved);
}

void checkClosed(Host& host, const Whole&)
{
  EXPECT_TRUE(host.platform_.open.empty());
  platform::sleep(100);
  EXPECT_FALSE(host.isAnyConnected());
  plugin::release(std::exchange(host.object, nullptr));
  host.open();
  host.expectRecords();
}

const auto create = [](Host& host) { host.create(); };
const auto open = [](Host& host) { host.open(); };

// The reply is whole, or there is none.
Operation command(const wchar_t* text)
{
  return {"sendCommand " + std::string(text, text + std::wcslen(text)), open,
          [text](Host& host) { host.result = host.object->sendCommand(text, host.reply); },
          [text](Host& host, const Whole& whole) {
            if (host.result) {
              EXPECT_EQ(host.result, whole.result);
              EXPECT_EQ(host.reply, whole.reply);
            }
            EXPECT_EQ(host.object->sendCommand(text, host.reply), whole.result);
            EXPECT_EQ(host.reply, whole.reply);
            host.read(600);  // which sends it
          }};
}

const Operation operations[] = {
    {"create", [](Host&) {}, create, checkCreated},
    {"configure", create, [](Host& host) { host.result = host.object->configure(); }, checkConfigured},
    {"readRecord, for half a second", open, [](Host& host) { host.read(500); }, checkRead},
    command(L"GetModuleMap"),
    command(L"GetFirmwareVersion"),
    command(L"Identify"),
    command(L"BatteryLevel"),
    command(L"AutoTune"),
    command(L"SensorSelect 2"),
    command(L"SetSerialNumber,1,54321"),
    command(L"SetSerialNumber,1"),
    {"saveParameters", create, [](Host& host) { host.result = host.object->saveParameters(nullptr); },
     checkSaved},
    {"close", open, [](Host& host) { host.result = host.object->close(); }, checkClosed},
    {"release", open,
     [](Host& host) {
       EXPECT_TRUE(plugin::release(host.object));
       host.object = nullptr;
     },
     checkClosed},
};

// With the `first` allocation failing. Returns whether that was reached.
bool fail(const Operation& operation, Host& host, std::uint64_t first, Rest rest, std::uint64_t& allocations)
{
  host.rest = rest;
  const FailingMemory failing(first, rest, &host.platform_.simulating);
  try {
    operation.run(host);
  } catch (const std::bad_alloc&) {
    ++host.thrown;
  }
  allocations = failing.allocations();
  return failing.hasFailed();
}

Whole runWhole(const Operation& operation, std::int32_t logLevel)
{
  Whole whole;
  Host host(logLevel);
  operation.prepare(host);
  EXPECT_FALSE(fail(operation, host, ~std::uint64_t{0}, Rest::fails, whole.allocations));
  whole.result = host.result;
  whole.reply = host.reply;
  whole.records = host.store.records.size();
  whole.saved = host.folder_.read("settings");
  operation.check(host, whole);
  return whole;
}

class Memory : public testing::TestWithParam<std::int32_t> {};

INSTANTIATE_TEST_SUITE_P(LogLevel, Memory, testing::Values(0, 2));

TEST_P(Memory, EachAllocationCanFail)
{
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    const Whole whole = runWhole(operation, GetParam());
    for (const Rest rest : {Rest::succeeds, Rest::fails}) {
      bool hasFailed = true;
      for (std::uint64_t first = 1; hasFailed; ++first) {
        SCOPED_TRACE(std::to_string(first) + (rest == Rest::fails ? " and all that follow" : ""));
        const std::int64_t before = livingAllocations();
        {
          Host host(GetParam());
          operation.prepare(host);
          std::uint64_t ignored = 0;
          hasFailed = fail(operation, host, first, rest, ignored);
          operation.check(host, whole);
        }
        EXPECT_EQ(livingAllocations(), before) << "a leak";
        if (HasFailure()) return;
      }
    }
    std::printf("%6llu allocations: %s\n", static_cast<unsigned long long>(whole.allocations),
                operation.name.c_str());
  }
}

}  // namespace
