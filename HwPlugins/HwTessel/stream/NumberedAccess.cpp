// The operations of PacketStore that reading a record does not use: access by frame number, repeat notices,
// diagnostic texts.

#include <algorithm>
#include <locale>
#include <sstream>

#include "stream/PacketLayout.h"
#include "stream/PacketStore.h"

namespace {

// Samples of a repeated frame if there is no earlier one to copy.
constexpr std::size_t repeatedSamples = 240;

auto findNumber(auto& framelets, std::int32_t frameNumber)
{
  return std::find_if(framelets.begin(), framelets.end(),
                      [=](const Framelet& framelet) { return framelet.frameNumber == frameNumber; });
}

// A text stream whose numbers do not depend on the locale.
std::ostringstream plainText()
{
  std::ostringstream text;
  text.imbue(std::locale::classic());
  return text;
}

}  // namespace

bool PacketStore::hasNumber(std::int32_t frameNumber) const
{
  return findNumber(framelets_, frameNumber) != framelets_.end();
}

std::int32_t PacketStore::nextNumber(std::int32_t frameNumber) const
{
  const auto next = std::find_if(framelets_.begin(), framelets_.end(), [=](const Framelet& framelet) {
    return framelet.frameNumber >= frameNumber;
  });
  return next == framelets_.end() ? -1 : next->frameNumber;
}

PacketStore::Result PacketStore::takeNumbered(std::vector<Framelet>& out, std::int32_t frameNumber)
{
  const auto found = findNumber(framelets_, frameNumber);
  if (found == framelets_.end()) return Result::unusable;
  out.push_back(*found);
  published_.push_back(*found);
  if (published_.size() > 1) published_.pop_front();
  framelets_.erase(framelets_.begin(), found + 1);
  return Result::done;
}

PacketStore::Result PacketStore::addRepeat(Packet notice)
{
  const auto moduleBit = static_cast<std::uint16_t>(1U << (static_cast<std::uint32_t>(module_) % 32));
  if ((extended::moduleMask(notice) & moduleBit) == 0) return Result::done;
  widenClock(extended::clock(notice));
  widenCounter(extended::counter(notice), 8);  // always the width of a notice, whatever that of the packets

  Framelet repeated;
  if (!framelets_.empty()) {
    repeated = framelets_.back();
  } else if (!published_.empty()) {
    repeated = std::move(published_.front());
    published_.pop_front();
  } else {
    repeated.module = module_;
    repeated.samples.resize(repeatedSamples);
  }
  repeated.frameNumber = frameNumber_;
  repeated.timeStamp = timeStamp_;
  framelets_.push_back(std::move(repeated));
  return Result::done;
}

std::string PacketStore::report() const
{
  std::ostringstream text = plainText();
  text << "Framelets in packet store " << module_ << "\n";
  double mean = 0.0;
  for (std::size_t k = 0; k < framelets_.size(); ++k) {
    const Framelet& framelet = framelets_[k];
    text << framelet.frameNumber << ", " << framelet.timeStamp << ":";
    for (const std::uint16_t sample : framelet.samples) {
      text << ' ' << sample;
    }
    text << '\n';
    if (k == 0) continue;
    const std::uint32_t difference = framelet.timeStamp - framelets_[k - 1].timeStamp;
    mean += (difference - mean) / static_cast<double>(k);
  }
  text << "Average time between frames: " << mean / 10.0 << " ms\n";
  return text.str();
}

std::string PacketStore::dump() const
{
  std::ostringstream text = plainText();
  text << " Expecting packet " << int{expectedPacket_} << " of " << lastPacket_ << '\n'
       << " Bytestream size: " << bytestream_.size() << " Framelets size: " << framelets_.size()
       << ", published: " << published_.size() << " completed: " << completed_ << "\n Framelets:";
  for (const Framelet& framelet : framelets_) {
    text << ' ' << framelet.frameNumber;
  }
  text << '\n';
  return text.str();
}
