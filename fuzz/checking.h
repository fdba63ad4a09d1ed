// What the targets share: the abort when a promise breaks, and the cutting of inputs into pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

inline void Check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Lengths of pieces: always 1 for seed 0, else 1 to 16 by a small generator.
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
