#include <kel/KelProductDefines.h>

#include <string>

#include "environment/bounded_text.h"
#include "platform/invalid_parameter.h"
#include "platform/utf.h"

using kel::detail::fitsBuffer;
using kel::detail::storeBounded;

wchar_t KelProductDefines::m_GXProductName[kBufferSize] = L"Gantrix";
wchar_t KelProductDefines::m_GXRelease[kBufferSize] = L"2015.1";
// Deliberately independent of the release: no setter, never re-derived.
wchar_t KelProductDefines::m_GXCommercialRelease[kBufferSize] = L"2015";
wchar_t KelProductDefines::m_GXProduct[kBufferSize] = L"Norvane\\Gantrix\\2015.1";

namespace {

std::wstring productPath(std::wstring_view name, std::wstring_view release) {
    std::wstring path = L"Norvane\\";
    path += name;
    path += L'\\';
    path += release;
    return path;
}

// A name and release the buffers can take, the product path included.
bool acceptable(std::wstring_view name, std::wstring_view release, const char* function) {
    if (fitsBuffer(name, KelProductDefines::kBufferSize) &&
        fitsBuffer(release, KelProductDefines::kBufferSize) &&
        fitsBuffer(productPath(name, release), KelProductDefines::kBufferSize))
        return true;
    kel::detail::invalidParameter(L"the product path fits in 260 characters", function);
    return false;
}

std::wstring fromUtf16(const unsigned short* text) {
    return kel::detail::utf16ToWide(text);
}

}  // namespace

KelProductDefines::KelProductDefines() = default;

KelProductDefines& KelProductDefines::operator=(const KelProductDefines&) {
    return *this;
}

const wchar_t* KelProductDefines::getGXProductName() {
    return m_GXProductName;
}

const wchar_t* KelProductDefines::getGXRelease() {
    return m_GXRelease;
}

const wchar_t* KelProductDefines::getGXCommercialRelease() {
    return m_GXCommercialRelease;
}

const wchar_t* KelProductDefines::getGXProduct() {
    return m_GXProduct;
}

void KelProductDefines::setGXProductName(const wchar_t* name) {
    if (!KEL_VALIDATE(name != nullptr) || !acceptable(name, m_GXRelease, __func__))
        return;
    storeBounded(m_GXProductName, kBufferSize, name, __func__);
    setGXProduct();
}

void KelProductDefines::setGXProductName(const unsigned short* name) {
    if (!KEL_VALIDATE(name != nullptr))
        return;
    setGXProductName(fromUtf16(name).c_str());
}

void KelProductDefines::setGXRelease(const wchar_t* release) {
    if (!KEL_VALIDATE(release != nullptr) || !acceptable(m_GXProductName, release, __func__))
        return;
    storeBounded(m_GXRelease, kBufferSize, release, __func__);
    setGXProduct();
}

void KelProductDefines::setGXRelease(const unsigned short* release) {
    if (!KEL_VALIDATE(release != nullptr))
        return;
    setGXRelease(fromUtf16(release).c_str());
}

void KelProductDefines::setGXProduct() {
    storeBounded(m_GXProduct, kBufferSize, productPath(m_GXProductName, m_GXRelease), __func__);
}
