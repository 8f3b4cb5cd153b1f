#include "Settings.h"

#include <type_traits>

namespace settings {

using parameter::Satelite;
using parameter::SateliteInterface;

Values current;

namespace {

// A satellite for one member; with `name` it registers itself.
template <class... Name>
std::unique_ptr<SateliteInterface> bind(Values& values, const Member& member, const Name&... name)
{
  return std::visit(
      [&](auto pointer) -> std::unique_ptr<SateliteInterface> {
        using T = std::remove_reference_t<decltype(values.*pointer)>;
        return std::make_unique<Satelite<T>>(name..., values.*pointer);
      },
      member);
}

// Made while the library is being loaded.
const std::vector<std::unique_ptr<SateliteInterface>> registered = [] {
  std::vector<std::unique_ptr<SateliteInterface>> satelites;
  satelites.reserve(keys.size());
  for (const Key& key : keys) {
    satelites.push_back(bind(current, key.member, key.name));
  }
  return satelites;
}();

}  // namespace

Binding::Binding(Values& values)
{
  satelites_.reserve(keys.size());
  for (const Key& key : keys) {
    satelites_.push_back(bind(values, key.member));
    registry_[key.name] = satelites_.back().get();
  }
}

}  // namespace settings
