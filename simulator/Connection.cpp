#include "simulator/Connection.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "simulator/Wire.h"

namespace simulator {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Duration intervalUnit{1'250};
constexpr Duration packetAirTime{676};
constexpr int eventsOfProcedure = 2;  // request in one connection event, answer in the next
constexpr int intervalsOfUpdate = 6;
constexpr std::size_t maxWriteSize = 20;
constexpr std::uint16_t confirmingRevision = 5;  // of start and end of notifications

enum StatusFlags : std::uint8_t { connected = 0x01, completed = 0x04, parametersChanged = 0x08 };
enum ValueType : std::uint8_t { readValue = 0, notifiedValue = 1 };

}  // namespace

Connection::Connection(VirtualClock& clock, Radio& radio, Glove& glove, std::uint8_t number,
                       ConnectionParameters parameters)
    : clock_(clock), radio_(radio), glove_(glove), number_(number), parameters_(parameters)
{
}

void Connection::establish()
{
  isOpen_ = true;
  anchor_ = clock_.now();
  glove_.connect(*this);
  sendStatus(connected | completed);
}

void Connection::update(ConnectionParameters parameters)
{
  const bool isValid = parameters.areValid();
  if (isValid) {
    after(untilNextEvent() + intervalsOfUpdate * interval(), [this, parameters] {
      if (!glove_.isInRange()) return;
      parameters_ = parameters;
      anchor_ = clock_.now();
      sendStatus(connected | parametersChanged);
    });
  }
  respond(message_class::connection, 2, isValid ? result::success : result::invalidParameter);
}

void Connection::readByHandle(std::uint16_t attribute)
{
  begin({attribute, std::nullopt, eventsOfProcedure}, 4);
}

void Connection::writeAttribute(std::uint16_t attribute, std::span<const std::uint8_t> value)
{
  begin({attribute, std::vector<std::uint8_t>(value.begin(), value.end()), eventsOfProcedure}, 5);
}

void Connection::begin(Procedure procedure, std::uint8_t command)
{
  std::uint16_t outcome = result::success;
  if (procedure.written && procedure.written->size() > maxWriteSize) {
    outcome = result::invalidParameter;
  } else if (procedure_) {
    outcome = result::wrongState;
  } else if (leavesOut(procedure.responseStep())) {
    return;
  } else if (!leavesOut(procedure.endStep())) {
    procedure_ = std::move(procedure);
    scheduleEvent();
  }
  respond(message_class::attclient, command, outcome);
}

std::optional<Step> Connection::Procedure::responseStep() const
{
  if (!written && attribute == handle::version) return Step::versionResponse;
  if (!written && attribute == handle::status) return Step::statusResponse;
  return std::nullopt;
}

std::optional<Step> Connection::Procedure::endStep() const
{
  if (!written && attribute == handle::version) return Step::versionValue;
  if (!written && attribute == handle::status) return Step::statusValue;
  if (written && attribute == handle::configuration && !written->empty()) {
    return written->front() & 1 ? Step::startNotifications : Step::stopNotifications;
  }
  return std::nullopt;
}

bool Connection::leavesOut(std::optional<Step> step) const
{
  return step && glove_.faults.silentAt.contains(*step);
}

void Connection::disconnect()
{
  if (leavesOut(Step::disconnectResponse)) return;
  after(untilNextEvent(), [this] { end(result::endedByHost); });
  respond(message_class::connection, 0, result::success);
}

void Connection::end(std::uint16_t reason)
{
  if (!isOpen_) return;
  const auto self = shared_from_this();
  close();
  radio_.forget(number_);
  radio_.send(MessageWriter::event(message_class::connection, 4).u8(number_).u16(reason).message());
}

void Connection::close()
{
  isOpen_ = false;
  glove_.disconnect();
}

void Connection::packetsWait()
{
  scheduleEvent();
}

void Connection::gloveLeft()
{
  after(parameters_.timeout * milliseconds{10}, [this] {
    if (!glove_.isInRange()) end(result::connectionTimeout);
  });
}

Duration Connection::interval() const
{
  return parameters_.interval * intervalUnit;
}

Duration Connection::untilNextEvent() const
{
  return interval() - (clock_.now() - anchor_) % interval();
}

void Connection::after(Duration delay, std::function<void()> action)
{
  clock_.after(delay, [weak = weak_from_this(), action = std::move(action)] {
    const auto self = weak.lock();
    if (self && self->isOpen_) action();
  });
}

void Connection::scheduleEvent()
{
  if (std::exchange(isEventScheduled_, true)) return;
  after(untilNextEvent(), [this] { runEvent(); });
}

void Connection::runEvent()
{
  isEventScheduled_ = false;
  if (!glove_.isInRange()) return;
  if (procedure_ && procedure_->eventsLeft > 0 && --procedure_->eventsLeft == 0) finishProcedure();
  if (isOpen_) sendPackets();
  if (!isOpen_) return;
  const bool isRequestUnderWay = procedure_ && procedure_->eventsLeft > 0;
  if (isRequestUnderWay || glove_.hasPackets()) scheduleEvent();
}

void Connection::finishProcedure()
{
  if (!glove_.answers()) {
    after(seconds{30}, [this] {
      const std::uint16_t attribute = procedure_->attribute;
      procedure_.reset();
      sendCompleted(result::timeout, attribute);
    });
    return;
  }
  const Procedure procedure = *std::exchange(procedure_, std::nullopt);
  if (procedure.written) {
    const std::uint16_t outcome = glove_.write(procedure.attribute, *procedure.written);
    if (isConfirmed(procedure)) sendCompleted(outcome, procedure.attribute);
    return;
  }
  if (const auto value = glove_.read(procedure.attribute)) {
    sendValue(procedure.attribute, readValue, *value);
  } else {
    sendCompleted(result::invalidHandle, procedure.attribute);
  }
}

bool Connection::isConfirmed(const Procedure& write) const
{
  return write.attribute != handle::configuration || glove_.config.revision >= confirmingRevision;
}

void Connection::sendPackets()
{
  const auto airTime = packetAirTime * static_cast<int>(radio_.connectionCount());
  auto left = std::max<std::int64_t>(1, interval() / airTime);
  for (; left > 0 && isOpen_ && glove_.hasPackets(); --left) {
    sendValue(handle::measurement, notifiedValue, glove_.takePacket());
  }
}

void Connection::respond(std::uint8_t group, std::uint8_t id, std::uint16_t outcome)
{
  radio_.send(MessageWriter::response(group, id).u8(number_).u16(outcome).message());
}

void Connection::sendStatus(std::uint8_t flags)
{
  radio_.send(MessageWriter::event(message_class::connection, 0)
                  .u8(number_)
                  .u8(flags)
                  .bytes(glove_.config.address)
                  .u8(publicAddress)
                  .u16(parameters_.interval)
                  .u16(parameters_.timeout)
                  .u16(parameters_.latency)
                  .u8(noBonding)
                  .message());
}

void Connection::sendValue(std::uint16_t attribute, std::uint8_t type, std::span<const std::uint8_t> value)
{
  radio_.send(MessageWriter::event(message_class::attclient, 5)
                  .u8(number_)
                  .u16(attribute)
                  .u8(type)
                  .array(value)
                  .message());
}

void Connection::sendCompleted(std::uint16_t outcome, std::uint16_t attribute)
{
  radio_.send(
      MessageWriter::event(message_class::attclient, 1).u8(number_).u16(outcome).u16(attribute).message());
}

}  // namespace simulator
