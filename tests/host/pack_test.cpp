#include "host/pack.h"

#include <gtest/gtest.h>

#include <cstring>

#include "host/fake_spark.h"
#include "host/my_image.h"
#include "image/arithmetic.h"
#include "image/half_float.h"
#include "support/noise.h"

namespace velorin {
namespace {

// A frame that neither 2 nor 8 threads divide.
constexpr int kWidth = 13;
constexpr int kHeight = 7;
constexpr int kPixels = kWidth * kHeight;

using Bytes = std::vector<unsigned char>;

Bytes Random(int bytes) {
    Noise noise(5);
    Bytes made(bytes);
    for (unsigned char& byte : made) byte = static_cast<unsigned char>(noise.Bits());
    return made;
}

std::int64_t Size(const Bytes& bytes) {
    return static_cast<std::int64_t>(bytes.size());
}

spark_info_struct RecordOf(int format) {
    Width = kWidth;
    Height = kHeight;
    spark_info_struct info{};
    info.frameDepth = format;
    info.frameBytes = kPixels * (format <= 25 ? 3 : 6);
    return info;
}

// Channel i of a host's frame, as the block has it, and of a block, as the host has it.
double Unpacked(const Bytes& host, int format, int i) {
    if (format <= 25) return host[i];
    std::uint16_t word;
    std::memcpy(&word, &host[2 * i], 2);
    return format == 49 ? HalfToFloat(word) : word >> 4;
}

double InBlock(const Bytes& block, int format, int i) {
    if (format <= 25) return block[i];
    std::uint16_t word;
    float value;
    if (format != 49) return std::memcpy(&word, &block[2 * i], 2), word;
    return std::memcpy(&value, &block[4 * i], 4), value;
}

TEST(Pack, EveryFormatIsTakenApartAndPutTogether) {
    for (const int format : {24, 25, 48, 64, 49}) {
        const spark_info_struct info = RecordOf(format);
        const Bytes host = Random(info.frameBytes);
        const double white = format <= 25 ? 255 : format == 49 ? 1 : 4095;
        for (const int threads : {1, 2, 8}) {
            SCOPED_TRACE(format * 100 + threads);
            UseFakeSpark().threads = threads;
            Bytes block(kPixels * BlockPixelBytes(format, 4), 7);
            Bytes channel(kPixels * BlockPixelBytes(format, 1), 7);
            ASSERT_EQ(
                sparkCombine4Buffers(&info, block.data(), Size(block), host.data(), nullptr, 0), 1);
            ASSERT_EQ(sparkCombine1Buffers(&info, channel.data(), Size(channel), host.data(), 2),
                      1);
            for (int i = 0; i < kPixels; ++i) {
                for (int c = 0; c < 3; ++c) {
                    EXPECT_SAME_BITS(InBlock(block, format, i * 4 + c),
                                     Unpacked(host, format, i * 3 + c));
                }
                EXPECT_EQ(InBlock(block, format, i * 4 + 3), white);
                EXPECT_SAME_BITS(InBlock(channel, format, i), Unpacked(host, format, i * 3 + 2));
            }
            Bytes colour(info.frameBytes, 0xff), alpha(info.frameBytes, 0x55);
            ASSERT_EQ(sparkUnCombine4Buffers(&info, colour.data(), block.data(), Size(block),
                                             alpha.data()),
                      1);
            for (int i = 0; i < kPixels * 3; ++i) {
                EXPECT_SAME_BITS(Unpacked(colour, format, i), Unpacked(host, format, i) + 0.0);
                EXPECT_EQ(Unpacked(alpha, format, i), white);
            }
            if (format != 48) continue;
            EXPECT_EQ(colour[0] & 15, 0);  // cleared before
            EXPECT_EQ(alpha[0] & 15, 5);   // stays
        }
    }
}

TEST(Pack, TwelveBitsComeThroughWideningAndNarrowing) {
    UseFakeSpark();
    const spark_info_struct info = RecordOf(48);
    std::vector<std::uint16_t> host(kPixels * 3), colour(kPixels * 3), alpha(kPixels * 3);
    // All 4096 values, under any lower bits.
    for (int round = 0; round < 16; ++round) {
        Noise noise(round);
        for (int i = 0; i < kPixels * 3; ++i) {
            const int value = round * kPixels * 3 + i;
            host[i] = static_cast<std::uint16_t>(value << 4 | noise.Int(0, 15));
        }
        MyImage image;
        auto* block = new unsigned char[kPixels * 8];
        ASSERT_EQ(image.MyInit(block, kWidth, kHeight, 48, kWidth * 8, 4), 0);
        sparkCombine4Buffers(&info, block, kPixels * 8, host.data(), nullptr, 0);
        ScaleForHostDepth(&image, 65535.0f / 4095.0f);
        ScaleClamped(&image, 4095.0f / 65535.0f, 4095.0f);
        sparkUnCombine4Buffers(&info, colour.data(), block, kPixels * 8, alpha.data());
        for (int i = 0; i < kPixels * 3; ++i) EXPECT_EQ(colour[i], host[i] & 0xfff0);
    }
}

// The host may share out more pixels than its buffer told of.
TEST(Pack, NothingIsReadOrWrittenBeyondTheBlock) {
    for (const int format : {24, 48, 49}) {
        for (const int threads : {1, 4}) {
            UseFakeSpark().threads = threads;
            const spark_info_struct info = RecordOf(format);
            const Bytes host = Random(info.frameBytes);
            const int pixels = kPixels * 5 / 6, bytes = pixels * BlockPixelBytes(format, 4);
            Bytes block(bytes + 64, 7), colour(info.frameBytes, 7), alpha = colour;
            sparkCombine4Buffers(&info, block.data(), bytes, host.data(), nullptr, 0);
            sparkCombine1Buffers(&info, block.data(), bytes, host.data(), 0);
            sparkCombine4Buffers(&info, block.data(), bytes, host.data(), host.data(), 1);
            EXPECT_EQ(Bytes(block.begin() + bytes, block.end()), Bytes(64, 7)) << format;
            sparkUnCombine4Buffers(&info, colour.data(), block.data(), bytes, alpha.data());
            const std::size_t used = pixels * (info.frameBytes / kPixels);
            EXPECT_EQ(Bytes(alpha.begin() + used, alpha.end()), Bytes(alpha.size() - used, 7));
            EXPECT_NE(colour[used - 1] | colour[used - 2], 0);
            EXPECT_EQ(Bytes(colour.begin() + used, colour.end()), Bytes(alpha.size() - used, 0));
        }
    }
}

TEST(Pack, WhatIsMissingOrUnknownStaysAsItWas) {
    FakeSpark& fake = UseFakeSpark();
    fake.threads = 2;
    spark_info_struct info = RecordOf(48);
    const Bytes host = Random(info.frameBytes);
    const Bytes untouched(kPixels * 8, 7);
    Bytes block = untouched;
    for (const int channel : {-1, 3, 4})
        sparkCombine1Buffers(&info, block.data(), Size(block), host.data(), channel);
    sparkCombine1Buffers(&info, block.data(), Size(block), nullptr, 0);
    sparkCombine4Buffers(nullptr, block.data(), Size(block), host.data(), nullptr, 0);
    EXPECT_EQ(block, untouched);

    // What a frame of the host has is cleared all the same.
    Bytes cleared = untouched;
    std::fill_n(cleared.begin(), info.frameBytes, 0);
    sparkCombine4Buffers(&info, block.data(), Size(block), host.data(), nullptr, 1);
    EXPECT_EQ(block, cleared);
    info.frameDepth = 50;
    sparkCombine4Buffers(&info, block.data(), Size(block), host.data(), nullptr, 0);
    EXPECT_EQ(block, cleared);
    info.frameDepth = 64;
    sparkCombine4Buffers(&info, block.data(), Size(block), host.data(), host.data(), 1);
    EXPECT_EQ(InBlock(block, 64, 0), 4095);
    EXPECT_EQ(InBlock(block, 64, kPixels * 4 - 1), 4095);

    fake.threads = 1;
    testing::internal::CaptureStdout();
    Bytes colour(info.frameBytes, 7);
    sparkUnCombine4Buffers(&info, colour.data(), block.data(), Size(block), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "uncombine 4 pixel 91 offset 0 MISSING BUFFER  \n");
    EXPECT_EQ(colour, Bytes(info.frameBytes, 0));
}

}  // namespace
}  // namespace velorin
