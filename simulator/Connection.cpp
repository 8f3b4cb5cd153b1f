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
constexpr int eventsOfRequest = 2;  // request in one connection event, answer in the next
constexpr int intervalsOfUpdate = 6;
constexpr std::size_t maxWriteCommands = 10;  // that wait for a connection event

enum StatusFlags : std::uint8_t { connected = 0x01, completed = 0x04, parametersChanged = 0x08 };

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

void Connection::exchangeVersions()
{
  constexpr std::uint8_t bluetooth40 = 6;
  constexpr std::uint16_t noCompany = 0xFFFF;
  after(untilNextEvent() + interval(), [this] {
    if (!glove_.isInRange()) return;
    radio_.send(MessageWriter::event(message_class::connection, 1)
                    .u8(number_)
                    .u8(bluetooth40)
                    .u16(noCompany)
                    .u16(0)
                    .message());
  });
  respond(message_class::connection, 3, result::success);
}

void Connection::begin(std::unique_ptr<GattProcedure> procedure, std::uint8_t command)
{
  std::uint16_t outcome = result::success;
  if (!procedure) {
    outcome = result::invalidParameter;
  } else if (procedure_) {
    outcome = result::wrongState;
  } else if (leavesOut(procedure->responseStep())) {
    return;
  } else if (!leavesOut(procedure->endStep())) {
    procedure_ = std::move(procedure);
    eventsLeft_ = eventsOfRequest;
    scheduleEvent();
  }
  respond(message_class::attclient, command, outcome);
}

// No procedure: it waits for nothing, and the glove reports nothing.
void Connection::writeCommand(std::uint16_t attribute, std::span<const std::uint8_t> value)
{
  std::uint16_t outcome = result::success;
  if (value.size() > maxWrittenSize) {
    outcome = result::invalidParameter;
  } else if (writeCommands_.size() == maxWriteCommands) {
    outcome = result::outOfMemory;
  } else {
    writeCommands_.push_back({attribute, {value.begin(), value.end()}});
    scheduleEvent();
  }
  respond(message_class::attclient, 6, outcome);
}

bool Connection::leavesOut(std::optional<Step> step) const
{
  return step && glove_.faults.silentAt.contains(*step);
}

void Connection::reportStatus()
{
  sendStatus(connected);
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
  if (procedure_ && eventsLeft_ > 0 && --eventsLeft_ == 0) takeAnswer();
  if (isOpen_) sendWriteCommands();
  if (isOpen_) sendPackets();
  if (!isOpen_) return;
  const bool isRequestUnderWay = procedure_ && eventsLeft_ > 0;
  if (isRequestUnderWay || !writeCommands_.empty() || glove_.hasPackets()) scheduleEvent();
}

void Connection::takeAnswer()
{
  if (!glove_.answers()) {
    after(seconds{30},
          [this] { radio_.send(std::exchange(procedure_, nullptr)->completed(result::timeout)); });
    return;
  }
  auto [messages, isLast] = procedure_->takeAnswer(glove_);
  if (isLast) {
    procedure_.reset();
  } else {
    eventsLeft_ = eventsOfRequest;
  }
  for (Message& message : messages) {
    if (isOpen_) radio_.send(std::move(message));
  }
}

void Connection::sendWriteCommands()
{
  for (const WriteCommand& command : std::exchange(writeCommands_, {})) {
    const Attribute* attribute = findAttribute(command.attribute);
    if (attribute && attribute->allows(access::writeCommand) && glove_.answers())
      glove_.write(command.attribute, command.value);
  }
}

void Connection::sendPackets()
{
  const auto airTime = packetAirTime * static_cast<int>(radio_.connectionCount());
  auto left = std::max<std::int64_t>(1, interval() / airTime);
  for (; left > 0 && isOpen_ && glove_.hasPackets(); --left) {
    radio_.send(attributeValue(number_, handle::measurement, ValueType::notified, glove_.takePacket()));
  }
}

void Connection::respond(std::uint8_t group, std::uint8_t id, std::uint16_t outcome)
{
  radio_.send(MessageWriter::response(group, id).u8(number_).u16(outcome).message());
}

void Connection::sendStatus(std::uint8_t flags)
{
  radio_.send(connectionStatus(number_, flags, glove_.config.address, parameters_));
}

Message connectionStatus(std::uint8_t connection, std::uint8_t flags, const Address& address,
                         const ConnectionParameters& parameters)
{
  return MessageWriter::event(message_class::connection, 0)
      .u8(connection)
      .u8(flags)
      .bytes(address)
      .u8(publicAddress)
      .u16(parameters.interval)
      .u16(parameters.timeout)
      .u16(parameters.latency)
      .u8(noBonding)
      .message();
}

}  // namespace simulator
