#include "library/Statistics.h"

#include <algorithm>
#include <iterator>

namespace library {

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

}  // namespace library
