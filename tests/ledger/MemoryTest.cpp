// A recording without memory: from the first record to the finished files each allocation fails in turn, in
// the accounts of the link, the keeper, the writers and the live board. The records that were written can be
// read, in order and without a hole, and nothing leaks. Records and capture are those of gloves in virtual
// time.

#include <gtest/gtest.h>

#include "host/live/LiveBoard.h"
#include "host/recording/RecordReader.h"
#include "host/recording/RecordingFiles.h"
#include "host/recording/SinkList.h"
#include "host/session/ListenerList.h"
#include "host/session/SessionMetadata.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/VirtualRecording.h"

namespace {

using Time = std::chrono::nanoseconds;
using Elements = std::vector<std::uint16_t>;

// One read.
struct Turn {
  Time end{0};
  std::vector<std::uint8_t> captured;
  Elements elements;  // empty without a record
};

std::vector<Turn> turnsOfVirtualGloves()
{
  std::vector<Turn> turns(1);
  VirtualRecording recording({.gloves = VirtualGloves::leftAndRight(), .setup = {}, .seconds = 0.3});
  recording.onBegin = [&](Time time) { turns.back().end = time; };
  recording.onRecord = [&](const VirtualRecording::Record& record) {
    turns.back().end = record.after;
    turns.back().elements.assign(record.elements.begin(), record.elements.end());
  };
  recording.onCapture = [&](std::span<const std::uint8_t> bytes) {
    turns.back().captured.assign(bytes.begin(), bytes.end());
    turns.push_back({.end = turns.back().end, .captured = {}, .elements = {}});
  };
  recording.run();
  return turns;
}

// Plays the turns, and then loses the gloves for good.
class Player final : public RecordSource, public GloveConnector {
 public:
  Player(const std::vector<Turn>& turns, LiveAccounts& accounts) : turns_(turns), accounts_(accounts) {}

  bool read() override
  {
    if (next_ == turns_.size()) throw Failure(ExitCode::silence, "the gloves were lost.", "");
    const Turn& turn = turns_[next_++];
    link_.beginRead(now);
    now = turn.end;
    receive(turn.captured);
    std::ranges::copy(turn.elements, store_.map.data_);
    const bool isNew = !turn.elements.empty();
    std::ignore = link_.endRead(now, isNew ? TurnResult::record : TurnResult::nothing);
    return isNew;
  }
  const plugin::RecordStore& store() const override { return store_; }
  const LinkWatch& link() const override { return link_; }
  void close() override {}
  Failure linkFailure(LinkWatch::Verdict) const override { return {ExitCode::silence, "", ""}; }
  std::optional<double> battery() override { return 0.5; }

  RecordSource& connect(const GoesOn&) override { throw Failure(ExitCode::noGloves, "no gloves.", ""); }
  void disconnect() override
  {
    accounts_.settle();
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
  }
  std::optional<HeardDevices> heard() const override { return std::nullopt; }

  Time now{0};

 private:
  // As the thread that receives the capture.
  void receive(std::span<const std::uint8_t> bytes)
  {
    if (error_) return;
    try {
      accounts_.receive(bytes);
    } catch (...) {
      error_ = std::current_exception();
    }
  }

  const std::vector<Turn>& turns_;
  LiveAccounts& accounts_;
  std::size_t next_ = 0;
  plugin::RecordStore store_{250};
  LinkWatch link_;
  std::exception_ptr error_;
};

// Metadata is made with a library whose destructors allocate, and so end the process without memory.
int exemptions = 0;

struct Exempt {
  Exempt() { ++exemptions; }
  ~Exempt() { --exemptions; }
  Exempt(const Exempt&) = delete;
  Exempt& operator=(const Exempt&) = delete;
};

struct Tested {
  Tested() { --exemptions; }
  ~Tested() { ++exemptions; }
  Tested(const Tested&) = delete;
  Tested& operator=(const Tested&) = delete;
};

struct FileSink final : RecordSink {
  explicit FileSink(RecordWriter& records) : writer(records) {}
  void begin(Time zero) override
  {
    const Exempt metadata;
    writer.begin(zero);
  }
  void add(const Record& record) override { writer.add(record); }

  RecordWriter& writer;
};

// Behind the file.
struct Written final : RecordSink {
  void add(const Record&) override { ++records; }
  std::size_t records = 0;
};

struct Filed final : SessionListener {
  Filed(RecordingFiles& recording, const Player& gloves) : files(recording), player(gloves) {}
  void recording(const RecordingFigures& figures) override
  {
    const Exempt exempt;
    update(files.metadata(), figures);
    files.keepUp(player.now);
  }
  void lost(const Failure&, const RecordingFigures&) override {}
  void waiting(const Waiting&, const RecordingFigures&) override {}
  void back(double, unsigned, const RecordingFigures&) override {}
  void event(const RecordingEvent& event) override { files.addEvent(event); }

