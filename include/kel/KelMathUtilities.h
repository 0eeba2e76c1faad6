/// @file KelMathUtilities.h
/// Polynomial roots, rounding and a depth clipping range.
///
/// The solvers are closed-form (no iteration) and report real roots only, in
/// the order their formulas produce them, neither sorted nor polished:
///
/// @code
///   KelMathUtilities::RootArray roots;
///   int n = KelMathUtilities::CubicSolver(1, -6, 11, -6, roots);  // 3: 3, 1, 2
///   double r = KelDouble::round(7.3, 1, 0.5);                     // 7.5
///   long l = KelDouble::longRound(-2.5, 0.5);                     // -3
/// @endcode

#ifndef KEL_KELMATHUTILITIES_H
#define KEL_KELMATHUTILITIES_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>

/// Real roots of polynomials up to degree four. Every solver first empties
/// `roots`, then appends the roots it finds and returns their number. A
/// leading coefficient within 1e-9 of zero falls through to the next lower
/// degree; a constant term within 1e-9 of zero puts the root 0.0 first
/// (unless a root within 1e-9 of zero is there already). The tolerance
/// throughout is 1e-9, absolute.
///
/// @copydetails KelMathUtilities.h
class KEL_API KelMathUtilities {
public:
    /// The array the solvers fill with roots.
    typedef KelArray<double, KelArrayMemCopyReallocator<double>, KelArrayMemoryController<double>>
        RootArray;

    /// acos(-1.0), set when the library is loaded.
    static const double PI;

    /// a x^2 + b x + c. Two roots in the order (-b - s) / 2a, (s - b) / 2a
    /// with s the square root of the discriminant; one root when the
    /// discriminant is within 1e-9 of zero, or -c / b for a linear equation.
    static int QuadraticSolver(double a, double b, double c, RootArray& roots);

    /// a x^3 + b x^2 + c x + d, by Cardano on the normalised cubic. Three
    /// real roots come in the trigonometric order (angles theta / 3, (2 PI +
    /// theta) / 3, (4 PI + theta) / 3). Where the discriminant is within 1e-9
    /// of zero and R is negative, the two roots are not-a-number: the cube
    /// root there is taken without sign handling, which is this solver's
    /// defined result.
    static int CubicSolver(double a, double b, double c, double d, RootArray& roots);

    /// a x^4 + b x^3 + c x^2 + d x + e, by Ferrari through the resolvent
    /// cubic. The roots of the first quadratic factor come first, then those
    /// of the second that are not within 1e-9 of one of them.
    static int QuarticSolver(double a, double b, double c, double d, double e, RootArray& roots);
};

/// Rounding helpers.
///
/// @see KelMathUtilities, whose example rounds.
class KEL_API KelDouble {
public:
    /// The smallest offset longRound accepts (0.0001).
    static const double MinRoundOffset;

    /// Snaps `value` to a multiple of `step` when step > 1e-10 (the quotient
    /// truncated toward zero to a 32-bit int, so negative values snap
    /// differently from positive ones, deliberately), then rounds half up to
    /// `digits` decimals: round(2.345, 2, 0) = 2.35, round(7.3, 1, 0.5) =
    /// 7.5, round(7.3, 0, 0.5) = 8.
    static double round(double value, unsigned short digits, double step);

    /// value + offset (or - offset for a negative value) truncated toward
    /// zero. An offset outside [0.0001, 0.9999] becomes 0.0001. With 0.5 this
    /// rounds half away from zero; with the default it truncates after
    /// forgiving a shortfall of 0.0001 (2.99995 gives 3). A result that does
    /// not fit a long gives LONG_MIN.
    static long longRound(const double& value, double offset);
};

/// A depth (Z) clipping range: a mode and an upper and a lower bound.
class KEL_API KelZClipping {
public:
    /// The clipping mode, carried for client code; the library gives meaning
    /// to none of its values. 0 is the default.
    enum eZClip : int {
        eZClipDefault = 0,
    };

    /// The bounds a default-constructed range takes, read at construction.
    /// Client code may change them; they start as 20.0 and -20.0.
    static double kClipUpperDefault;
    /// @copydoc kClipUpperDefault
    static double kClipLowerDefault;

    /// Mode 0 and the current default bounds.
    KelZClipping();
    /// The given mode and bounds, stored as given (neither checked nor
    /// ordered).
    KelZClipping(eZClip mode, double upper, double lower);
    /// Copies the mode and both bounds.
    KelZClipping(const KelZClipping& other) = default;
    /// @copydoc KelZClipping(const KelZClipping&)
    KelZClipping& operator=(const KelZClipping& other) = default;

    /// 1 when mode, upper and lower are all exactly equal, else 0; a
    /// not-a-number bound therefore makes two ranges unequal.
    int operator==(const KelZClipping& other) const;
    /// The exact negation of operator==.
    int operator!=(const KelZClipping& other) const;

    eZClip mode;   ///< the clipping mode
    double upper;  ///< the upper bound
    double lower;  ///< the lower bound
};

#endif  // KEL_KELMATHUTILITIES_H
