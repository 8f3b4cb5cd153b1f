#include "host/doctor/DongleProbe.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "host/base/Failure.h"
#include "host/capture/GloveRecords.h"

namespace {

using namespace std::chrono_literals;
using simulator::MessageWriter;
using simulator::PayloadReader;
namespace message_class = simulator::message_class;

constexpr unsigned maxTries = 6;  // to find and to open the port, as the plug-in does
constexpr std::chrono::milliseconds pauseBetweenTries{500};
constexpr std::chrono::milliseconds answerTime{1000};
// Time for an advertisement or two, and for the connection.
constexpr std::chrono::milliseconds connectTime{3000};
// For so long a wait does not look whether to go on.
constexpr std::chrono::milliseconds slice{100};

constexpr std::uint16_t versionHandle = 24;
constexpr std::uint16_t statusHandle = 22;
constexpr std::uint8_t connectedFlag = 0x01;

std::chrono::nanoseconds now()
{
  return std::chrono::nanoseconds(platform::uptimeNs());
}

// The parameters with which the plug-in connects.
MessageWriter connectCommand(const Advertisement::Address& address)
{
  constexpr std::uint16_t interval = 8;    // 1.25 ms
  constexpr std::uint16_t timeout = 1000;  // 10 ms
  MessageWriter command = MessageWriter::command(message_class::gap, 3);
  command.bytes(address).u8(simulator::publicAddress);
  return command.u16(interval).u16(interval).u16(timeout).u16(0);
}

}  // namespace

DongleProbe::~DongleProbe()
{
  if (isBusy_) restart();
  serialClose(port_);
}

void DongleProbe::restart()
{
  send(MessageWriter::command(message_class::system, 0).u8(0));
}

void DongleProbe::checkGoesOn() const
{
  if (!goesOn_()) throw Failure(ExitCode::interrupted, "interrupted before all steps were done.", "");
}

void DongleProbe::pause(std::chrono::milliseconds duration) const
{
  for (auto left = duration; left > 0ms; left -= slice) {
    checkGoesOn();
    platform::sleep(static_cast<std::uint32_t>(std::min(left, slice).count()));
  }
}

bool DongleProbe::find()
{
  number_ = serialFindPort(platform::dongleName);
  return number_ >= 0;
}

bool DongleProbe::openPort()
{
  for (unsigned tries = 0; tries < maxTries; ++tries) {
    if (tries > 0) pause(pauseBetweenTries);
    if (serialOpen(fmt::format("COM{}", number_), port_) == OpenResult::done) return true;
  }
  return false;
}

DongleProbe::Opening DongleProbe::open()
{
  if (!find()) return Opening::notFound;
  if (!openPort()) return Opening::notOpened;
  restart();
  serialClose(port_);
  for (unsigned tries = 0; tries < maxTries; ++tries) {
    pause(pauseBetweenTries);
    if (find()) return openPort() ? Opening::done : Opening::notReopened;
  }
  return Opening::notBack;
}

void DongleProbe::send(MessageWriter message)
{
  // If it fails, no answer comes, and that is what is reported.
  static_cast<void>(serialWrite(port_, neverStopped_, message.message()));
}

// A message, in the same calls as the plug-in's, from which a capture's readers know where it begins. But its
// first byte is awaited alone, since a read that ends early loses what it has.
bool DongleProbe::read(std::chrono::milliseconds timeout)
{
  const auto fill = [this](std::span<std::uint8_t> bytes, std::chrono::milliseconds time) {
    if (bytes.empty()) return true;
    if (serialRead(port_, nullptr, bytes, static_cast<std::uint32_t>(time.count())) != ReadResult::filled) {
      return false;
    }
    messages_.add(bytes);
    return true;
  };
  std::array<std::uint8_t, 4> header{};
  const auto bytes = std::span(header);
  if (!fill(bytes.first(1), std::max(timeout, 1ms))) return false;
  std::array<std::uint8_t, 255> payload{};
  const bool isWhole =
      fill(bytes.subspan(1), answerTime) && fill(std::span(payload).first(header[1]), answerTime);
  if (!isWhole) messages_.clear();
  return isWhole;
}

bool DongleProbe::await(std::chrono::milliseconds timeout, const Accept& accept)
{
  const Time end = now() + timeout;
  while (true) {
    while (const auto message = messages_.next()) {
      if (accept(*message)) return true;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now());
    if (left <= 0ms) return false;
    checkGoesOn();
    // A port that is gone fails at once: what is awaited may still come to another one, but not here.
    if (!read(std::min(left, slice)) && serialFindPort(platform::dongleName) < 0) return false;
  }
}

