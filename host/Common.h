// Basics shared by every part of the command-line host: the error type that
// carries a one-line message to main, the BGRA frame buffer handed to effects,
// and small text helpers used by the argument and parameter parsers.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "frame/EffectInterfaces.h"

namespace halcyra::host {

// Every failure the user can cause ends as one of these; main prints its text
// on one line and exits non-zero.
class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string& message) : std::runtime_error(message) {}
};

// A picture in the layout the effects read: 4 bytes per pixel in the order
// blue, green, red, alpha, rows top to bottom, no padding.
struct Frame {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;

    Frame() = default;
    Frame(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w) * h * 4) {}

    int Pitch() const { return width * 4; }
    uint8_t* Row(int y) { return pixels.data() + static_cast<size_t>(y) * Pitch(); }
    const uint8_t* Row(int y) const { return pixels.data() + static_cast<size_t>(y) * Pitch(); }
    void Fill(uint8_t b, uint8_t g, uint8_t r, uint8_t a);
    // The library never writes into an input, so a const frame may be lent out.
    ImageDesc Desc() const;
};

std::string ToLower(std::string_view text);
std::string Trim(std::string_view text);
std::vector<std::string> Split(std::string_view text, char separator);
// Whole-string numeric parses: false on trailing garbage, empty text or NaN.
bool ParseDouble(std::string_view text, double& out);
bool ParseInt(std::string_view text, long long& out);
// "%g"-style text without trailing zeros, for display values.
std::string FormatNumber(double value, int precision = 6);

// Set by SIGINT/SIGTERM; long loops check it so that partial output is removed.
bool InterruptRequested();
void InstallInterruptHandler();

}  // namespace halcyra::host
