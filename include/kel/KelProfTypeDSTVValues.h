/// @file KelProfTypeDSTVValues.h
/// The DSTV profile type of a steel section.
///
/// A plain record: the profile type in the numbering of the DSTV NC
/// interface and the 28 named cross-section dimensions such a profile may
/// have, in whatever unit the caller stores. It converts and checks nothing.
///
/// @code
///   KelProfTypeDSTVValues profile;
///   profile.setDSTVType(KelProfTypeDSTVValues::eDSTV_I);
///   profile.setH1(200.0);
///   KelString code = profile.getProftypeString();  // "I"
/// @endcode

#ifndef KEL_KELPROFTYPEDSTVVALUES_H
#define KEL_KELPROFTYPEDSTVVALUES_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

/// @copydoc KelProfTypeDSTVValues.h
class KEL_API KelProfTypeDSTVValues {
public:
    /// The profile types. The numbers are stored in client data and are
    /// fixed; any other 32-bit value may be carried too. Both -1 and 16 are
    /// the special profile "SO", deliberately.
    enum eDSTVType : int {
        eDSTV_Undefined = -1,  ///< "SO"
        eDSTV_I = 0,           ///< "I"
        eDSTV_L = 1,           ///< "L"
        eDSTV_U = 2,           ///< "U"
        eDSTV_B = 3,           ///< "B"
        eDSTV_RU = 4,          ///< "RU"
        eDSTV_RO = 5,          ///< "RO"
        eDSTV_M = 6,           ///< "M"
        eDSTV_C = 7,           ///< "C"
        eDSTV_T = 8,           ///< "T"
        eDSTV_Z = 9,           ///< "Z"
        eDSTV_KA = 10,         ///< "KA"
        eDSTV_KF = 11,         ///< "KF"
        eDSTV_KQ = 12,         ///< "KQ"
        eDSTV_CCS = 13,        ///< "CCS"
        eDSTV_PL1 = 14,        ///< "PL1"
        eDSTV_PL2 = 15,        ///< "PL2"
        eDSTV_SO = 16,         ///< "SO"
        eDSTV_CSE = 17,        ///< "CSE"
    };

    /// Type 0 ("I") and every dimension 0.0.
    KelProfTypeDSTVValues();
    /// The whole record: the type and all twenty-nine doubles, the one
    /// without an accessor included.
    ///@{
    KelProfTypeDSTVValues(const KelProfTypeDSTVValues& other) = default;
    KelProfTypeDSTVValues& operator=(const KelProfTypeDSTVValues& other) = default;
    ///@}
    virtual ~KelProfTypeDSTVValues();

    /// The profile type, stored as given (any 32-bit value).
    ///@{
    eDSTVType getDSTVType() const { return m_dstvType; }
    void setDSTVType(const eDSTVType& type) { m_dstvType = type; }
    ///@}

    /// The DSTV profile code of the type: the texts listed with eDSTVType,
    /// "SO" for any value not listed.
    KelString getProftypeString() const;

    /// The dimensions, stored as given.
    ///@{
    double getH1() const { return m_H1; }
    void setH1(const double& value) { m_H1 = value; }
    double getH2() const { return m_H2; }
    void setH2(const double& value) { m_H2 = value; }
    double getH3() const { return m_H3; }
    void setH3(const double& value) { m_H3 = value; }
    double getB1() const { return m_B1; }
    void setB1(const double& value) { m_B1 = value; }
    double getB2() const { return m_B2; }
    void setB2(const double& value) { m_B2 = value; }
    double getB3() const { return m_B3; }
    void setB3(const double& value) { m_B3 = value; }
    double getTS() const { return m_TS; }
    void setTS(const double& value) { m_TS = value; }
    double getTG() const { return m_TG; }
    void setTG(const double& value) { m_TG = value; }
    double getT1() const { return m_T1; }
    void setT1(const double& value) { m_T1 = value; }
    double getC() const { return m_C; }
    void setC(const double& value) { m_C = value; }
    double getR1() const { return m_R1; }
    void setR1(const double& value) { m_R1 = value; }
    double getR2() const { return m_R2; }
    void setR2(const double& value) { m_R2 = value; }
    double getR3() const { return m_R3; }
    void setR3(const double& value) { m_R3 = value; }
    double getK() const { return m_K; }
    void setK(const double& value) { m_K = value; }
    double getF1() const { return m_F1; }
    void setF1(const double& value) { m_F1 = value; }
    double getF2() const { return m_F2; }
    void setF2(const double& value) { m_F2 = value; }
    double getF3() const { return m_F3; }
    void setF3(const double& value) { m_F3 = value; }
    double getALPHA_S() const { return m_ALPHA_S; }
    void setALPHA_S(const double& value) { m_ALPHA_S = value; }
    double getALPHA_G() const { return m_ALPHA_G; }
    void setALPHA_G(const double& value) { m_ALPHA_G = value; }
    double getEY() const { return m_EY; }
    void setEY(const double& value) { m_EY = value; }
    double getEZ() const { return m_EZ; }
    void setEZ(const double& value) { m_EZ = value; }
    double getW1() const { return m_W1; }
    void setW1(const double& value) { m_W1 = value; }
    double getW2() const { return m_W2; }
    void setW2(const double& value) { m_W2 = value; }
    double getW3() const { return m_W3; }
    void setW3(const double& value) { m_W3 = value; }
    double getA() const { return m_A; }
    void setA(const double& value) { m_A = value; }
    double getG() const { return m_G; }
    void setG(const double& value) { m_G = value; }
    double getGH() const { return m_GH; }
    void setGH(const double& value) { m_GH = value; }
    double getU() const { return m_U; }
    void setU(const double& value) { m_U = value; }
    ///@}

private:
    eDSTVType m_dstvType;
    double m_H1;
    double m_H2;
    double m_H3;
    double m_B1;
    double m_B2;
    double m_B3;
    double m_TS;
    double m_TG;
    double m_T1;
    double m_C;
    double m_R1;
    double m_R2;
    double m_R3;
    double m_K;
    double m_F1;
    double m_F2;
    double m_F3;
    double m_ALPHA_S;
    double m_ALPHA_G;
    double m_EY;
    double m_EZ;

protected:
    /// The one dimension without an accessor: 0.0 unless copied from
    /// another record. Open to derived classes.
    double m_unnamed;

private:
    double m_W1;
    double m_W2;
    double m_W3;
    double m_A;
    double m_G;
    double m_GH;
    double m_U;
};

#endif  // KEL_KELPROFTYPEDSTVVALUES_H
