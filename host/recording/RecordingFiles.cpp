#include "host/recording/RecordingFiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/InputFile.h"
#include "host/base/Text.h"
#include "host/recording/CsvCells.h"
#include "host/recording/Names.h"

namespace fs = std::filesystem;

namespace {

constexpr auto metadataInterval = std::chrono::seconds(10);

// The beginning of a file that a killed program may have left empty.
std::string beginningOf(const fs::path& path)
{
  std::array<std::uint8_t, 200> bytes{};
  host::InputFile file(path);
  const std::size_t count = file.read(bytes);
  // What can't be read is not taken for an empty file, which may be replaced.
  return file.error() ? "unreadable" : std::string(bytes.begin(), bytes.begin() + count);
}

bool isMetadata(const fs::path& path)
{
  const std::string text = beginningOf(path);
  return text.empty() || text.find(names::format) != std::string::npos;
}

bool isEvents(const fs::path& path)
{
  const std::string text = beginningOf(path);
  return text.empty() || text.starts_with(names::eventsHeading);
}

bool isArray(const fs::path& name)
{
  const std::string stem = utf8(name.stem());
  constexpr std::array arrays{names::samplesArray, names::pluginArray, names::timeArray, names::arrivalArray};
  return name.extension() == ".npy" &&
         (std::ranges::find(arrays, stem) != arrays.end() || stem.ends_with(names::frameSuffix) ||
          stem.ends_with(names::ticksSuffix) || stem.ends_with(names::sampledSuffix));
}

// It holds nothing but a recording's files.
bool isRecordingFolder(const fs::path& folder)
{
  std::error_code error;
  for (const fs::path& name : host::namesIn(folder, error)) {
    // Metadata that was being replaced: as it is named now, and as version 1 named it.
    const bool isReplacement = name == "meta.json.new" || name == "meta.json.part";
    if (!isArray(name) && name != names::metadataFile && name != names::eventsFile && !isReplacement)
      return false;
  }
  return !error;
}

PartFile::Kind kindOf(RecordFormat format)
{
  return format == RecordFormat::npy ? PartFile::Kind::folder : PartFile::Kind::file;
}

PartFile::Test testOf(RecordFormat format)
{
  return format == RecordFormat::npy ? isRecordingFolder : nullptr;
}

}  // namespace

// Before anything is created, so that a name that is taken changes nothing.
std::optional<RecordingFiles::Companions> RecordingFiles::checkNames(const OutputName& output, bool replaces)
{
  PartFile::check(output.path, kindOf(output.format), replaces, testOf(output.format));
  const auto [base, growing] = PartFile::namesOf(output.path, kindOf(output.format));
  if (output.format != RecordFormat::csv || base == growing) return std::nullopt;
  const Companions companions{companionOf(base, names::metadataSuffix),
                              companionOf(base, names::eventsSuffix)};
  for (const fs::path& companion : {companions.metadata, companions.events}) {
    // Nobody chose to write there.
    std::error_code ignored;
    if (!fs::is_other(fs::status(companion, ignored))) continue;
    throw Failure(ExitCode::output, fmt::format("{} already exists, as a pipe or a device.", utf8(companion)),
                  "Choose another name.");
  }
  PartFile::check(companions.metadata, PartFile::Kind::file, replaces, isMetadata);
  PartFile::check(companions.events, PartFile::Kind::file, replaces, isEvents);
  return companions;
}

std::vector<fs::path> RecordingFiles::namesOf(const OutputName& output)
{
  const PartFile::Names records = PartFile::namesOf(output.path, kindOf(output.format));
  std::vector<fs::path> paths{records.wanted, records.growing};
  if (output.format != RecordFormat::csv || records.wanted == records.growing) return paths;
  for (const auto suffix : {names::metadataSuffix, names::eventsSuffix}) {
    const auto companion = PartFile::namesOf(companionOf(records.wanted, suffix), PartFile::Kind::file);
    paths.insert(paths.end(), {companion.wanted, companion.growing});
  }
  return paths;
}

RecordingFiles::RecordingFiles(const OutputName& output, bool replaces, const SyncRules& sync)
    : format_(output.format),
      replaces_(replaces),
      syncRules_(sync),
      companions_(checkNames(output, replaces)),
      records_(output.path, kindOf(format_), replaces, testOf(format_), *sync.disk)
{
  if (!companions_) return;
  metadataPart_.emplace(companions_->metadata, PartFile::Kind::file, replaces, isMetadata, *sync.disk);
  eventsPart_.emplace(companions_->events, PartFile::Kind::file, replaces, isEvents, *sync.disk);
}

RecordWriter& RecordingFiles::begin(RecordingMetadata metadata)
{
  metadata_ = std::move(metadata);
  writer_ = std::make_unique<Writer>(makeRecordWriter(format_, growing(), metadata_));
  if (hasOthers()) {
    events_.emplace(eventsPart_ ? eventsPart_->growing() : growing() / names::eventsFile);
    events_->append(names::eventsHeading);
    writeMetadata(false);
  }
  records_.keep(true);
  if (metadataPart_) metadataPart_->keep(true);
  if (eventsPart_) eventsPart_->keep(true);
  if (hasPlace() && syncRules_.interval.count() > 0) beginSync();
  return *writer_;
}

