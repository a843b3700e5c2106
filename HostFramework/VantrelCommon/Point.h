#pragma once
// A point of N coordinates.

#include <array>
#include <cstddef>
#include <type_traits>

/// N coordinates of an arithmetic type, all zero at first. A resolution is a Point<int, 2>, x then y.
template <typename Number, std::size_t N>
struct Point {
    static_assert(std::is_arithmetic_v<Number>);
    std::array<Number, N> coordinates{};

    constexpr Point() = default;
    template <typename... Numbers>
    requires(sizeof...(Numbers) == N) constexpr explicit Point(Numbers... numbers)
        : coordinates{static_cast<Number>(numbers)...} {}

    constexpr Number x() const { return coordinates[0]; }
    constexpr Number y() const requires(N > 1) { return coordinates[1]; }

    friend constexpr bool operator==(const Point&, const Point&) = default;
};
