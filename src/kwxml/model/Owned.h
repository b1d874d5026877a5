// Messages that belong to the caller who asks for them, as their type says.
#pragma once

#include <kwxml/platform/StandardParts.h>

class YMMessageBase;

namespace kwxml {

/// An argument that asks for the overload which gives a std::unique_ptr, where the one without it gives a raw
/// pointer that its caller has to delete.
struct Owned
{
  /// Written out, so that {} is none.
  explicit constexpr Owned() = default;
};
/// What to write as that argument.
inline constexpr Owned owned{};

/// Calls `give(T*&)`, which leaves null or an object of its caller's, and lets `out` own it. Gives what
/// `give` gives.
template <class T, class Give>
auto intoOwner(std::unique_ptr<T>& out, Give give)
{
  T* given = nullptr;
  const auto result = give(given);
  out.reset(given);
  return result;
}

}  // namespace kwxml
