// A hardware object with a simulated dongle and its host environment: clock, settings file, record store.
#pragma once

#include "HWTessel.h"
#include "Settings.h"
#include "tests/link/LinkFixture.h"
#include "tests/support/HostRecord.h"
#include "tests/support/TemporaryFolder.h"

// Exposes internal state.
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

  // Resets the settings to those of a library that was just loaded.
  static void resetSettings() { settings::current = {}; }

  // Creates an object from a settings file with these lines.
  void make(const std::string& lines)
  {
    tessel_.reset();
    tessel_ =
        std::make_unique<OpenTessel>(folder_.write("settings", lines).c_str(), &CoreTest::clock, L"host");
  }

  // Installs a record store for the object.
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
  std::uint32_t clockOffset_ = 0;  // the host's clock at the start of the test

 private:
  static inline CoreTest* currentTest = nullptr;
};
