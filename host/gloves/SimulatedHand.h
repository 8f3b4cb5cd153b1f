// Where the elements of a simulated glove are: on a hand of some 190 mm, in the regions whose pressure
// simulator::Grasp simulates.
#pragma once

#include <cstddef>
#include <string>

// The text of a layout, as docs/layout.md describes it. It describes the left hand; the right one is its
// mirror image. At least one element.
std::string simulatedHand(std::size_t elements);