bool DongleProbe::awaitResponse(std::uint8_t group, std::uint8_t id, const Accept& accept)
{
  return await(answerTime, [&](const Message& message) {
    return !message.isEvent && message.group == group && message.id == id && accept(message);
  });
}

std::optional<DongleInfo> DongleProbe::info()
{
  send(MessageWriter::command(message_class::system, 8));
  DongleInfo info;
  const bool isAnswered = awaitResponse(message_class::system, 8, [&](const Message& message) {
    PayloadReader payload(message.payload);
    for (std::uint16_t& part : info.firmware) {
      part = payload.u16();
    }
    payload.u16();  // link layer
    info.protocol = payload.u8();
    info.hardware = payload.u8();
    return true;
  });
  return isAnswered ? std::optional(info) : std::nullopt;
}

std::optional<Reception> DongleProbe::listen(std::chrono::milliseconds duration)
{
  constexpr std::uint8_t generic = 1;
  isBusy_ = true;
  send(MessageWriter::command(message_class::gap, 2).u8(generic));
  bool isAccepted = false;
  awaitResponse(message_class::gap, 2, [&](const Message& message) {
    isAccepted = PayloadReader(message.payload).u16() == simulator::result::success;
    return true;
  });
  isBusy_ = isAccepted;
  if (!isAccepted) return std::nullopt;
  Reception reception;
  const Time begin = now();
  await(duration, [&](const Message& message) {
    const auto advertisement = advertisementIn(message, now());
    if (!advertisement) return false;
    ++reception.reports;
    reception.devices.add(*advertisement);
    return false;
  });
  reception.seconds = std::chrono::duration<double>(now() - begin).count();
  endProcedure();
  return reception;
}

void DongleProbe::endProcedure()
{
  send(MessageWriter::command(message_class::gap, 4));
  isBusy_ = !awaitResponse(message_class::gap, 4, [](const Message&) { return true; });
}

GloveVisit DongleProbe::visit(const Advertisement::Address& address)
{
  GloveVisit visit;
  const auto connection = connect(address, visit);
  if (!connection) return visit;
  visit.reached = GloveVisit::Reached::connection;
  if (auto version = readAttribute(*connection, versionHandle)) {
    visit.reached = GloveVisit::Reached::version;
    visit.version = std::move(*version);
    const auto record = parseVersion(visit.version);
    if (record && record->revision >= confirmingRevision) {
      if (auto status = readAttribute(*connection, statusHandle)) {
        visit.reached = GloveVisit::Reached::status;
        visit.status = std::move(*status);
      }
    }
  }
  disconnect(*connection);
  return visit;
}

std::optional<std::uint8_t> DongleProbe::connect(const Advertisement::Address& address, GloveVisit& visit)
{
  const Time begin = now();
  isBusy_ = true;
  send(connectCommand(address));
  std::optional<std::uint8_t> connection;
  awaitResponse(message_class::gap, 3, [&](const Message& message) {
    PayloadReader payload(message.payload);
    const std::uint16_t result = payload.u16();
    if (result == simulator::result::success) {
      connection = payload.u8();
    } else {
      visit.refusal = result;
    }
    return true;
  });
  isBusy_ = connection.has_value();
  if (!connection) return std::nullopt;
  const bool isConnected = await(connectTime, [&](const Message& message) {
    if (!message.isEvent || message.group != message_class::connection || message.id != 0) return false;
    PayloadReader payload(message.payload);
    return payload.u8() == *connection && (payload.u8() & connectedFlag) != 0;
  });
  if (!isConnected) {
    endProcedure();
    return std::nullopt;
  }
  visit.connectMs = std::chrono::duration<double, std::milli>(now() - begin).count();
  return connection;
}

std::optional<std::vector<std::uint8_t>> DongleProbe::readAttribute(std::uint8_t connection,
                                                                    std::uint16_t handle)
{
  send(MessageWriter::command(message_class::attclient, 4).u8(connection).u16(handle));
  std::optional<std::vector<std::uint8_t>> value;
  await(answerTime, [&](const Message& message) {
    if (!message.isEvent || message.group != message_class::attclient) return false;
    PayloadReader payload(message.payload);
    if (payload.u8() != connection) return false;
    if (message.id == 1) return true;  // the procedure ends without a value
    if (message.id != 5 || payload.u16() != handle) return false;
    payload.u8();  // kind of value
    const auto bytes = payload.array();
    value.emplace(bytes.begin(), bytes.end());
    return true;
  });
  return value;
}

void DongleProbe::disconnect(std::uint8_t connection)
{
  send(MessageWriter::command(message_class::connection, 0).u8(connection));
  isBusy_ = !await(answerTime, [&](const Message& message) {
    return message.isEvent && message.group == message_class::connection && message.id == 4 &&
           PayloadReader(message.payload).u8() == connection;
  });
}
