// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Scenes.h.
#include "Scenes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

namespace GuessScenes {

namespace {

using Colour = std::array<double, 3>;  // red, green, blue, 0 to 1

struct Disc {
    double x, y, radius;
    Colour colour;
};

class Scene {
  public:
    Scene(uint32_t width, uint32_t height, uint32_t seed) : m_random(seed), m_width(width), m_height(height) {
        for (int i = 0; i < 14; ++i) {
            m_discs.push_back({Any() * width, Any() * height, (0.04 + 0.16 * Any()) * height, {Any(), Any(), Any()}});
        }
        for (double& wave : m_waves) {
            wave = 2 + 5 * Any();
        }
    }

    Colour At(uint32_t x, uint32_t y) {
        const double u = static_cast<double>(x) / m_width;
        const double v = static_cast<double>(y) / m_height;
        Colour colour = {0.3 + 0.2 * std::sin(m_waves[0] * u + 1), 0.4 + 0.2 * std::sin(m_waves[1] * v + u),
                         0.45 + 0.25 * std::cos(m_waves[2] * (u - v))};
        for (const Disc& disc : m_discs) {
            if (std::hypot(x - disc.x, y - disc.y) < disc.radius) {
                const double shade = 0.8 + 0.2 * std::sin(x / 9.0) * std::cos(y / 11.0);
                colour = {disc.colour[0] * shade, disc.colour[1] * shade, disc.colour[2] * shade};
            }
        }
        // What a sensor sees before white balance, and its noise.
        const Colour gains = {0.55, 0.9, 0.7};
        for (size_t i = 0; i < 3; ++i) {
            colour[i] = std::clamp(colour[i] * gains[i] + 0.006 * m_noise(m_random), 0.0, 1.0);
        }
        return colour;
    }

  private:
    double Any() { return std::uniform_real_distribution<double>(0, 1)(m_random); }

    std::mt19937 m_random;
    std::normal_distribution<double> m_noise;
    double m_width;
    double m_height;
    std::vector<Disc> m_discs;
    double m_waves[3];
};

class BitWriter {
  public:
    /// The bit becomes bit `at` of the frame, counted from bit 0 of byte 0.
    void Set(size_t at, bool bit) {
        if (m_bytes.size() <= at / 8) {
            m_bytes.resize(at / 8 + 1);
        }
        m_bytes[at / 8] = static_cast<uint8_t>(m_bytes[at / 8] | (bit ? 1u << (at % 8) : 0u));
    }
    Bytes Take() { return std::move(m_bytes); }

  private:
    Bytes m_bytes;
};

/// Where bit `bit` (0: lowest) of sample i lies in the frame.
size_t BitPlace(const std::string& packing, size_t i, unsigned bit) {
    if (packing == "10p") {
        return i * 10 + bit;
    }
    if (packing == "12p") {
        return i * 12 + bit;
    }
    const size_t group2 = i / 2 * 24;
    const size_t odd = i % 2;
    if (packing == "10Packed") {
        return bit < 2 ? group2 + 8 + odd * 4 + bit : group2 + odd * 16 + bit - 2;
    }
    if (packing == "12Packed") {
        return bit < 4 ? group2 + 8 + odd * 4 + bit : group2 + odd * 16 + bit - 4;
    }
    if (packing == "12CSI2") {
        return bit < 4 ? group2 + 16 + odd * 4 + bit : group2 + odd * 8 + bit - 4;
    }
    const size_t group4 = i / 4 * 40;  // 10CSI2
    return bit < 2 ? group4 + 32 + i % 4 * 2 + bit : group4 + i % 4 * 8 + bit - 2;
}

Bytes Pack(const std::vector<uint32_t>& samples, const std::string& packing, unsigned depth) {
    BitWriter writer;
    for (size_t i = 0; i < samples.size(); ++i) {
        for (unsigned bit = 0; bit < depth; ++bit) {
            const size_t place = packing == "8"   ? i * 8 + bit
                                 : packing == "w" ? i * 16 + bit
                                                  : BitPlace(packing, i, bit);
            writer.Set(place, (samples[i] >> bit & 1) != 0);
        }
        if (packing == "w" && depth < 16) {
            writer.Set(i * 16 + 15, false);
        }
    }
    return writer.Take();
}

uint32_t Quantised(double value, unsigned depth) {
    return static_cast<uint32_t>(std::lround(value * ((1u << depth) - 1)));
}

Bytes Yuv(Scene& scene, const std::string& format, uint32_t width, uint32_t height) {
    const bool each = format == "YUV8_UYV";
    const uint32_t group = each ? 1 : format == "YUV411_8_UYYVYY" ? 4 : 2;
    const std::string order = each                        ? "UYV"
                              : format == "YUV422_8_UYVY" ? "UYVY"
                              : format == "YUV422_8"      ? "YUYV"
                                                          : "UYYVYY";
    Bytes frame;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; x += group) {
            std::vector<double> luma;
            double u = 0;
            double v = 0;
            for (uint32_t i = 0; i < group; ++i) {
                const Colour c = scene.At(x + i, y);
                luma.push_back(255 * (0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]));
                u += (128 + 0.564 * (255 * c[2] - luma.back())) / group;
                v += (128 + 0.713 * (255 * c[0] - luma.back())) / group;
            }
            size_t next = 0;
            for (const char which : order) {
                const double value = which == 'U' ? u : which == 'V' ? v : luma[next++];
                frame.push_back(static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L)));
            }
        }
    }
    return frame;
}

}  // namespace

