#include <gtest/gtest.h>

#include "tests/support/VirtualRecording.h"

TEST(Ledger, Speed)
{
  RecordingPlan plan;
  plan.gloves = RecordingPlan::leftAndRight();
  plan.seconds = 3600;
  plan.setup = {"loss 0.1"};
  VirtualRecording recording(plan);
  recording.run();
  for (const auto& b : recording.ledger().books()) {
    std::printf(
        "sent %zu repeated %zu recorded %zu | unheard %zu radio %zu refused %zu faulty %zu pairing %zu "
        "queued %zu discarded %zu %d\n",
        b.sent, b.repeated, b.recorded, b.lost.unheard, b.lost.radio, b.lost.refused, b.lost.faulty,
        b.lost.pairing, b.lost.queued, b.lost.discarded, b.isBalanced());
  }
  std::printf("%zu records\n", recording.records());
}
