#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using Roots =
    KelArray<double, KelArrayMemCopyReallocator<double>, KelArrayMemoryController<double>>;

std::vector<double> values(const Roots& roots) {
    return std::vector<double>(roots.getData(), roots.getData() + roots.length());
}

void expectRoots(const Roots& roots, std::vector<double> expected, double tolerance = 1e-9) {
    ASSERT_EQ(roots.length(), static_cast<long>(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(roots[static_cast<long>(i)], expected[i], tolerance) << "root " << i;
}

TEST(KelMathUtilities, Pi_IsAcosOfMinusOne) {
    EXPECT_EQ(KelMathUtilities::PI, std::acos(-1.0));
}

TEST(KelMathUtilities, Quadratic_EdgeCases) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(0, 0, 5, roots), 0);
    EXPECT_EQ(roots.length(), 0);
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(0, 2, -4, roots), 1);
    expectRoots(roots, {2.0}, 0.0);
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(1, -2, 1, roots), 1);
    expectRoots(roots, {1.0}, 0.0);
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(1, 0, -1, roots), 2);
    expectRoots(roots, {-1.0, 1.0}, 0.0);
}

TEST(KelMathUtilities, Quadratic_NoRealRootsEmptiesTheArray) {
    Roots roots;
    roots.append(42.0);
    roots.append(43.0);
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(1, 0, 1, roots), 0);
    EXPECT_EQ(roots.length(), 0);
}

TEST(KelMathUtilities, Quadratic_OrderFollowsTheFormula) {
    Roots roots;
    // With a negative leading coefficient the larger root comes first.
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(-1, 0, 4, roots), 2);
    expectRoots(roots, {2.0, -2.0}, 0.0);
    // A discriminant below the tolerance counts as zero.
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(1, 2, 1 - 1e-10, roots), 1);
    expectRoots(roots, {-1.0}, 0.0);
    // A leading coefficient below the tolerance falls to the linear case.
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(1e-10, 4, 2, roots), 1);
    expectRoots(roots, {-0.5}, 0.0);
}

TEST(KelMathUtilities, Cubic_ThreeRootsInTrigonometricOrder) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, -6, 11, -6, roots), 3);
    expectRoots(roots, {3.0, 1.0, 2.0});
}

TEST(KelMathUtilities, Cubic_TripleZeroGivesNegativeZero) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, 0, 0, 0, roots), 1);
    ASSERT_EQ(roots.length(), 1);
    EXPECT_EQ(roots[0], 0.0);
    EXPECT_TRUE(std::signbit(roots[0]));
}

TEST(KelMathUtilities, Cubic_ZeroConstantWithAZeroRootAddsNoZero) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, -1, 0, 0, roots), 2);
    expectRoots(roots, {0.0, 1.0}, 0.0);
}

TEST(KelMathUtilities, Cubic_ZeroConstantPutsZeroFirst) {
    Roots roots;
    // x^3 - 3x^2 + 2x = x (x - 1) (x - 2)
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, -3, 2, 0, roots), 3);
    expectRoots(roots, {0.0, 1.0, 2.0}, 0.0);
    // x^3 + x = x (x^2 + 1): the quadratic has no roots, zero stays.
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, 0, 1, 0, roots), 1);
    expectRoots(roots, {0.0}, 0.0);
}

TEST(KelMathUtilities, Cubic_LeadingZeroFallsToTheQuadratic) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::CubicSolver(0, 1, 0, -1, roots), 2);
    expectRoots(roots, {-1.0, 1.0}, 0.0);
}

TEST(KelMathUtilities, Cubic_OneRealRoot) {
    Roots roots;
    // (x - 2) (x^2 + 1) = x^3 - 2x^2 + x - 2
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, -2, 1, -2, roots), 1);
    expectRoots(roots, {2.0});
    // x^3 + 8: the cube root of a negative value keeps its sign.
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, 0, 0, 8, roots), 1);
    expectRoots(roots, {-2.0});
}

