// Where the elements of a simulated glove are, as the JSON of a layout (see docs/layout.md): on a hand of
// some 190 mm, with the regions whose pressure simulator::Grasp simulates.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>

// Of the left hand; the right one is its mirror image. At least one element.
nlohmann::ordered_json simulatedHand(std::size_t elements);
