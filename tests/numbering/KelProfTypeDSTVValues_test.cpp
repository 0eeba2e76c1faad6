#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using Type = KelProfTypeDSTVValues::eDSTVType;

std::wstring code(int type) {
    KelProfTypeDSTVValues profile;
    profile.setDSTVType(static_cast<Type>(type));
    return profile.getProftypeString().getStringW();
}

// Reaches the dimension that has no accessor.
class WithUnnamed : public KelProfTypeDSTVValues {
public:
    double unnamed() const { return m_unnamed; }
    void setUnnamed(double value) { m_unnamed = value; }
};

// Getter and setter of one named dimension.
struct Dimension {
    const char* name;
    double (KelProfTypeDSTVValues::*get)() const;
    void (KelProfTypeDSTVValues::*set)(const double&);
};

#define KEL_DIMENSION(X) \
    { #X, &KelProfTypeDSTVValues::get##X, &KelProfTypeDSTVValues::set##X }

const Dimension kDimensions[] = {
    KEL_DIMENSION(H1), KEL_DIMENSION(H2),      KEL_DIMENSION(H3),      KEL_DIMENSION(B1),
    KEL_DIMENSION(B2), KEL_DIMENSION(B3),      KEL_DIMENSION(TS),      KEL_DIMENSION(TG),
    KEL_DIMENSION(T1), KEL_DIMENSION(C),       KEL_DIMENSION(R1),      KEL_DIMENSION(R2),
    KEL_DIMENSION(R3), KEL_DIMENSION(K),       KEL_DIMENSION(F1),      KEL_DIMENSION(F2),
    KEL_DIMENSION(F3), KEL_DIMENSION(ALPHA_S), KEL_DIMENSION(ALPHA_G), KEL_DIMENSION(EY),
    KEL_DIMENSION(EZ), KEL_DIMENSION(W1),      KEL_DIMENSION(W2),      KEL_DIMENSION(W3),
    KEL_DIMENSION(A),  KEL_DIMENSION(G),       KEL_DIMENSION(GH),      KEL_DIMENSION(U),
};

#undef KEL_DIMENSION

TEST(KelProfTypeDSTVValues, ProfileCodes_FollowTheTable) {
    const wchar_t* expected[] = {L"SO",  L"I",   L"L",   L"U",  L"B",  L"RU", L"RO",
                                 L"M",   L"C",   L"T",   L"Z",  L"KA", L"KF", L"KQ",
                                 L"CCS", L"PL1", L"PL2", L"SO", L"CSE"};
    for (int type = -1; type <= 17; ++type)
        EXPECT_EQ(code(type), expected[type + 1]) << "type " << type;
}

TEST(KelProfTypeDSTVValues, ProfileCodes_SpecialProfileForMinusOneSixteenAndUnknown) {
    EXPECT_EQ(code(16), L"SO");
    EXPECT_EQ(code(-1), L"SO");
    EXPECT_EQ(code(42), L"SO");
    EXPECT_EQ(code(18), L"SO");
    EXPECT_EQ(code(-2), L"SO");
    EXPECT_EQ(code(2147483647), L"SO");
    EXPECT_EQ(code(-2147483647 - 1), L"SO");
    EXPECT_EQ(code(13), L"CCS");
}

TEST(KelProfTypeDSTVValues, Enumeration_HasTheFixedNumbers) {
    EXPECT_EQ(KelProfTypeDSTVValues::eDSTV_Undefined, -1);
    EXPECT_EQ(KelProfTypeDSTVValues::eDSTV_I, 0);
    EXPECT_EQ(KelProfTypeDSTVValues::eDSTV_CCS, 13);
    EXPECT_EQ(KelProfTypeDSTVValues::eDSTV_SO, 16);
    EXPECT_EQ(KelProfTypeDSTVValues::eDSTV_CSE, 17);
    EXPECT_EQ(sizeof(Type), 4u);
}

TEST(KelProfTypeDSTVValues, Default_IsTypeZeroWithZeroDimensions) {
    WithUnnamed profile;
    EXPECT_EQ(profile.getDSTVType(), 0);
    EXPECT_EQ(std::wstring(profile.getProftypeString().getStringW()), L"I");
    for (const Dimension& d : kDimensions)
        EXPECT_EQ((profile.*d.get)(), 0.0) << d.name;
    EXPECT_EQ(profile.unnamed(), 0.0);
}

TEST(KelProfTypeDSTVValues, Accessors_KeepEachDimensionApart) {
    KelProfTypeDSTVValues profile;
    double value = 1.0;
    for (const Dimension& d : kDimensions) {
        (profile.*d.set)(value);
        value += 1.0;
    }
    value = 1.0;
    for (const Dimension& d : kDimensions) {
        EXPECT_EQ((profile.*d.get)(), value) << d.name;
        value += 1.0;
    }
    profile.setDSTVType(KelProfTypeDSTVValues::eDSTV_RO);
    EXPECT_EQ(profile.getDSTVType(), KelProfTypeDSTVValues::eDSTV_RO);
}

TEST(KelProfTypeDSTVValues, Copy_TakesTheWholeRecordWithTheUnnamedDimension) {
    WithUnnamed source;
    source.setDSTVType(static_cast<Type>(42));
    source.setH1(300.0);
    source.setALPHA_G(45.0);
    source.setU(1.5);
    source.setUnnamed(7.25);

    WithUnnamed copy(source);
    EXPECT_EQ(copy.getDSTVType(), 42);
    EXPECT_EQ(copy.getH1(), 300.0);
    EXPECT_EQ(copy.getALPHA_G(), 45.0);
    EXPECT_EQ(copy.getU(), 1.5);
    EXPECT_EQ(copy.unnamed(), 7.25);

    WithUnnamed assigned;
    assigned = source;
    EXPECT_EQ(assigned.unnamed(), 7.25);
    EXPECT_EQ(assigned.getH1(), 300.0);
    EXPECT_EQ(std::wstring(assigned.getProftypeString().getStringW()), L"SO");
}

}  // namespace