TEST(KelMathUtilities, Cubic_DoubleRootWithPositiveR) {
    Roots roots;
    // (x + 1)^2 (x - 2) = x^3 - 3x - 2: D vanishes and R = 1, so the roots
    // are 2S - p/3 = 2 and -p/3 - S = -1.
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, 0, -3, -2, roots), 2);
    expectRoots(roots, {2.0, -1.0});
}

TEST(KelMathUtilities, Cubic_DoubleRootWithNegativeRGivesNotANumber) {
    Roots roots;
    // (x - 1)^2 (x + 2) = x^3 - 3x + 2: R = -1, and pow(-1, 1/3) is not a
    // number. This is the solver's defined result.
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, 0, -3, 2, roots), 2);
    ASSERT_EQ(roots.length(), 2);
    EXPECT_TRUE(std::isnan(roots[0]));
    EXPECT_TRUE(std::isnan(roots[1]));
}

TEST(KelMathUtilities, Cubic_TripleRoot) {
    Roots roots;
    // (x - 2)^3 = x^3 - 6x^2 + 12x - 8: D and R vanish, one root 2.
    EXPECT_EQ(KelMathUtilities::CubicSolver(1, -6, 12, -8, roots), 1);
    expectRoots(roots, {2.0});
}

TEST(KelMathUtilities, Quartic_FourRootsInFerrariOrder) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::QuarticSolver(1, 0, -5, 0, 4, roots), 4);
    expectRoots(roots, {-2.0, -1.0, 1.0, 2.0});
}

TEST(KelMathUtilities, Quartic_ZeroConstantPutsZeroFirst) {
    Roots roots;
    // x (x - 1) (x - 2) (x - 3) = x^4 - 6x^3 + 11x^2 - 6x
    EXPECT_EQ(KelMathUtilities::QuarticSolver(1, -6, 11, -6, 0, roots), 4);
    expectRoots(roots, {0.0, 3.0, 1.0, 2.0});
    // x^2 (x - 1) (x - 2): the cubic already has its zero.
    EXPECT_EQ(KelMathUtilities::QuarticSolver(1, -3, 2, 0, 0, roots), 3);
    expectRoots(roots, {0.0, 1.0, 2.0}, 0.0);
}

TEST(KelMathUtilities, Quartic_LeadingZeroFallsToTheCubic) {
    Roots roots;
    EXPECT_EQ(KelMathUtilities::QuarticSolver(0, 1, -6, 11, -6, roots), 3);
    expectRoots(roots, {3.0, 1.0, 2.0});
}

TEST(KelMathUtilities, Quartic_NoRealRoots) {
    Roots roots;
    roots.append(1.0);
    EXPECT_EQ(KelMathUtilities::QuarticSolver(1, 0, 0, 0, 1, roots), 0);
    EXPECT_EQ(roots.length(), 0);
}

TEST(KelMathUtilities, Quartic_SharedRootsAppearOnce) {
    Roots roots;
    // (x - 1)^2 (x + 1)^2 = x^4 - 2x^2 + 1: the two quadratic factors are
    // equal, and the second adds nothing.
    EXPECT_EQ(KelMathUtilities::QuarticSolver(1, 0, -2, 0, 1, roots), 2);
    std::vector<double> found = values(roots);
    std::sort(found.begin(), found.end());
    EXPECT_NEAR(found[0], -1.0, 1e-9);
    EXPECT_NEAR(found[1], 1.0, 1e-9);
}

TEST(KelMathUtilities, NotANumber_Propagates) {
    Roots roots;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(0, 1, nan, roots), 1);
    EXPECT_TRUE(std::isnan(roots[0]));
    // A not-a-number discriminant is neither near zero nor positive.
    EXPECT_EQ(KelMathUtilities::QuadraticSolver(1, nan, 1, roots), 0);
}

// Every root, substituted back, leaves a residual small against the size
// of the polynomial's terms there.
double residual(const std::vector<double>& coefficients, double x) {
    double value = 0.0;
    double scale = 0.0;
    double power = 1.0;
    for (auto it = coefficients.rbegin(); it != coefficients.rend(); ++it) {
        value += *it * power;
        scale += std::fabs(*it * power);
        power *= x;
    }
    return std::fabs(value) / std::max(scale, 1.0);
}