void RecordingFiles::beginSync()
{
  std::vector<fs::path> files;
  std::vector<fs::path> folders{fs::absolute(growing()).parent_path()};
  if (format_ == RecordFormat::npy) {
    std::error_code error;
    for (const fs::path& name : host::namesIn(growing(), error)) {
      // The metadata is replaced, and stored each time.
      if (name != names::metadataFile) files.push_back(growing() / name);
    }
    if (error) throw fs::filesystem_error("the files of the recording", growing(), error);
    folders.insert(folders.begin(), growing());
  } else {
    files.push_back(growing());
    if (eventsPart_) files.push_back(eventsPart_->growing());
  }
  sync_.emplace(files, folders, syncRules_);
}

void RecordingFiles::Writer::add(const Record& record)
{
  if (error_) std::rethrow_exception(error_);
  try {
    writer_->add(record);
    ++records_;
  } catch (...) {
    error_ = std::current_exception();
    throw;
  }
}

void RecordingFiles::addEvent(const RecordingEvent& event)
{
  writer_->addEvent(event);
  if (!events_) return;
  std::string line;
  appendTime(line, event.timeMs);
  for (const std::string* text : {&event.event, &event.glove, &event.detail}) {
    line += ',';
    appendText(line, *text);
  }
  events_->append(line + '\n');
  ++eventCount_;
}

void RecordingFiles::keepUp(Time now)
{
  const bool isMetadataDue = !next_ || now >= *next_;
  if (isMetadataDue) next_ = now + metadataInterval;
  if (sync_) {
    std::function<void()> action;
    if (isMetadataDue && hasOthers()) {
      action = [this, text = metadataText(metadata_, eventCount_, false)] {
        replaceMetadata(text, *syncRules_.disk);
      };
    }
    sync_->keepUp(now, std::move(action));
    return;
  }
  if (!isMetadataDue) return;
  try {
    writeMetadata(false);
  } catch (const Failure&) {
    // The recording continues, and complete() reports what remains wrong.
  }
}

std::optional<Failure> RecordingFiles::takeDiskFailure()
{
  if (!sync_ || isDiskFailureTaken_) return std::nullopt;
  auto failure = sync_->failure();
  isDiskFailureTaken_ = failure.has_value();
  return failure;
}

void RecordingFiles::writeMetadata(bool isComplete)
{
  if (!hasOthers()) return;
  replaceMetadata(metadataText(metadata_, eventCount_, isComplete),
                  isComplete ? *syncRules_.disk : Disk::unforced());
}

void RecordingFiles::replaceMetadata(const std::string& text, Disk& disk)
{
  if (metadataPart_) {
    metadataPart_->replaceContent(text, disk);
  } else {
    replaceFile(growing() / names::metadataFile, text, disk);
  }
}

void RecordingFiles::closeAll(bool isComplete)
{
  writer_->close(isComplete);
  writer_.reset();
  if (events_) events_->close();
  events_.reset();
}

void RecordingFiles::dropEmptyEvents()
{
  if (eventCount_ > 0) return;
  if (eventsPart_) {
    eventsPart_->keep(false);
    eventsPart_.reset();
  } else if (hasOthers()) {
    std::error_code ignored;
    fs::remove(growing() / names::eventsFile, ignored);
  }
}

bool RecordingFiles::contain(const std::filesystem::path& path) const
{
  const auto isNameOf = [&](const PartFile& file) {
    const auto full = [](const fs::path& name) { return fs::absolute(name).lexically_normal(); };
    return full(path) == full(file.wanted()) || full(path) == full(file.growing());
  };
  return isNameOf(records_) || (metadataPart_ && isNameOf(*metadataPart_)) ||
         (eventsPart_ && isNameOf(*eventsPart_));
}

// Nothing may claim to be complete that the disk does not have.
void RecordingFiles::requireStored()
{
  try {
    if (sync_) {
      sync_->end();
      if (const auto failure = sync_->failure()) throw Failure(*failure);
    }
    records_.store();
    if (eventsPart_) eventsPart_->store();
  } catch (const Failure& failure) {
    metadata_.ended = failure.what();
    abandon();
    throw;
  }
}

// The new files are complete and on the disk, under the names that they have while they grow. Where there are
// records, there is all that belongs to them: so the old ones go first, and the new ones come last.
void RecordingFiles::removeReplaced() const
{
  std::error_code error;
  fs::remove(records_.wanted(), error);
  if (error) {
    throw Failure(ExitCode::output,
                  fmt::format("{} can't be replaced: {}.", utf8(records_.wanted()), error.message()),
                  fmt::format("The new recording is complete, as {}. Rename its files by hand.",
                              utf8(records_.growing())));
  }
  fs::remove(metadataPart_->wanted(), error);
  fs::remove(eventsPart_->wanted(), error);
}

void RecordingFiles::complete()
{
  requireStored();
  closeAll(true);
  records_.checkWanted();
  if (companions_) {
    metadataPart_->checkWanted();
    eventsPart_->checkWanted();
  }
  writeMetadata(true);
  isComplete_ = true;
  if (companions_) {
    if (replaces_) removeReplaced();
    if (eventCount_ > 0) eventsPart_->settle();
    metadataPart_->settle();
  }
  dropEmptyEvents();
  records_.settle();
}

void RecordingFiles::abandon() noexcept
{
  try {
    if (sync_) sync_->end();
    writeMetadata(false);
    closeAll(false);
    dropEmptyEvents();
  } catch (const std::exception&) {
    // What could not be written first is the reason for this call.
  }
}

void RecordingFiles::discard()
{
  sync_.reset();
  writer_.reset();
  events_.reset();
  if (isComplete_) return;
  records_.keep(false);
  if (metadataPart_) metadataPart_->keep(false);
  if (eventsPart_) eventsPart_->keep(false);
}
