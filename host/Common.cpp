// Frame helpers, text parsing helpers and the interrupt flag of the host.
#include "host/Common.h"

#include <atomic>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace halcyra::host {

void Frame::Fill(uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
    for (size_t i = 0; i + 3 < pixels.size(); i += 4) {
        pixels[i] = b;
        pixels[i + 1] = g;
        pixels[i + 2] = r;
        pixels[i + 3] = a;
    }
}

ImageDesc Frame::Desc() const {
    ImageDesc desc{};
    desc.data = const_cast<uint8_t*>(pixels.data());
    desc.width = width;
    desc.height = height;
    desc.pitch = Pitch();
    desc.bytesPerPixel = 4;
    return desc;
}

std::string ToLower(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::string Trim(std::string_view text) {
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && std::isspace(static_cast<unsigned char>(text[begin]))) ++begin;
    while (end > begin && std::isspace(static_cast<unsigned char>(text[end - 1]))) --end;
    return std::string(text.substr(begin, end - begin));
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (true) {
        size_t at = text.find(separator, start);
        if (at == std::string_view::npos) {
            parts.emplace_back(text.substr(start));
            return parts;
        }
        parts.emplace_back(text.substr(start, at - start));
        start = at + 1;
    }
}

bool ParseDouble(std::string_view text, double& out) {
    std::string copy = Trim(text);
    if (copy.empty()) return false;
    char* end = nullptr;
    errno = 0;
    double value = std::strtod(copy.c_str(), &end);
    if (end != copy.c_str() + copy.size() || errno == ERANGE || !std::isfinite(value)) return false;
    out = value;
    return true;
}

bool ParseInt(std::string_view text, long long& out) {
    std::string copy = Trim(text);
    if (copy.empty()) return false;
    char* end = nullptr;
    errno = 0;
    long long value = std::strtoll(copy.c_str(), &end, 10);
    if (end != copy.c_str() + copy.size() || errno == ERANGE) return false;
    out = value;
    return true;
}

std::string FormatNumber(double value, int precision) {
    if (value == 0.0) value = 0.0;  // no "-0"
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*g", precision, value);
    return buffer;
}

namespace {
std::atomic<bool> interrupted{false};
extern "C" void OnInterrupt(int) {
    interrupted.store(true);
}
}  // namespace

bool InterruptRequested() {
    return interrupted.load(std::memory_order_relaxed);
}

void InstallInterruptHandler() {
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

}  // namespace halcyra::host
