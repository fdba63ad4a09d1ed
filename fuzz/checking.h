// Shared by the targets: aborts when a guarantee is violated, and splits inputs into pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

inline void Check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Generates lengths of pieces: always 1 for seed 0, else pseudo-random ones from 1 to 16.
class PieceLengths {
  public:
    explicit PieceLengths(std::uint8_t seed) : state(seed) {}

    std::size_t Next() {
        if (state == 0) {
            return 1;
        }
        state = state * 1664525U + 1013904223U;
        return 1 + (state >> 28);
    }

  private:
    std::uint32_t state;
};
