// The DSTV profile record and its profile codes.

#include <kel/KelProfTypeDSTVValues.h>

KelProfTypeDSTVValues::KelProfTypeDSTVValues()
    : m_dstvType(eDSTV_I),
      m_H1(0.0),
      m_H2(0.0),
      m_H3(0.0),
      m_B1(0.0),
      m_B2(0.0),
      m_B3(0.0),
      m_TS(0.0),
      m_TG(0.0),
      m_T1(0.0),
      m_C(0.0),
      m_R1(0.0),
      m_R2(0.0),
      m_R3(0.0),
      m_K(0.0),
      m_F1(0.0),
      m_F2(0.0),
      m_F3(0.0),
      m_ALPHA_S(0.0),
      m_ALPHA_G(0.0),
      m_EY(0.0),
      m_EZ(0.0),
      m_unnamed(0.0),
      m_W1(0.0),
      m_W2(0.0),
      m_W3(0.0),
      m_A(0.0),
      m_G(0.0),
      m_GH(0.0),
      m_U(0.0) {}

KelProfTypeDSTVValues::~KelProfTypeDSTVValues() = default;

KelString KelProfTypeDSTVValues::getProftypeString() const {
    // Indexed by type + 1, from -1 to 17.
    static const wchar_t* const kCodes[] = {L"SO",  L"I",   L"L",   L"U",  L"B",  L"RU", L"RO",
                                            L"M",   L"C",   L"T",   L"Z",  L"KA", L"KF", L"KQ",
                                            L"CCS", L"PL1", L"PL2", L"SO", L"CSE"};
    const long long index = static_cast<long long>(m_dstvType) + 1;
    if (index < 0 || index >= static_cast<long long>(sizeof(kCodes) / sizeof(kCodes[0])))
        return KelString(L"SO");
    return KelString(kCodes[index]);
}
