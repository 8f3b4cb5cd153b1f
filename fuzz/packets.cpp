// Packets of a glove into PacketStore, and its frames out again in each way: after each packet what the store
// says of itself fits to what it was given.

#include <array>
#include <optional>

#include "fuzz/Fuzz.h"
#include "stream/PacketStore.h"

using fuzz::require;

namespace {

using PacketBytes = std::array<std::uint8_t, PacketStore::packetSize>;

struct State {
  unsigned expected = 0;
  int last = 0;
  std::size_t bytestream = 0, framelets = 0, published = 0;
  int completed = 0;
};

State stateOf(const PacketStore& store)
{
  State state;
  const int fields = std::sscanf(
      store.dump().c_str(),
      " Expecting packet %u of %d Bytestream size: %zu Framelets size: %zu, published: %zu completed: %d",
      &state.expected, &state.last, &state.bytestream, &state.framelets, &state.published, &state.completed);
  require(fields == 6, "the dump has its numbers");
  return state;
}

class Glove {
 public:
  Glove(fuzz::Input& input, std::uint32_t format) : input_(input), isCompact_(format == 0)
  {
    store_.setPacketFormat(format);
    before_ = stateOf(store_);
  }

  void step()
  {
    switch (input_.below(16)) {
      case 0:
        return repeat();
      case 1:
        return take([this](auto& out) { return store_.takeFramelet(out, false); });
      case 2:
        return take([this](auto& out) { return store_.takeFramelet(out, true); });
      case 3:
        return takeNumbered();
      case 4:
        return add(bytes());
      case 5:
        require(!store_.report().empty(), "there is a report");
        return;
      default:
        return add(nextPacket());
    }
  }

 private:
  PacketBytes bytes()
  {
    PacketBytes packet{};
    std::ranges::copy(input_.take(packet.size()), packet.begin());
    return packet;
  }

  // What a glove would send next, with its other bytes from a short piece of input.
  PacketBytes nextPacket()
  {
    PacketBytes packet{};
    std::ranges::copy(input_.take(input_.below(8)), packet.begin() + 2);
    const std::size_t indexByte = isCompact_ ? 0 : 2;
    packet[indexByte] = static_cast<std::uint8_t>(before_.expected | (isCompact_ ? packet[2] & 0xF0U : 0U));
    if (!isCompact_ || before_.expected == 0) packet[indexByte + 1] = input_.byte();
    return packet;
  }

  void add(const PacketBytes& packet)
  {
    const auto following = input_.take(input_.below(32));
    const PacketStore::Result result = store_.addPacket(packet, following);
    const State after = stateOf(store_);
    require((after.expected == 0) == (after.bytestream == 0), "bytes are held while a frame is assembled");
    const unsigned index = isCompact_ ? packet[0] & 0x0FU : packet[2];
    const bool isExpected = index == before_.expected;
    if (!isExpected) {
      require(result == PacketStore::Result::refused && after.expected == 0, "another packet is refused");
    }
    const bool completes = isExpected && index != 0 && static_cast<int>(index) == before_.last;
    require(after.completed == before_.completed + (completes ? 1 : 0),
            "a frame is complete with its last packet");
    const bool queues = completes && result == PacketStore::Result::done;
    require(after.framelets == before_.framelets + (queues ? 1 : 0), "a complete frame is queued");
    require(store_.frameletCount() == after.framelets, "the queue is counted");
    require(static_cast<std::uint32_t>(store_.batteryCode()) <= 31, "the battery has five bits");
    if (queues) {
      const std::size_t payload = isCompact_ ? 18 : packet[3];
      newest_ = (before_.bytestream + payload) / 2;
    }
    before_ = after;
    if (!queues) return;
    // Alone in the queue, it is the one just completed.
    if (after.framelets == 1) take([this](auto& out) { return store_.takeFramelet(out, false); }, newest_);
  }

  template <class Take>
  void take(const Take& takeFrom, std::optional<std::size_t> samples = {})
  {
    std::vector<Framelet> out;
    const PacketStore::Result result = takeFrom(out);
    require((result == PacketStore::Result::done) == (out.size() == 1), "a frame comes with its result");
    require(before_.framelets > 0 || out.empty(), "an empty queue has no frame");
    if (samples) require(!out.empty() && out[0].samples.size() == *samples, "a frame has all its samples");
    before_ = stateOf(store_);
  }
  void takeNumbered()
  {
    const std::int32_t next = store_.nextNumber(input_.byte());
    require(next < 0 || store_.hasNumber(next), "the next number is in the queue");
    const bool isThere = store_.hasNumber(next);
    take([&](auto& out) {
      const PacketStore::Result result = store_.takeNumbered(out, next);
      require((result == PacketStore::Result::done) == isThere, "a number that is there can be taken");
      require(out.empty() || out[0].frameNumber == next, "the frame has this number");
      return result;
    });
  }
  void repeat()
  {
    require(store_.addRepeat(bytes()) == PacketStore::Result::done, "a notice has no other result");
    const State after = stateOf(store_);
    require(after.framelets <= before_.framelets + 1 && after.expected == before_.expected,
            "a notice queues a frame and leaves the assembly alone");
    before_ = after;
  }

  fuzz::Input& input_;
  const bool isCompact_;
  PacketStore store_;
  State before_;
  std::size_t newest_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  constexpr int maxSteps = 1000;
  fuzz::Input input(data, size);
  Glove glove(input, static_cast<std::uint32_t>(input.below(2)));
  for (int step = 0; step < maxSteps && !input.atEnd(); ++step) {
    glove.step();
  }
  return 0;
}
