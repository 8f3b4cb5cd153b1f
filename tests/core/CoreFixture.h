// A glove object over a simulated dongle, with the host around it: clock, settings file, record store.
#pragma once

#include "HWTessel.h"
#include "Settings.h"
#include "tests/link/LinkFixture.h"
#include "tests/support/HostRecord.h"
#include "tests/support/TemporaryFolder.h"

// What is kept and decided inside shows here.
class OpenTessel : public HWTessel {
 public:
  using HWTessel::bleDevice_, HWTessel::HWTessel, HWTessel::lostFrames_, HWTessel::moduleElemCount_,
      HWTessel::openingError, HWTessel::serialFilter_, HWTessel::elemCount_, HWTessel::settings_;
};

class CoreTest : public DongleTest {
 public:
  CoreTest()
  {
    currentTest = this;
    resetSettings();
  }
  ~CoreTest() override { resetSettings(); }

  // The settings as a library that was just loaded has them.
  static void resetSettings() { settings::current = {}; }

  // An object from a settings file with these lines.
  void make(const std::string& lines)
  {
    tessel_.reset();
    tessel_ =
        std::make_unique<OpenTessel>(folder_.write("settings", lines).c_str(), &CoreTest::clock, L"host");
  }

  // Gives the object a record store.
  void install(std::vector<std::int32_t> indices = {})
  {
    record_ = std::make_unique<HostRecord>(tessel_->getNativeSize(), std::move(indices));
    tessel_->mapping_ = &record_->map;
  }

  static std::uint32_t clock()
  {
    return currentTest->clockOffset_ + static_cast<std::uint32_t>(currentTest->nowMs());
  }

  TemporaryFolder folder_;
  std::unique_ptr<OpenTessel> tessel_;
  std::unique_ptr<HostRecord> record_;
  std::uint32_t clockOffset_ = 0;  // what the host's clock shows when the test begins

 private:
  static inline CoreTest* currentTest = nullptr;
};
