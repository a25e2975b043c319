// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Rows that lie a gigabyte apart, so that the last ones begin beyond 4 GiB: they are found as those of a small buffer.
// Addresses without memory until they are touched make it cheap.
#include <sys/mman.h>

#include <algorithm>

#include "FramesTest.h"

namespace {

constexpr uint32_t kWidth = 20;
constexpr uint32_t kHeight = 6;
constexpr size_t kApart = size_t{1} << 30;
constexpr size_t kAddresses = kApart * 6 * kHeight + 4096;  // rows of 2^30 pixels have up to 6 * 2^30 bytes

class FarRows : public testing::Test {
  protected:
    void SetUp() override {
        for (uint8_t*& block : m_blocks) {
            void* const mapped =
                mmap(nullptr, kAddresses, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
            if (mapped == MAP_FAILED) {
                GTEST_SKIP() << "72 GiB of addresses are not to be had";
            }
            block = static_cast<uint8_t*>(mapped);
        }
    }
    void TearDown() override {
        for (uint8_t* const block : m_blocks) {
            if (block != nullptr) {
                munmap(block, kAddresses);
            }
        }
    }

    uint8_t* Source() const { return m_blocks[0]; }
    uint8_t* Destination() const { return m_blocks[1]; }

    /// Rows that lie `apart` bytes from each other, one after another.
    static std::vector<uint8_t> Gathered(const uint8_t* rows, size_t apart, size_t bytes) {
        std::vector<uint8_t> gathered;
        for (size_t row = 0; row < kHeight; ++row) {
            gathered.insert(gathered.end(), rows + row * apart, rows + row * apart + bytes);
        }
        return gathered;
    }

    /// The layout far apart has to give what the tight one gives, into rows far apart as well.
    void ExpectSameAsTight(const VcfLayout& far, const VcfLayout& tight, const std::vector<uint8_t>& frame) {
        SCOPED_TRACE(FramesModel::Describe(far));
        const size_t rowBytes = size_t{kWidth} * 4;
        std::vector<uint8_t> expected(rowBytes * kHeight);
        ASSERT_EQ(Convert(tight, frame.data(), frame.size(), expected.data(), 0), VCF_OK);
        ASSERT_EQ(Convert(far, Source(), kAddresses, Destination(), kApart), VCF_OK);
        EXPECT_TRUE(Gathered(Destination(), kApart, rowBytes) == expected);
    }

    static VcfStatus Convert(const VcfLayout& layout, const uint8_t* src, size_t length, uint8_t* dst, size_t stride) {
        VcfConverter* made = nullptr;
        EXPECT_EQ(VcfCreateConverter(&made, &layout, VCF_OUTPUT_BGRA, nullptr, nullptr, 0), VCF_OK);
        const Converter converter(made);
        return VcfConvert(converter.get(), src, length, dst, stride, nullptr, 0);
    }

  private:
    uint8_t* m_blocks[2] = {};
};

constexpr PixelFormat kFormats[] = {PIXEL_FORMAT_MONO8,       PIXEL_FORMAT_MONO12P, PIXEL_FORMAT_BAYER_RG8,
                                    PIXEL_FORMAT_BAYER_GR12P, PIXEL_FORMAT_RGB10,   PIXEL_FORMAT_YUV422_8_UYVY};

std::vector<uint8_t> SomeBytes(size_t count, Reference::Random& random) {
    std::vector<uint8_t> bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random.Below(256)); });
    return bytes;
}

TEST_F(FarRows, OfAStride) {
    Reference::Random random(1);
    for (const PixelFormat format : kFormats) {
        const VcfLayout tight = LayoutOf(format, kWidth, kHeight);
        const size_t rowBytes = VcfRowBytes(&tight);
        const std::vector<uint8_t> frame = SomeBytes(rowBytes * kHeight, random);
        VcfLayout far = tight;
        far.stride = kApart;
        for (size_t row = 0; row < kHeight; ++row) {
            std::copy_n(frame.data() + row * rowBytes, rowBytes, Source() + row * kApart);
        }
        ExpectSameAsTight(far, tight, frame);
        if (VcfFindFormat(format)->kind == VCF_KIND_YUV) {
            continue;
        }
        const size_t samples = size_t{kWidth} * 2 * (VcfFindFormat(format)->kind == VCF_KIND_COLOUR ? 3 : 1);
        std::vector<uint8_t> expected(samples * kHeight);
        ASSERT_EQ(VcfUnpack(&tight, frame.data(), frame.size(), expected.data(), 0, 2, nullptr, 0), VCF_OK);
        ASSERT_EQ(VcfUnpack(&far, Source(), kAddresses, Destination(), kApart, 2, nullptr, 0), VCF_OK);
        EXPECT_TRUE(Gathered(Destination(), kApart, samples) == expected);
        std::vector<uint8_t> packed(frame.size());
        ASSERT_EQ(VcfPack(&tight, Destination(), kApart, packed.data(), packed.size(), nullptr, 0), VCF_OK);
        std::vector<uint8_t> again(frame.size());
        ASSERT_EQ(VcfPack(&tight, expected.data(), 0, again.data(), again.size(), nullptr, 0), VCF_OK);
        EXPECT_TRUE(packed == again);
    }
}

TEST_F(FarRows, OfAWideRun) {
    Reference::Random random(2);
    for (const PixelFormat format : kFormats) {
        const VcfLayout tight = LayoutOf(format, kWidth, kHeight);
        const size_t rowBytes = VcfRowBytes(&tight);
        const std::vector<uint8_t> frame = SomeBytes(rowBytes * kHeight, random);
        VcfLayout far = tight;
        far.row_width = kApart;
        const VcfLayout wide = LayoutOf(format, kApart, 1);
        const size_t apart = VcfRowBytes(&wide);
        for (size_t row = 0; row < kHeight; ++row) {
            std::copy_n(frame.data() + row * rowBytes, rowBytes, Source() + row * apart);
        }
        ExpectSameAsTight(far, tight, frame);
    }
}

}  // namespace
