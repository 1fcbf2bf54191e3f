// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Numbers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace mirrane {

namespace {

std::int32_t Narrow(std::int64_t value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (value < Limits::min() || value > Limits::max()) throw std::overflow_error("Overflow");
    return static_cast<std::int32_t>(value);
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view SkipBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    return text;
}

struct Number {
    double value = 0;
    std::string_view rest;  ///< what stands behind it
    bool isThere = false;
};

/// A sign, digits, a fraction, an exponent: nothing else that a library may take for a number.
Number ReadNumber(std::string_view text) {
    text = SkipBlanks(text);
    const bool hasPlus = text.starts_with('+');
    if (hasPlus) text.remove_prefix(1);
    const std::string_view digits = text.substr(!hasPlus && text.starts_with('-') ? 1 : 0);
    const bool startsWell = !digits.empty() && ((digits[0] >= '0' && digits[0] <= '9') || digits[0] == '.');
    if (!startsWell) return {};
    Number number;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number.value);
    if (error == std::errc::invalid_argument) return {};
    if (error == std::errc::result_out_of_range) number.value = std::numeric_limits<double>::infinity();
    number.rest = text.substr(static_cast<std::size_t>(end - text.data()));
    number.isThere = true;
    return number;
}

}  // namespace

std::int32_t RoundHalfEven(double value) {
    constexpr double kFarBeyond = 4e9;
    if (!(std::abs(value) < kFarBeyond)) throw std::overflow_error("Overflow");
    const double below = std::floor(value);
    const double above = value - below;
    const bool isBelowEven = std::fmod(below, 2) == 0;
    const bool goesUp = above > 0.5 || (above == 0.5 && !isBelowEven);
    return Narrow(static_cast<std::int64_t>(below) + (goesUp ? 1 : 0));
}

std::int32_t CheckedAdd(std::int32_t a, std::int32_t b) { return Narrow(std::int64_t{a} + b); }
std::int32_t CheckedSub(std::int32_t a, std::int32_t b) { return Narrow(std::int64_t{a} - b); }
std::int32_t CheckedMul(std::int32_t a, std::int32_t b) { return Narrow(std::int64_t{a} * b); }

Ms CeilToGrid(Ms ms) { return FloorToGrid(CheckedAdd(ms, kSampleMs - 1)); }

double NumberPrefix(std::string_view text) { return ReadNumber(text).value; }

std::int32_t IntegerPrefix(std::string_view text) { return RoundHalfEven(NumberPrefix(text)); }

std::int32_t StrictInteger(std::string_view text) {
    const Number number = ReadNumber(text);
    if (!number.isThere || !SkipBlanks(number.rest).empty())
        throw std::invalid_argument("\"" + std::string(text) + "\" is not a number");
    return RoundHalfEven(number.value);
}

}  // namespace mirrane