// Coefficients of the monic polynomial with the given roots, times `lead`.
std::vector<double> fromRoots(const std::vector<double>& roots, double lead) {
    std::vector<double> c{lead};
    for (double r : roots) {
        c.push_back(0.0);
        for (size_t i = c.size() - 1; i > 0; --i)
            c[i] -= r * c[i - 1];
    }
    return c;
}

// n distinct roots in [-10, 10], at least 0.25 apart and away from zero.
std::vector<double> randomRoots(std::mt19937_64& random, int n) {
    std::uniform_real_distribution<double> value(-10.0, 10.0);
    std::vector<double> roots;
    while (static_cast<int>(roots.size()) < n) {
        const double r = value(random);
        if (std::fabs(r) < 0.25)
            continue;
        if (std::all_of(roots.begin(), roots.end(),
                        [r](double other) { return std::fabs(other - r) >= 0.25; }))
            roots.push_back(r);
    }
    return roots;
}

int solve(const std::vector<double>& c, Roots& roots) {
    switch (c.size()) {
        case 3:
            return KelMathUtilities::QuadraticSolver(c[0], c[1], c[2], roots);
        case 4:
            return KelMathUtilities::CubicSolver(c[0], c[1], c[2], c[3], roots);
        default:
            return KelMathUtilities::QuarticSolver(c[0], c[1], c[2], c[3], c[4], roots);
    }
}

class RandomPolynomials : public ::testing::TestWithParam<int> {};

