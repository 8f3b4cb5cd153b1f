// The classes shared by host and plug-in: order of virtual operations, the map, saving, errors.

#include <gtest/gtest.h>

#include "shared/HwInterface.h"
#include "tests/core/HostView.h"
#include "tests/support/HostLog.h"
#include "tests/support/HostRecord.h"

namespace {

// Records which operation was called.
class Noting : public HwInterface {
 public:
  Noting() : HwInterface(L"file", nullptr, L"host") {}
  ~Noting() override { called = "destructor"; }
  std::uint64_t getSize() override { return note("getSize"); }
  std::uint64_t getNativeSize() override { return note("getNativeSize"); }
  std::int32_t sendCommand(const wchar_t*, std::wstring&) override { return note("sendCommand"); }
  std::int32_t getMaxValue() override { return note("getMaxValue"); }
  std::int32_t getFixedValue() override { return note("getFixedValue"); }
  std::int32_t getExecDelay() override { return note("getExecDelay"); }
  std::int32_t optionalQuery() override { return note("optionalQuery"); }
  void signalShutdown() override { note("signalShutdown"); }
  std::int32_t configure() override { return note("configure"); }
  std::int32_t readRecord() override { return note("readRecord"); }
  std::int32_t optionalOperation() override { return note("optionalOperation"); }
  std::int32_t close() override { return note("close"); }
  bool saveParameters(const wchar_t*) override { return note("saveParameters") == 0; }
  std::int32_t reportError(std::wstring) override { return note("reportError"); }
  void syncParameters(std::wstring, std::wstring) override { note("syncParameters"); }

  static std::string called;

 private:
  static std::uint8_t note(const char* name)
  {
    called = name;
    return 0;
  }
};
std::string Noting::called;

class Contract : public testing::Test {
 protected:
  HostLog log_{1};
};

TEST_F(Contract, TheVirtualOperationsAreInTheOrderThatHostsExpect)
{
  EXPECT_EQ(callInOrder(new Noting, Noting::called),
            (std::vector<std::string>{"getSize", "getNativeSize", "sendCommand", "getMaxValue",
                                      "getFixedValue", "getExecDelay", "optionalQuery", "signalShutdown",
                                      "configure", "readRecord", "optionalOperation", "close",
                                      "saveParameters", "reportError", "syncParameters", "destructor"}));
}

// A plug-in that overrides nothing optional.
class Plain : public HwInterface {
 public:
  explicit Plain(const wchar_t* file) : HwInterface(file, nullptr, L"host") {}
  std::uint64_t getNativeSize() override { return 7; }
  std::int32_t getMaxValue() override { return 1; }
  void syncParameters(std::wstring oldFile, std::wstring newFile) override
  {
    synced = oldFile + L">" + newFile;
  }
  std::wstring synced;
};

TEST_F(Contract, TheFieldsAreInTheirOrder)
{
  Plain object(L"file");
  const auto* const begin = reinterpret_cast<const char*>(&object);
  const auto offset = [begin](const auto& field) { return reinterpret_cast<const char*>(&field) - begin; };
  const auto text = static_cast<std::ptrdiff_t>(sizeof(std::wstring));
  EXPECT_EQ(offset(object.mapping_), 8);
  EXPECT_EQ(offset(object.clock_), 16);
  EXPECT_EQ(offset(object.fixedValue_), 24);
  EXPECT_EQ(offset(object.lastError_), 32);
  EXPECT_EQ(offset(object.hostText_), 32 + text);
  EXPECT_EQ(offset(object.configFile_), 32 + 2 * text);
  EXPECT_EQ(offset(object.metaData_), 32 + 3 * text);
}

TEST_F(Contract, APlainPluginReturnsTheDefaults)
{
  Plain object(L"file");
  std::wstring reply = L"before";
  EXPECT_EQ(object.sendCommand(L"anything", reply), -1);
  EXPECT_EQ(reply, L"before");
  EXPECT_EQ(object.getFixedValue(), 1);
  EXPECT_EQ(object.getExecDelay() + object.optionalQuery() + object.configure() + object.readRecord() +
                object.close(),
            0);
  EXPECT_EQ(object.optionalOperation(), -1);
  EXPECT_EQ(object.hostText_, L"host");
  EXPECT_EQ(object.getSize(), 7U);
  EXPECT_THROW(object.getRecord(), const wchar_t*);
  HostRecord record(3);
  object.mapping_ = &record.map;
  EXPECT_EQ(object.getSize(), 3U) << "the host's size, also if it differs";
  EXPECT_EQ(&object.getRecord(), &record.map);
}

TEST_F(Contract, TheMapAssignsPositionsToElementsOrToTheSpareCell)
{
  const struct {
    std::vector<std::int32_t> indices;
    std::vector<unsigned short> elements;
    unsigned short spare;
  } cases[] = {{{}, {10, 11, 12, 13}, 0},
               {{2, -1, 0}, {12, HostRecord::untouched, 10, HostRecord::untouched}, 13},
               {{3, 3}, {HostRecord::untouched, HostRecord::untouched, HostRecord::untouched, 11}, 13}};
  for (const auto& [indices, elements, spare] : cases) {
    HostRecord record(4, indices);
    for (std::uint32_t k = 0; k < 4; ++k) {
      record.map[k] = static_cast<unsigned short>(10 + k);
    }
    EXPECT_EQ(std::vector(record.map.data_, record.map.data_ + 4), elements);
    EXPECT_EQ(record.map.spare_, spare);
    record.map.data_ = nullptr;
    EXPECT_THROW(record.map[0], const wchar_t*);
  }
}

TEST_F(Contract, SavingSyncsFirstAndKeepsTheNewName)
{
  const TemporaryFolder folder;
  const std::wstring first = folder.wide() + L"first";
  const std::wstring second = folder.wide() + L"second";
  Plain object(first.c_str());
  object.saveParameters(nullptr);
  EXPECT_EQ(object.synced, first + L">" + first);
  object.saveParameters(L"");
  EXPECT_EQ(object.configFile_, first);
  object.saveParameters(second.c_str());
  EXPECT_EQ(object.synced, first + L">" + second);
  EXPECT_FALSE(object.saveParameters((folder.wide() + L"none/file").c_str()));
  EXPECT_EQ(object.configFile_, folder.wide() + L"none/file");
}

TEST_F(Contract, AnErrorIsKeptAndLogged)
{
  {
    Plain object(L"file");
    log_.manager->add(&object, L"Plain");
    EXPECT_EQ(object.reportError(L"no glove"), -1);
    EXPECT_EQ(object.lastError_, L"no glove");
    EXPECT_EQ(object.reportError(L""), -1);
    EXPECT_EQ(object.lastError_, L"");
  }
  EXPECT_EQ(log_.entries("Plain"), "ERROR: no glove\nERROR: \nDeleting Hardware Interface\n");
}

}  // namespace
