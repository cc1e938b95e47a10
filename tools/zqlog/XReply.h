#pragma once

#include <cstdlib>
#include <memory>

/// Frees what xcb allocates.
struct Free {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT(cppcoreguidelines-no-malloc)
};
template <class T>
using Reply = std::unique_ptr<T, Free>;
