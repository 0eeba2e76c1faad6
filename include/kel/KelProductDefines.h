/// @file KelProductDefines.h
/// The identity of the product: name, release and the product path that every
/// configuration key is built from.
///
/// @code
///   KelProductDefines::setGXRelease(L"2016");
///   KelRegistry::setRegistryPathes();                 // rebuild the key table
///   const wchar_t* product = KelProductDefines::getGXProduct();  // L"Norvane\\Gantrix\\2016"
/// @endcode
///
/// All state is process-wide and static. It is meant to be set once at
/// start-up, before other threads read it; nothing is locked.

#ifndef KEL_KELPRODUCTDEFINES_H
#define KEL_KELPRODUCTDEFINES_H

#include <kel/KelExport.h>

/// @copydoc KelProductDefines.h
class KEL_API KelProductDefines {
public:
    /// The capacity of each buffer in characters, terminator included.
    static constexpr int kBufferSize = 260;

    /// Does nothing: the class has only static members.
    KelProductDefines();
    /// Does nothing and returns this object.
    KelProductDefines& operator=(const KelProductDefines& other);

    /// The product name, initially L"Gantrix". The buffer itself, not a copy:
    /// the text changes when setGXProductName runs.
    static const wchar_t* getGXProductName();
    /// The release, initially L"2015.1".
    static const wchar_t* getGXRelease();
    /// The commercial release, always L"2015": it has no setter and is not
    /// derived from the release.
    static const wchar_t* getGXCommercialRelease();
    /// The product path L"Norvane\\" + product name + L"\\" + release,
    /// initially L"Norvane\\Gantrix\\2015.1".
    static const wchar_t* getGXProduct();

    /// Sets the product name and re-derives the product path. A null name, a
    /// name of 260 characters or more, or one that makes the product path
    /// longer than 259 characters is reported to the invalid-parameter
    /// handler and changes nothing.
    static void setGXProductName(const wchar_t* name);
    /// The same for UTF-16 text typed as 16-bit units.
    static void setGXProductName(const unsigned short* name);
    /// Sets the release and re-derives the product path; refused as above.
    /// The unsigned short form takes UTF-16 text typed as 16-bit units.
    static void setGXRelease(const wchar_t* release);
    /// @copydoc setGXRelease(const wchar_t*)
    static void setGXRelease(const unsigned short* release);

private:
    /// Re-derives the product path from the product name and the release.
    static void setGXProduct();

    static wchar_t m_GXProductName[kBufferSize];
    static wchar_t m_GXRelease[kBufferSize];
    static wchar_t m_GXCommercialRelease[kBufferSize];
    static wchar_t m_GXProduct[kBufferSize];
};

#endif  // KEL_KELPRODUCTDEFINES_H
