#include "tests/ledger/VirtualConnector.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "host/base/Text.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/OpeningFailure.h"
#include "host/gloves/Ports.h"
#include "host/gloves/SettingsFile.h"

using namespace std::chrono_literals;

namespace {

constexpr auto tickInterval = 100ms;
// The program's pipe is emptied as often.
constexpr auto captureInterval = 100ms;
// As long as `tessel record` lets gloves be out of range.
constexpr auto patience = 12s;

}  // namespace

// In place of the operating system's.
std::vector<Port> listPorts()
{
  return {};
}

std::optional<std::string> portsVariable()
{
  return std::nullopt;
}

class VirtualConnector::Source final : public RecordSource {
 public:
  explicit Source(VirtualConnector& connector) : connector_(connector) {}

  bool read() override
  {
    SimulatedPlatform& platform = connector_.gloves_.platform();
    link_.beginRead(platform.uptime());
    auto [hasFailed, record] = connector_.plugin_->read();
    const bool isNew = record.has_value();
    if (isNew) connector_.delivered.push_back({connector_.connections_ - 1, std::move(*record)});
    const LinkWatch::Verdict verdict = link_.endRead(platform.uptime(), hasFailed ? TurnResult::failed
                                                                        : isNew   ? TurnResult::record
                                                                                  : TurnResult::nothing);
    if (platform.uptime() >= connector_.nextPass_) connector_.passCapture();
    if (hasFailed && !connector_.gloves_.port().present) throw linkFailure(LinkWatch::Verdict::silent);
    if (verdict != LinkWatch::Verdict::alive) throw linkFailure(verdict);
    return isNew;
  }
  void close() override { connector_.plugin_->close(); }
  const plugin::RecordStore& store() const override { return connector_.plugin_->store(); }
  const LinkWatch& link() const override { return link_; }
  Failure linkFailure(LinkWatch::Verdict) const override
  {
    const bool isThere = connector_.gloves_.port().present;
    return {ExitCode::silence, isThere ? "the gloves stopped sending." : "the dongle is gone.", ""};
  }
  std::optional<double> battery() override { return std::nullopt; }

 private:
  VirtualConnector& connector_;
  LinkWatch link_{patience};
};

VirtualConnector::VirtualConnector(VirtualGloves& gloves, LiveAccounts* accounts,
                                   const settings::Values& settings)
    : gloves_(gloves), accounts_(accounts), settings_(settings)
{
}

VirtualConnector::~VirtualConnector() = default;

RecordSource& VirtualConnector::connect(const GoesOn& goesOn)
{
  disconnect();
  try {
    plugin_ = std::make_unique<VirtualPlugin>(gloves_, settingsText(settings_));
    open(goesOn);
    if (const auto names = modules(); !accepted_.empty() && names != accepted_) {
      throw OpeningFailure(
          ExitCode::noGloves,
          fmt::format("{} answered instead of {}.", fmt::join(names, " and "), fmt::join(accepted_, " and ")),
          "", true);
    }
  } catch (...) {
    disconnect();
    throw;
  }
  if (accounts_ != nullptr) accounts_->forgetHeard();
  ++connections_;
  source_ = std::make_unique<Source>(*this);
  return *source_;
}

void VirtualConnector::open(const GoesOn& goesOn)
{
  bool isGivenUp = !goesOn();
  std::exception_ptr error;
  const auto life = std::make_shared<const bool>(true);
  repeat(life, [&] {
    passCapture();
    try {
      isGivenUp = isGivenUp || !goesOn();
    } catch (...) {
      error = std::current_exception();
      isGivenUp = true;
    }
    if (isGivenUp) plugin_->signalShutdown();
  });
  const auto words = isGivenUp ? std::nullopt : plugin_->open();
  if (error) std::rethrow_exception(error);
  if (isGivenUp) throw Failure(ExitCode::interrupted, "interrupted before the gloves were ready.", "");
  if (words) throw openingFailure(oneLine(*words), true);
}

void VirtualConnector::repeat(const std::weak_ptr<const bool>& life, const std::function<void()>& tick)
{
  gloves_.platform().clock.after(tickInterval, [this, life, tick] {
    if (life.expired()) return;
    tick();
    repeat(life, tick);
  });
}

void VirtualConnector::disconnect()
{
  source_.reset();
  plugin_.reset();
  passCapture();
  if (accounts_ != nullptr) accounts_->settle();
}

std::optional<HeardDevices> VirtualConnector::heard() const
{
  return accounts_ == nullptr ? std::nullopt : std::optional(accounts_->snapshot().heard);
}

void VirtualConnector::acceptNoOthers()
{
  accepted_ = modules();
  std::vector<std::int32_t> numbers;
  std::ranges::transform(accepted_, std::back_inserter(numbers), serialNumberOfModule);
  const auto canBeFiltered = [](std::int32_t number) { return number >= 1 && number <= 65534; };
  if (std::ranges::all_of(numbers, canBeFiltered)) settings_.serialNumber = numbers;
}

std::vector<std::string> VirtualConnector::modules()
{
  return parseModuleMap(plugin_->ask(L"GetModuleMap"));
}

void VirtualConnector::passCapture()
{
  const auto bytes = gloves_.takeCapture();
  if (accounts_ != nullptr) accounts_->receive(bytes);
  nextPass_ = gloves_.platform().latestUptime() + captureInterval;
}
