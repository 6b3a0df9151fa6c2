// Deterministic random numbers for the drawing generator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tvtools {

// splitmix64: small, fast and the same everywhere, unlike the standard distributions whose
// output differs between library implementations.
class DrawingRandom {
public:
    explicit DrawingRandom(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // Uniform in [0, n).
    int below(int n) {
        return static_cast<int>(((next() >> 32) * static_cast<std::uint64_t>(n)) >> 32);
    }
    double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    double uniform(double lo, double hi) { return lo + (hi - lo) * unit(); }
    bool chance(double p) { return unit() < p; }
    template <typename T, std::size_t N> const T& pick(const std::array<T, N>& items) {
        return items[static_cast<std::size_t>(below(static_cast<int>(N)))];
    }

private:
    std::uint64_t m_state;
};

} // namespace tvtools
