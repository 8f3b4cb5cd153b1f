// Talks to the dongle itself, without the plug-in: asks for its version, listens for a given time,
// and visits gloves, to say which part of an opening fails. Needs the port for itself.
//
//   open()    port found and opened, dongle restarted, port opened again
//   info()    system_get_info
//   listen()  gap_discover ... scan responses ... gap_end_procedure
//   visit()   gap_connect_direct, version and sensor status read, disconnect
//
// Threads: one. Time: that of the platform. Errors: results; a Failure(interrupted) as soon as `goesOn`
// returns false.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/serial/SerialPort.h"
#include "host/capture/HeardDevices.h"
#include "host/capture/MessageReader.h"
#include "simulator/Wire.h"

struct DongleInfo {
  std::array<std::uint16_t, 4> firmware{};  // major, minor, patch, build
  std::uint8_t protocol = 0;
  std::uint8_t hardware = 0;
};

// What was heard of a time of listening.
struct Reception {
  HeardDevices devices;
  std::uint64_t reports = 0;  // of advertisements and answers to the dongle's requests
  double seconds = 0;
};

// A glove's answers, up to the one that is missing.
struct GloveVisit {
  enum class Reached { nothing, connection, version, status };

  Reached reached = Reached::nothing;
  double connectMs = 0;                  // from the request to the connection
  std::vector<std::uint8_t> version;     // as sent, at most 255 bytes
  std::vector<std::uint8_t> status;      // likewise; not asked of a glove that has none
  std::optional<std::uint16_t> refusal;  // of the dongle, by its result code
};

class DongleProbe {
 public:
  enum class Opening { done, notFound, notOpened, notBack, notReopened };
  using GoesOn = std::function<bool()>;

  explicit DongleProbe(GoesOn goesOn) : goesOn_(std::move(goesOn)) {}
  // Restarts the dongle if it was interrupted, so that it does not go on listening or keep a connection.
  ~DongleProbe();
  DongleProbe(const DongleProbe&) = delete;
  DongleProbe& operator=(const DongleProbe&) = delete;

  Opening open();
  // Empty if the dongle does not answer within a second.
  std::optional<DongleInfo> info();
  // Empty if the dongle does not start to listen.
  std::optional<Reception> listen(std::chrono::milliseconds duration);
  GloveVisit visit(const Advertisement::Address& address);

 private:
  using Time = std::chrono::nanoseconds;
  // True: this is the message that was awaited.
  using Accept = std::function<bool(const Message& message)>;

  bool find();
  bool openPort();
  void pause(std::chrono::milliseconds duration) const;
  void send(simulator::MessageWriter message);
  bool await(std::chrono::milliseconds timeout, const Accept& accept);
  bool awaitResponse(std::uint8_t group, std::uint8_t id, const Accept& accept);
  bool read(std::chrono::milliseconds timeout);
  std::optional<std::vector<std::uint8_t>> readAttribute(std::uint8_t connection, std::uint16_t handle);
  std::optional<std::uint8_t> connect(const Advertisement::Address& address, GloveVisit& visit);
  void restart();
  void endProcedure();
  void disconnect(std::uint8_t connection);
  void checkGoesOn() const;

  const GoesOn goesOn_;
  platform::PortHandle port_ = platform::closedPort;
  std::int32_t number_ = -1;
  const StopFlag neverStopped_{0};
  MessageReader messages_;
  bool isBusy_ = false;  // the dongle: it listens, connects or is connected
};