std::vector<std::string> AllFormats() {
    std::vector<std::string> formats = {"YUV411_8_UYYVYY", "YUV422_8_UYVY", "YUV422_8", "YUV8_UYV"};
    for (const char* tail : {"8", "10", "12"}) {
        formats.push_back(std::string("RGB") + tail);
        formats.push_back(std::string("BGR") + tail);
    }
    for (const char* tail : {"8", "10", "12", "14", "16", "10p", "12p", "10Packed", "12Packed", "10CSI2", "12CSI2"}) {
        for (const char* sites : {"Mono", "BayerGR", "BayerRG", "BayerGB", "BayerBG"}) {
            formats.push_back(std::string(sites) + tail);
        }
    }
    return formats;
}

Bytes Frame(const std::string& format, uint32_t width, uint32_t height, uint32_t seed) {
    Scene scene(width, height, seed);
    if (format.starts_with("YUV")) {
        return Yuv(scene, format, width, height);
    }
    const size_t digits = format.find_first_of("0123456789");
    const std::string kind = format.substr(0, digits);
    const std::string tail = format.substr(digits);
    const auto depth = static_cast<unsigned>(std::stoul(tail));
    const std::string packing = depth == 8 ? "8" : tail.size() > 2 ? tail : "w";
    std::vector<uint32_t> samples;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const Colour colour = scene.At(x, y);
            if (kind == "RGB" || kind == "BGR") {
                for (size_t i = 0; i < 3; ++i) {
                    samples.push_back(Quantised(colour[kind == "RGB" ? i : 2 - i], depth));
                }
            } else if (kind == "Mono") {
                samples.push_back(Quantised(colour[1], depth));
            } else {
                const std::string first = kind.substr(5);
                const std::string second = first == "GR" ? "BG" : first == "RG" ? "GB" : first == "GB" ? "RG" : "GR";
                const char site = (y % 2 == 0 ? first : second)[x % 2];
                samples.push_back(Quantised(colour[site == 'R' ? 0 : site == 'G' ? 1 : 2], depth));
            }
        }
    }
    return Pack(samples, packing, depth);
}

Bytes Padded(const Bytes& frame, uint32_t height, size_t padding, uint8_t value) {
    const size_t row = frame.size() / height;
    Bytes padded;
    for (size_t y = 0; y < height; ++y) {
        padded.insert(padded.end(), frame.begin() + static_cast<ptrdiff_t>(y * row),
                      frame.begin() + static_cast<ptrdiff_t>((y + 1) * row));
        padded.insert(padded.end(), padding, value);
    }
    return padded;
}

bool DifferInRedAndBlue(const std::string& a, const std::string& b) {
    const auto exchanged = [](std::string name) {
        const bool mosaic = name.starts_with("Bayer");
        for (size_t i = mosaic ? 5 : 0; i < (mosaic ? 7u : 3u); ++i) {
            name[i] = name[i] == 'R' ? 'B' : name[i] == 'B' ? 'R' : name[i];
        }
        return name;
    };
    return a != b && !a.starts_with("YUV") && exchanged(a) == b;
}

}  // namespace GuessScenes
