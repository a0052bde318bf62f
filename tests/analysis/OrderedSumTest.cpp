#include "analysis/kernels/avx2/OrderedSum.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>

namespace fw::avx2 {
namespace {

using Block = std::array<std::uint8_t, kGroupsPerBlock>;

/// How a frame is summed: blocks at a time where that is allowed, else one by one.
void addBlock(OrderedSum& sum, const Block& block) {
    std::int32_t units = 0;
    for (const std::uint8_t component : block) {
        units += static_cast<std::int32_t>(
            std::nearbyint(static_cast<float>(component) * sum.unitsPerStep()));
    }
    if (sum.addBlock(units)) {
        return;
    }
    for (const std::uint8_t component : block) {
        sum.add(component);
    }
    sum.findRange();
}

/// Adds `blocks` blocks of components below `most`, and compares after each. How many blocks were
/// taken whole is seen from unitsPerStep().
void expectPlainSum(std::uint64_t byteCount, int blocks, unsigned most, std::mt19937& random) {
    const Shares shares(byteCount);
    OrderedSum sum(shares);
    float plain = 0;
    for (int i = 0; i < blocks; ++i) {
        Block block;
        for (std::uint8_t& component : block) {
            component = static_cast<std::uint8_t>(random() % most);
            plain += shares[component];
        }
        addBlock(sum, block);
        ASSERT_EQ(sum.value(), plain)
            << byteCount << " bytes, components below " << most << ", block " << i;
    }
}

TEST(OrderedSumTest, EqualsThePlainSumWhateverTheSizeOfTheFrame) {
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        const std::uint64_t byteCount = 1 + random() % (1U << (4 + round % 24));
        const unsigned most = 1U + random() % 256;
        expectPlainSum(byteCount, 40, most, random);
    }
}

/// There a share can lie half-way between two numbers of units, and goes to the even sum.
TEST(OrderedSumTest, EqualsThePlainSumWhereSharesAreHalvesOfAUnit) {
    std::mt19937 random(2);
    for (int bits = 12; bits <= 21; ++bits) {
        expectPlainSum(std::uint64_t{1} << bits, 4096, 256, random);
    }
}

TEST(OrderedSumTest, StaysAtNothingWhileNothingIsAdded) {
    const Shares shares(1000);
    OrderedSum sum(shares);
    EXPECT_FALSE(sum.addBlock(0)) << "no range is known yet";
    sum.add(0);
    sum.findRange();
    EXPECT_TRUE(sum.addBlock(0));
    EXPECT_EQ(sum.value(), 0);
    EXPECT_FALSE(sum.addBlock(1)) << "of components that are not nothing the order matters";
    EXPECT_EQ(sum.value(), 0);
}

TEST(OrderedSumTest, LeavesABlockThatReachesTheNextPowerOfTwo) {
    const Shares shares(256); // Components are whole numbers of 1/256.
    OrderedSum sum(shares);
    for (int i = 0; i < 40000; ++i) {
        sum.add(255);
    }
    sum.findRange();
    const float start = sum.value();
    ASSERT_GT(sum.unitsPerStep(), 0);
    const float unit = shares[1] / sum.unitsPerStep();
    const float next = std::exp2(std::ceil(std::log2(start)));
    const auto left = static_cast<std::int32_t>((next - start) / unit);
    EXPECT_FALSE(sum.addBlock(left));
    EXPECT_EQ(sum.value(), start);
    EXPECT_TRUE(sum.addBlock(left - 1));
    EXPECT_EQ(sum.value(), next - unit);
}

} // namespace
} // namespace fw::avx2