TEST_P(RandomPolynomials, EveryRootSatisfiesItsPolynomial) {
    const int degree = GetParam();
    std::mt19937_64 random(1000 + degree);
    std::uniform_real_distribution<double> lead(0.5, 4.0);
    std::bernoulli_distribution negative(0.5);
    // Relative to the size of the terms. Ferrari's closed form without
    // polishing loses more digits than the lower degrees (measured worst
    // case over these polynomials: about 6e-9).
    const double tolerance = degree == 4 ? 1e-7 : 1e-12;
    Roots roots;
    for (int trial = 0; trial < 10000; ++trial) {
        const std::vector<double> known = randomRoots(random, degree);
        const std::vector<double> c =
            fromRoots(known, negative(random) ? -lead(random) : lead(random));
        const int n = solve(c, roots);
        ASSERT_EQ(n, roots.length());
        ASSERT_EQ(n, degree) << "trial " << trial;
        for (long i = 0; i < roots.length(); ++i) {
            ASSERT_FALSE(std::isnan(roots[i]));
            ASSERT_LT(residual(c, roots[i]), tolerance)
                << "trial " << trial << " root " << roots[i];
            const double nearest =
                *std::min_element(known.begin(), known.end(), [&](double a, double b) {
                    return std::fabs(a - roots[i]) < std::fabs(b - roots[i]);
                });
            ASSERT_NEAR(roots[i], nearest, 1e-5) << "trial " << trial;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Degrees, RandomPolynomials, ::testing::Values(2, 3, 4));

TEST(KelDouble, MinRoundOffset_IsOneTenThousandth) {
    EXPECT_EQ(KelDouble::MinRoundOffset, 0.0001);
}

TEST(KelDouble, Round_EdgeCases) {
    EXPECT_DOUBLE_EQ(KelDouble::round(2.345, 2, 0), 2.35);
    EXPECT_DOUBLE_EQ(KelDouble::round(7.3, 1, 0.5), 7.5);
    EXPECT_DOUBLE_EQ(KelDouble::round(7.3, 0, 0.5), 8.0);
    EXPECT_DOUBLE_EQ(KelDouble::round(7.2, 1, 0.5), 7.0);
    EXPECT_DOUBLE_EQ(KelDouble::round(1.23456, 3, 0), 1.235);
    EXPECT_DOUBLE_EQ(KelDouble::round(-1.25, 1, 0), -1.2);  // half up, not away from zero
}

TEST(KelDouble, Round_NegativeValuesSnapByTruncation) {
    // (0.25 + 7.3) / 0.5 = 15.1 -> 15 -> 7.5, but (0.25 - 7.3) / 0.5 = -14.1
    // -> -14 -> -7.0: the quotient truncates toward zero.
    EXPECT_DOUBLE_EQ(KelDouble::round(-7.3, 1, 0.5), -7.0);
    EXPECT_DOUBLE_EQ(KelDouble::round(-7.6, 1, 0.5), -7.0);
    EXPECT_DOUBLE_EQ(KelDouble::round(-7.9, 1, 0.5), -7.5);
    // A step at or below 1e-10 is ignored.
    EXPECT_DOUBLE_EQ(KelDouble::round(7.3, 1, 1e-10), 7.3);
}

TEST(KelDouble, Round_QuotientOutOfIntRangeIsDefined) {
    // The quotient does not fit an int: it becomes INT_MIN.
    EXPECT_DOUBLE_EQ(KelDouble::round(1e12, 0, 1.0), static_cast<double>(INT_MIN));
}

TEST(KelDouble, LongRound_EdgeCases) {
    EXPECT_EQ(KelDouble::longRound(-2.5, 0.5), -3);
    EXPECT_EQ(KelDouble::longRound(2.5, 0.5), 3);
    EXPECT_EQ(KelDouble::longRound(2.99995, 0), 3);
    EXPECT_EQ(KelDouble::longRound(2.9998, 0), 2);
    EXPECT_EQ(KelDouble::longRound(-2.99995, 0), -3);
    EXPECT_EQ(KelDouble::longRound(2.4, 0.5), 2);
    EXPECT_EQ(KelDouble::longRound(2.4, 1.5), 2);  // out of range: 0.0001
    EXPECT_EQ(KelDouble::longRound(2.2, 0.9), 3);
    EXPECT_EQ(KelDouble::longRound(std::numeric_limits<double>::quiet_NaN(), 0.5), LONG_MIN);
    EXPECT_EQ(KelDouble::longRound(1e30, 0.5), LONG_MIN);
}

TEST(KelZClipping, Default_TakesTheCurrentDefaults) {
    KelZClipping clip;
    EXPECT_EQ(clip.mode, 0);
    EXPECT_EQ(clip.upper, 20.0);
    EXPECT_EQ(clip.lower, -20.0);
    const double upper = KelZClipping::kClipUpperDefault;
    const double lower = KelZClipping::kClipLowerDefault;
    EXPECT_EQ(upper, 20.0);
    EXPECT_EQ(lower, -20.0);
    KelZClipping::kClipUpperDefault = 5.0;
    KelZClipping::kClipLowerDefault = -1.0;
    KelZClipping later;
    EXPECT_EQ(later.upper, 5.0);
    EXPECT_EQ(later.lower, -1.0);
    EXPECT_EQ(clip.upper, 20.0);  // read at construction only
    KelZClipping::kClipUpperDefault = upper;
    KelZClipping::kClipLowerDefault = lower;
}

TEST(KelZClipping, Equality_IsExact) {
    const KelZClipping a(static_cast<KelZClipping::eZClip>(2), 1.5, -1.5);
    KelZClipping b(a);
    EXPECT_EQ(a == b, 1);
    EXPECT_EQ(a != b, 0);
    b.upper = 1.5000000001;
    EXPECT_EQ(a == b, 0);
    EXPECT_EQ(a != b, 1);
    KelZClipping c;
    c = a;
    EXPECT_EQ(c == a, 1);
    c.mode = static_cast<KelZClipping::eZClip>(7);
    EXPECT_EQ(c == a, 0);
}

TEST(KelZClipping, NotANumberBound_IsNeverEqual) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const KelZClipping a(KelZClipping::eZClipDefault, nan, 0.0);
    const KelZClipping b(a);
    EXPECT_EQ(a == b, 0);
    EXPECT_EQ(a != b, 1);
    EXPECT_EQ(a == a, 0);
}

}  // namespace
