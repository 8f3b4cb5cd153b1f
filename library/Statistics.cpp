#include "library/Statistics.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace library {

namespace {

void addBooks(const Books& books, tessel_statistics& values)
{
  values.isFollowed = 1;
  // While frames are on their way the books need not balance.
  values.isBalanced = books.balanced().value_or(true) ? 1 : 0;
  for (std::size_t glove = 0; glove < std::min(books.gloves.size(), std::size(values.sent)); ++glove) {
    const GloveBooks& own = books.gloves[glove];
    values.sent[glove] = own.sent;
    values.repeated[glove] = own.repeated;
    values.recorded[glove] = own.recorded;
    values.lostUnheard[glove] = own.lost.unheard;
    values.lostRadio[glove] = own.lost.radio;
    values.lostRefused[glove] = own.lost.refused;
    values.lostFaulty[glove] = own.lost.faulty;
    values.lostPairing[glove] = own.lost.pairing;
    values.lostQueued[glove] = own.lost.queued;
    values.lostDiscarded[glove] = own.lost.discarded;
  }
}

}  // namespace

void addFigures(const RecordingFigures& figures, tessel_statistics& values)
{
  values.silentSeconds = figures.silentSeconds;
  values.recordsPerSecond = figures.recordsPerSecond();
  values.battery = figures.battery.value_or(Record::unknown);
  for (const Reconnection& each : figures.reconnections) {
    if (!std::isnan(each.backMs)) ++values.reconnections;
  }
  values.awaySeconds = figures.awaySeconds();
  if (figures.accounts) addBooks(figures.accounts->books, values);
}

}  // namespace library
