#include "simulator/Grasp.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace simulator {

namespace {

struct Part {
  double strength;  // of the grip, 0 to 1
  double delay;     // seconds after the beginning of the grip
};

// In the order of regionsOfHand().
constexpr std::array<Part, handRegions> parts{
    {{0.45, 0.30}, {0.90, 0.10}, {1.00, 0.00}, {0.95, 0.12}, {0.80, 0.24}, {0.60, 0.36}}};

struct Habit {
  double period;      // seconds from grip to grip
  double start;       // seconds
  double strength;    // counts
  double centre;      // of the pressure within a region, 0 to 1
  double unevenness;  // period in seconds of the variation from grip to grip
};

constexpr Habit leftHabit{3.0, 0.0, 46'000, 0.62, 17};
constexpr Habit rightHabit{3.4, 1.2, 43'000, 0.45, 23};

constexpr double baseline = 320;
constexpr double noise = 40;

// Uniformly distributed from 0 up to 1, and reproducible for equal arguments.
double random(std::uint64_t seed, std::uint64_t frame, std::uint64_t element)
{
  std::uint64_t bits = seed * 0x9E3779B97F4A7C15 + frame * 0xD1B54A32D192ED03 + element * 0x8CB92BA72F3D8DD7;
  bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
  bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
  return static_cast<double>((bits ^ bits >> 31) >> 11) * 0x1p-53;
}

double wave(double seconds, double period)
{
  return std::sin(2 * std::numbers::pi * seconds / period);
}

}  // namespace

Grasp::Grasp(const GloveConfig& glove, Hand hand, std::uint64_t seed)
    : glove_(&glove), hand_(hand), seed_(seed)
{
}

std::uint16_t Grasp::operator()(std::size_t element, std::uint64_t frame)
{
  if (frame != frame_) moveTo(frame);
  const Element& here = elements_.at(element);
  const double counts =
      baseline + pressures_[here.region] * here.weight + noise * (random(seed_, frame, element) - 0.5);
  return static_cast<std::uint16_t>(std::lround(counts));
}

void Grasp::layOut(std::size_t elements)
{
  constexpr double width = 0.28;
  const Habit& habit = hand_ == Hand::left ? leftHabit : rightHabit;
  elements_.clear();
  const auto regions = regionsOfHand(elements);
  for (std::size_t region = 0; region < handRegions; ++region) {
    const auto count = static_cast<double>(regions[region].count);
    for (std::size_t element = 0; element < regions[region].count; ++element) {
      const double position = (static_cast<double>(element) + 0.5) / count;
      const double distance = (position - habit.centre) / width;
      elements_.push_back({region, std::exp(-distance * distance)});
    }
  }
}

void Grasp::moveTo(std::uint64_t frame)
{
  if (elements_.size() != glove_->elements()) layOut(glove_->elements());
  time_ += static_cast<double>(frame - frame_.value_or(frame)) / std::max(glove_->framesPerSecond, 0.001);
  frame_ = frame;
  const Habit& habit = hand_ == Hand::left ? leftHabit : rightHabit;
  for (std::size_t region = 0; region < handRegions; ++region) {
    const double time = time_ - habit.start - parts[region].delay;
    const double closed = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * time / habit.period);
    const double effort = 1 + 0.08 * wave(time, habit.unevenness);
    pressures_[region] = habit.strength * parts[region].strength * effort * closed * closed;
  }
}

}  // namespace simulator
