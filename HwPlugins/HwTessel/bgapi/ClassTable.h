// Messages received from the dongle, by class and id. A message outside the table is unknown; one inside it
// without a handler of its own is known and ignored.
#pragma once

#include <numeric>

#include "bgapi/MessageRecord.h"

namespace bgapi {

// Messages in each class; their ids count from 0.
using ClassCounts = std::array<std::uint8_t, classCount>;

inline constexpr ClassCounts responseCounts{18, 9, 6, 10, 12, 8, 12, 21, 7, 4};
inline constexpr ClassCounts eventCounts{7, 1, 3, 5, 7, 5, 2, 4, 0, 1};

constexpr std::size_t total(const ClassCounts& counts)
{
  return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
}
static_assert(total(responseCounts) == 107);
static_assert(total(eventCounts) == 35);

template <const ClassCounts& counts>
class ClassTable {
 public:
  // Each record of `handled` is stored at the class and id in its header; one outside the table does not
  // compile.
  constexpr ClassTable(std::uint8_t type, std::initializer_list<MessageRecord> handled)
  {
    std::size_t first = 0;
    for (std::size_t index = 0; index < classCount; ++index) {
      firsts_[index] = static_cast<std::uint8_t>(first);
      for (std::uint8_t id = 0; id < counts[index]; ++id) {
        records_[first + id].header = {type, 0, static_cast<std::uint8_t>(index), id};
      }
      first += counts[index];
    }
    for (const MessageRecord& record : handled) {
      if (!has(record.header[2], record.header[3])) throw "no such message";
      records_[position(record.header[2], record.header[3])] = record;
    }
  }

  // Null if the table does not have this class or id.
  constexpr const MessageRecord* find(std::uint8_t messageClass, std::uint8_t id) const
  {
    return has(messageClass, id) ? &records_[position(messageClass, id)] : nullptr;
  }

 private:
  static constexpr bool has(std::uint8_t messageClass, std::uint8_t id)
  {
    return messageClass < classCount && id < counts[messageClass];
  }

  constexpr std::size_t position(std::uint8_t messageClass, std::uint8_t id) const
  {
    return std::size_t{firsts_[messageClass]} + id;
  }

  std::array<std::uint8_t, classCount> firsts_{};  // where each class begins in the records
  std::array<MessageRecord, total(counts)> records_{};
};

}  // namespace bgapi
