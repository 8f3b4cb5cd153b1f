// Calls of the C library in any order, with null pointers, handles that are closed or never were one,
// structures of any size, and memory that is too small: each returns a status of tessel.h, with words if it
// failed, and writes nothing but the caller's memory. Gloves are opened only so that it fails at once.

#include <cstddef>
#include <deque>
#include <memory>

#include "fuzz/Fuzz.h"
#include "host/recording/RecordingFiles.h"
#include "library/include/tessel.h"
#include "tests/support/SampleRecording.h"

using fuzz::require;

namespace {

constexpr const char* failingOptions[] = {
    R"({"plugin": "/nowhere/plug-in", "wait": 0})",
    R"({"plugin": "/nowhere/plug-in", "wait": 0, "gloves": "left", "follow": false})",
    R"({"settings": "/nowhere/settings"})",
    R"({"layout": "/nowhere/layout"})",
    R"({"scenario": "/nowhere/scenario", "simulated": true, "plugin": "/nowhere/plug-in"})",
};
// Files that each input finds.
constexpr const char* recordings[] = {"sample.csv", "sample.npy", "sample.xdf", "cut.csv",
                                      "cut.xdf",    "none.csv",   "."};

std::string pathOf(const char* name)
{
  return (fuzz::scratchFolder() / name).string();
}

void writeRecordings()
{
  for (const RecordFormat format : {RecordFormat::csv, RecordFormat::npy, RecordFormat::xdf}) {
    SampleRecording sample;
    sample.metadata.layout.groups[1].module = "KVXGR00018";
    sample.metadata.records = sample.rows.size();
    RecordingFiles files({pathOf(recordings[static_cast<std::size_t>(format)]), format}, true);
    RecordWriter& writer = files.begin(sample.metadata);
    writer.begin(sample.zero);
    for (const SampleRecording::Row& row : sample.rows) {
      writer.add(row.record());
    }
    files.complete();
  }
  for (const auto& [whole, cut] : {std::pair("sample.csv", "cut.csv"), {"sample.xdf", "cut.xdf"}}) {
    std::filesystem::copy_file(pathOf(whole), pathOf(cut));
    std::filesystem::resize_file(pathOf(cut), std::filesystem::file_size(pathOf(cut)) * 2 / 3);
  }
}

struct Handle {
  std::uint64_t number;
  bool canBeOpened = false;
};

class Program {
 public:
  explicit Program(fuzz::Input& input) : input_(input) {}
  ~Program()
  {
    for (const Handle& handle : handles_) {
      tessel_close(handle.number);
      tessel_close_recording(handle.number);
    }
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void call()
  {
    const tessel_status status = perform();
    const bool isError = status <= TESSEL_ERROR_INTERNAL && status >= TESSEL_ERROR_BOOKS;
    const bool isMisuse = status <= TESSEL_ERROR_HANDLE && status >= TESSEL_ERROR_CANCELLED;
    require((status >= TESSEL_OK && status <= TESSEL_END) || isError || isMisuse,
            "a status is one of tessel.h");
    require(status != TESSEL_ERROR_INTERNAL, "nothing fails in the library itself");
    if (status < 0) require(tessel_error_text()[0] != '\0', "an error has words");
  }

 private:
  // Memory of exactly this size, so that a sanitizer sees what is written behind it.
  template <class Item>
  Item* memory(std::size_t count)
  {
    auto bytes = std::make_unique<std::byte[]>(count * sizeof(Item));
    return reinterpret_cast<Item*>(memory_.emplace_back(std::move(bytes)).get());
  }
  template <class Item>
  Item* array(std::size_t count)
  {
    return input_.below(4) == 0 ? nullptr : memory<Item>(count);
  }

  Handle handle()
  {
    const std::size_t choice = input_.below(16);
    if (choice < handles_.size()) return handles_[choice];
    if (choice < 15) return {0};
    const std::uint64_t generation = input_.byte();
    return {generation << 32 | std::uint64_t{input_.word()} << 16};
  }
  // Null, or up to the end of the line.
  const char* text()
  {
    if (input_.below(8) == 0) return nullptr;
    texts_.emplace_back(input_.part("\n"));
    return texts_.back().c_str();
  }

  template <class Function, class... Arguments>
  tessel_status intoText(Function function, Arguments... arguments)
  {
    std::size_t size = input_.byte();
    size *= input_.below(32);
    std::size_t needed = 0;
    std::size_t* const wanted = input_.below(8) == 0 ? nullptr : &needed;
    char* const place = input_.below(16) == 0 ? nullptr : memory<char>(size);
    const tessel_status status = function(arguments..., place, size, wanted);
    if (status == TESSEL_OK) {
      require(place != nullptr && std::memchr(place, '\0', size) != nullptr, "a text ends within the memory");
    }
    if (status == TESSEL_ERROR_TOO_SMALL) require(needed == 0 || needed > size, "more is needed");
    return status;
  }
  // A structure of a version that has so many bytes.
  template <class Structure>
  Structure* structure()
  {
    const std::size_t sizes[] = {sizeof(Structure),      sizeof(Structure),   sizeof(Structure),
                                 sizeof(Structure) + 16, sizeof(std::size_t), 0};
    const std::size_t choice = input_.below(std::size(sizes) + 1);
    if (choice == std::size(sizes)) return nullptr;
    auto* const bytes = memory<std::byte>(std::max(sizes[choice], sizeof(std::size_t)));
    std::memcpy(bytes, &sizes[choice], sizeof(std::size_t));
    return reinterpret_cast<Structure*>(bytes);
  }
  tessel_block* block()
  {
    auto* const block = structure<tessel_block>();
    if (block == nullptr || block->size < sizeof(tessel_block)) return block;
    const auto below = [this](std::size_t bound) { return static_cast<std::uint32_t>(input_.below(bound)); };
    const std::uint32_t capacity = below(32), gloves = below(4), elements = below(10);
    block->capacity = capacity;
    block->gloves = gloves;
    block->elements = elements;
    block->timeMs = array<double>(capacity);
    block->arrivalMs = array<double>(capacity);
    block->pluginMs = array<std::uint32_t>(capacity);
    block->frame = array<std::int64_t>(std::size_t{capacity} * gloves);
    block->ticks = array<std::int64_t>(std::size_t{capacity} * gloves);
    block->sampledMs = array<double>(std::size_t{capacity} * gloves);
    block->sample = array<std::uint16_t>(std::size_t{capacity} * elements);
    return block;
  }

  tessel_status create(const char* options, bool canBeOpened)
  {
    tessel_gloves gloves = 0;
    const tessel_status status = tessel_create(options, input_.below(16) == 0 ? nullptr : &gloves);
    if (status == TESSEL_OK) handles_.push_back({gloves, canBeOpened});
    return status;
  }
  tessel_status openRecording()
  {
    tessel_recording recording = 0;
    const bool isNull = input_.below(16) == 0;
    const std::string path = pathOf(input_.oneOf(recordings));
    const tessel_status status = tessel_open_recording(path.c_str(), isNull ? nullptr : &recording);
    if (status == TESSEL_OK) handles_.push_back({recording});
    return status;
  }
  tessel_status open()
  {
    const Handle chosen = handle();
    const bool isOther = std::ranges::find(handles_, chosen.number, &Handle::number) == handles_.end();
    if (!chosen.canBeOpened && !isOther) return TESSEL_OK;
    const tessel_status status = tessel_open(chosen.number, input_.below(2) == 0 ? -1 : 0);
    require(status != TESSEL_OK, "there are no gloves");
    return status;
  }

  tessel_status perform()
  {
    using Calls = tessel_status (*)(Program & my, std::uint64_t id);
    static constexpr Calls calls[] = {
        [](Program& my, std::uint64_t) { return my.create(my.text(), false); },
        [](Program& my, std::uint64_t) { return my.create(my.input_.oneOf(failingOptions), true); },
        [](Program& my, std::uint64_t) { return my.open(); },
        [](Program&, std::uint64_t id) { return tessel_cancel(id); },
        [](Program&, std::uint64_t id) { return tessel_close(id); },
        [](Program& my, std::uint64_t id) { return tessel_get_shape(id, my.structure<tessel_shape>()); },
        [](Program& my, std::uint64_t id) { return my.intoText(tessel_describe, id); },
        [](Program& my, std::uint64_t id) { return tessel_read(id, my.block(), 0); },
        [](Program& my, std::uint64_t id) { return tessel_latest(id, my.block()); },
        [](Program& my, std::uint64_t id) {
          return tessel_get_statistics(id, my.structure<tessel_statistics>());
        },
        [](Program& my, std::uint64_t id) { return my.intoText(tessel_next_event, id); },
        [](Program& my, std::uint64_t id) { return tessel_marker(id, my.text()); },
        [](Program& my, std::uint64_t id) { return tessel_record(id, pathOf("new").c_str(), my.text()); },
        [](Program&, std::uint64_t id) { return tessel_stop_recording(id); },
        [](Program& my, std::uint64_t id) { return my.intoText(tessel_send, id, my.text()); },
        [](Program& my, std::uint64_t id) { return my.intoText(tessel_simulate, id, my.text()); },
        [](Program& my, std::uint64_t) { return my.openRecording(); },
        [](Program& my, std::uint64_t id) {
          return tessel_recording_shape(id, my.structure<tessel_shape>());
        },
        [](Program& my, std::uint64_t id) { return tessel_read_recording(id, my.block()); },
        [](Program& my, std::uint64_t id) { return my.intoText(tessel_describe_recording, id); },
        [](Program&, std::uint64_t id) { return tessel_close_recording(id); },
    };
    const Calls chosen = input_.oneOf(calls);
    return chosen(*this, handle().number);
  }

  fuzz::Input& input_;
  std::vector<Handle> handles_;
  std::vector<std::unique_ptr<std::byte[]>> memory_;
  std::deque<std::string> texts_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  constexpr int maxCalls = 200;
  static const bool isWritten = (writeRecordings(), true);
  require(isWritten, "there are recordings");
  fuzz::Input input(data, size);
  Program program(input);
  for (int calls = 0; calls < maxCalls && !input.atEnd(); ++calls) {
    program.call();
  }
  return 0;
}
