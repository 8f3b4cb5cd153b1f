// The Bluetooth devices that the dongle heard while the plug-in looked for gloves: each glove by name, all
// others as a number. A value: a copy is a snapshot. Needs bounded memory, whatever is heard.
// Nothing received is trusted: a glove's name may hold any bytes.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/capture/Advertisement.h"

struct HeardGlove {
  std::string name;  // at most 32 bytes
  int rssi;          // dBm, the strongest
  Advertisement::Address address;
};

class HeardDevices {
 public:
  static constexpr std::size_t maxGloves = 64;
  static constexpr std::size_t maxOthers = 1024;

  void add(const Advertisement& advertisement);
  void clear() { *this = {}; }

  // In the order in which they were first heard.
  const std::vector<HeardGlove>& gloves() const { return gloves_; }
  // Null if no glove was heard with this address. Valid until the next one is added.
  const HeardGlove* glove(const Advertisement::Address& address) const;
  // The number of other addresses, of which a device may use several: phones change theirs every few
  // minutes. Stops at the maximum.
  std::size_t others() const { return others_.size(); }

 private:
  std::vector<HeardGlove> gloves_;
  std::map<Advertisement::Address, std::size_t> gloveAt_;  // index in `gloves_`
  std::set<Advertisement::Address> others_;
};