  RecordingFiles& files;
  const Player& player;
};

RecordingMetadata metadataOfTwoGloves()
{
  RecordingMetadata metadata;
  metadata.layout = {.elements = 250, .groups = {{"left", "", 0, 125}, {"right", "", 125, 125}}};
  metadata.gloves.resize(2);
  return metadata;
}

// As `tessel record`.
void recordInto(RecordingFiles& files, RecordWriter& writer, const RecordingMetadata& metadata,
                const std::vector<Turn>& turns, Written& written)
{
  LiveAccounts accounts(2, 125);
  Player player(turns, accounts);
  const HostTime time{[&player] { return player.now; }, [&player](auto duration) { player.now += duration; }};
  LiveBoard board({.command = "record", .file = {}, .limits = {}, .reconnectSeconds = 0}, time.now);
  board.opened(metadata);
  FileSink file(writer);
  Filed filed(files, player);
  SinkList sinks;
  ListenerList listeners;
  sinks.add(file);
  sinks.add(written);
  sinks.add(board);
  listeners.add(filed);
  listeners.add(board);
  RecordKeeper keeper(metadata.layout, sinks, &accounts);
  Recorder recorder(metadata.layout, keeper, {}, time.now);
  MarkerQueue markers;
  markers.add(Time(0), "a marker with a name that is longer than others");
  Session session(player, recorder, keeper, markers, listeners, {.limits = {}, .reconnectSeconds = 0}, time);
  const std::atomic<bool> stop{false};
  const Ending ending = session.run(player, stop);
  EXPECT_TRUE(ending.failure);
  const auto attempt = [](const auto& step) {
    try {
      step();
    } catch (const std::bad_alloc&) {
    }
  };
  attempt([&] { player.disconnect(); });
  attempt([&] { keeper.writeRest(); });
  attempt([&] { session.noteRest(); });
  attempt([&] { recorder.finish(accounts.close()); });
}

void end(RecordingFiles& files)
{
  if (files.records() == 0) return files.discard();
  files.metadata().records = files.records();
  if (!files.areWhole()) return files.abandon();
  files.complete();
}

void expectRecords(const std::filesystem::path& place, const std::vector<Elements>& all, std::size_t written)
{
  const auto reader = openRecording(place);
  std::size_t records = 0;
  while (const auto record = reader->next()) {
    ASSERT_LT(records, all.size());
    ASSERT_TRUE(std::ranges::equal(record->elements, all[records])) << "record " << records;
    ++records;
  }
  EXPECT_GE(records, written);
}

class RecordingMemory : public testing::TestWithParam<const char*> {
 protected:
  // Returns the number of allocations.
  std::uint64_t run(std::uint64_t failing, const std::vector<Turn>& turns, const std::vector<Elements>& all)
  {
    const TemporaryFolder folder;
    const std::filesystem::path wanted = folder / (std::string("run.") + GetParam());
    const std::filesystem::path growing = std::filesystem::path(wanted) += ".part";
    const OutputName output{wanted, formatNamed(GetParam())};
    Written written;
    std::uint64_t allocations = 0;
    {
      const FailingMemory memory(failing, FailingMemory::Rest::succeeds, &exemptions);
      const Exempt exempt;
      const RecordingMetadata metadata = metadataOfTwoGloves();
      RecordingFiles files(output, false);
      RecordWriter& writer = files.begin(metadata);
      try {
        const Tested tested;
        recordInto(files, writer, metadata, turns, written);
      } catch (const std::bad_alloc&) {
      }
      end(files);
      allocations = memory.allocations();
    }
    // A file without a record need not be there, nor be readable.
    if (written.records > 0) {
      expectRecords(std::filesystem::exists(wanted) ? wanted : growing, all, written.records);
    }
    EXPECT_TRUE(failing <= allocations || written.records == all.size());
    return allocations;
  }
};

INSTANTIATE_TEST_SUITE_P(Format, RecordingMemory, testing::Values("csv", "npy", "xdf"));

TEST_P(RecordingMemory, EachAllocationCanFail)
{
  const std::vector<Turn> turns = turnsOfVirtualGloves();
  std::vector<Elements> all;
  for (const Turn& turn : turns) {
    if (!turn.elements.empty()) all.push_back(turn.elements);
  }
  ASSERT_GT(all.size(), 8U);
  const std::uint64_t allocations = run(~std::uint64_t{0}, turns, all);
  std::printf("%6llu allocations: %zu records into %s\n", static_cast<unsigned long long>(allocations),
              all.size(), GetParam());
  for (std::uint64_t failing = 1; failing <= allocations && !HasFailure(); failing += TESSEL_MEMORY_STEP) {
    SCOPED_TRACE(failing);
    const std::int64_t before = livingAllocations();
    run(failing, turns, all);
    EXPECT_EQ(livingAllocations(), before) << "a leak";
  }
}

}  // namespace
