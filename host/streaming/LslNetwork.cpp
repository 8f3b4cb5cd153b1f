#include "host/streaming/LslNetwork.h"

#include <fmt/format.h>

#include "host/base/Characters.h"
#include "host/base/Failure.h"

namespace {

// Frames are not evenly spaced: losses and dropouts leave gaps.
constexpr double irregular = 0;
constexpr std::int32_t chunksAsPushed = 0;
// Kept for a receiver that does not read, in hundreds of samples: some minutes, some megabytes.
constexpr std::int32_t maxBuffered = 120;
constexpr std::int32_t atOnce = 1;

class LslOutlet final : public StreamNetwork::Outlet {
 public:
  LslOutlet(const lsl::Library& library, lsl::Outlet* outlet) : library_(library), outlet_(outlet) {}
  ~LslOutlet() override { library_.destroyOutlet(outlet_); }
  LslOutlet(const LslOutlet&) = delete;
  LslOutlet& operator=(const LslOutlet&) = delete;

  bool push(double seconds, std::span<const std::int32_t> values) override
  {
    return library_.pushNumbers(outlet_, values.data(), seconds, atOnce) == lsl::noError;
  }
  bool push(double seconds, const std::string& text) override
  {
    const char* value = text.c_str();
    return library_.pushTexts(outlet_, &value, seconds, atOnce) == lsl::noError;
  }
  bool hasReceivers() override { return library_.haveConsumers(outlet_) != 0; }

 private:
  const lsl::Library& library_;
  lsl::Outlet* const outlet_;
};

void append(const lsl::Library& library, lsl::Xml* parent, const std::vector<DescriptionNode>& nodes)
{
  for (const DescriptionNode& node : nodes) {
    if (node.children.empty()) {
      library.appendChildValue(parent, node.name.c_str(), printable(node.value).c_str());
    } else {
      append(library, library.appendChild(parent, node.name.c_str()), node.children);
    }
  }
}

}  // namespace

std::unique_ptr<StreamNetwork::Outlet> LslNetwork::offer(const StreamDescription& stream, Values values)
{
  const Failure failure(ExitCode::plugin, fmt::format("the LSL stream {} can't be offered.", stream.name),
                        "Check that the network of this computer is set up, and end other senders.");
  lsl::Info* const info = library_.createInfo(printable(stream.name).c_str(), stream.type.c_str(),
                                              static_cast<std::int32_t>(stream.channels), irregular,
                                              values == Values::texts ? lsl::formatString : lsl::formatInt32,
                                              printable(stream.sourceId).c_str());
  if (info == nullptr) throw failure;
  append(library_, library_.desc(info), stream.desc.children);
  lsl::Outlet* const outlet = library_.createOutlet(info, chunksAsPushed, maxBuffered);
  library_.destroyInfo(info);
  if (outlet == nullptr) throw failure;
  return std::make_unique<LslOutlet>(library_, outlet);
}
